// Any bytes as the event document of a short take: properties on its bones, or a refusal that names the reason.
#include "fuzz/animation/fuzzinput.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/packer/animposepropertyevents.h"

namespace
{

using namespace ResourceAnimation;
using Import::ZAnimatedBone;
using Import::ZAnimation;

TSharedPtr<ZAnimation> MakeTake()
{
    ZAnimation::TBones bones;
    for (const char* szName : {"root", "hand"})
    {
        ZAnimatedBone::TRotations rotations;
        ZAnimatedBone::TTranslations translations;
        rotations.Resize(31);
        translations.Resize(31);
        bones.Add(TSharedPtr<ZAnimatedBone>::Create(ZString::ReferenceCString(szName), 30.0f, std::move(rotations),
                                                    std::move(translations),
                                                    TArrayRef<const TSharedPtr<Import::ZAnimatedProperty>>(), true));
    }
    return ZAnimation::CreateForCount("run", 31, 30.0f, "root", ZResourceID(), bones.Ref(), Import::eSpace_Parent,
                                      SQV(), {});
}

void Run(const uint8_t* pData, size_t nSize)
{
    const ZFuzzInput input(pData, nSize);
    const auto pTake = MakeTake();
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
