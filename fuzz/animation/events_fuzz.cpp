// Any bytes as the event document of a short take: properties on its bones, or a refusal that names the reason.
#include "fuzz/animation/fuzzinput.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/packer/animposepropertyevents.h"
#include "tests/resource/animation/testtake.h"

namespace
{

using namespace ResourceAnimation;

void Run(const uint8_t* pData, size_t nSize)
{
    const ZFuzzInput input(pData, nSize);
    const auto pTake = MakeStill({"root", "hand"}, 31);
    try
    {
        AddAnimPosePropertyEvents(*pTake, ReadAnimPosePropertyDocument(input.Stream(), "fuzz", pTake->Name()));
    }
    catch (const ZAnimationException& e)
    {
        FUZZ_REQUIRE(!e.Message().IsEmpty());
    }
    catch (const zhalt_exception&)
    {
    }
    uint64_t nKeys = 0;
    for (const auto& pBone : pTake->AnimatedBones())
        for (const auto& pProperty : pBone->Properties())
        {
            nKeys += pProperty->Values().Size();
            for (const ZVariant& value : pProperty->Values())
                FUZZ_REQUIRE(value.GetTypeID() == pProperty->GetTypeID());
        }
    FUZZ_REQUIRE(nKeys <= MAX_EVENT_KEYS);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return FuzzWithoutLeaks(pData, nSize, &Run);
}
