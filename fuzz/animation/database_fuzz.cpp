// Any bytes as an animation database: every character that the scan reports can be loaded and refers to the same
// resources; what the scan refuses names the reason.
#include "base/pointers/tuniqueptr.h"
#include "fuzz/animation/fuzzinput.h"
#include "resource/_shared/_internal/resourcescandata.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/scan/animationdatabasefactory.h"

namespace
{

using namespace ResourceAnimation;

const ZResourceID DATABASE("assembly:/db.xml");

/// Null when the factory refuses.
TUniquePtr<ZCharacterType> Load(ZAnimationDatabaseFactory& factory, const uint8_t* pData, size_t nSize,
                                const ZString& subResource)
{
    try
    {
        const ZFuzzInput input(pData, nSize);
        return TUniquePtr<ZCharacterType>(static_cast<ZCharacterType*>(
            factory.LoadResource(input.Stream(), GetTypeID<ZCharacterType>(), DATABASE, subResource)));
    }
    catch (const ZAnimationDatabaseFactoryException& e)
    {
        FUZZ_REQUIRE(!e.Message().IsEmpty());
        return {};
    }
}

void Run(const uint8_t* pData, size_t nSize)
{
    const TComponentScope<ZAnimationDatabaseFactory> factory(new ZAnimationDatabaseFactory);
    const ZFuzzInput input(pData, nSize);
    SResourceScanData result;
    if (!factory->ScanResource(DATABASE, input.Stream(), result))
        FUZZ_REQUIRE(!factory->GetLastErrorMessage().IsEmpty());
    size_t nLoads = 0;
    for (const SSubResourceScanData& entry : result.subResources)
    {
        const ZString parameters = entry.resourceID.GetRootParameters();
        // A name may hold slashes and differ from another in case only: then another character answers, or none.
        if (parameters.Substring(1).IndexOf('/') != ZString::NOT_FOUND || ++nLoads > 8)
            continue;
        const auto pCharacter = Load(*factory.Get(), pData, nSize, parameters);
        FUZZ_REQUIRE(pCharacter);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return FuzzWithoutLeaks(pData, nSize, &Run);
}
