#include "system/animation/animationresourcedata.h"

#include "tests/system/animation/testclip.h"

#include "base/typeinfo/mathtypes.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using namespace SystemAnimation;

namespace
{

SPropertyTrack MakeProperty()
{
    SPropertyTrack track;
    track.boneId = 3;
    track.name = ZHashedString(ZString("fov"));
    track.typeId = GetTypeID<float>();
    track.keys = ZVariant(TArray<float>{1.0f, 2.0f, 3.0f});
    return track;
}

using FChange = std::function<void(SAnimationResourceData&)>;

SAnimationResourceData Changed(const FChange& change)
{
    SAnimationResourceData data = MakeAnimation(2, 3, 1);
    data.properties.Add(MakeProperty());
    change(data);
    return data;
}

} // namespace

TEST(AnimationResourceData, EqualityIsTheReadBacks)
{
    const float fNan = std::numeric_limits<float>::quiet_NaN();
    const std::tuple<const char*, FChange, bool> cases[] = {
        {"nothing", [](auto&) {}, true},
        {"name", [](auto& d) { d.name = "Clip"; }, false},
        {"events", [](auto& d) { d.eventTrackReference = 0; }, false},
        {"rig", [](auto& d) { d.rigReference = 0; }, false},
        {"bones", [](auto& d) { --d.boneCount; }, false},
        {"frame rate", [](auto& d) { d.frameRate = 24.0f; }, false},
        {"frame rate that is no number", [=](auto& d) { d.frameRate = fNan; }, true},
        {"frames", [](auto& d) { ++d.frameCount; }, false},
        {"offset rotation", [](auto& d) { d.sequenceOffset.rotation.w = 0.5f; }, false},
        {"offset negative zero", [](auto& d) { d.sequenceOffset.rotation.x = -0.0f; }, true},
        {"offset, fourth float", [](auto& d) { d.sequenceOffset.translation.w = 0.0f; }, false},
        {"group type", [](auto& d) { d.trackGroups[7].type = 6; }, false},
        {"group bone", [](auto& d) { ++d.trackGroups[4].boneIndices[1]; }, false},
        {"group data", [](auto& d) { ++d.trackGroups[5].data.Last(); }, false},
        {"group bones that stand outside",
         [](auto& d)
         {
             d.trackGroups[0].boneIndices.Reserve(50); // the same numbers, no longer inside the object
         },
         true},
        {"one group less", [](auto& d) { d.trackGroups.RemoveAt(0); }, false},
        {"property bone", [](auto& d) { d.properties[0].boneId = 4; }, false},
        {"property name", [](auto& d) { d.properties[0].name = ZHashedString(1u); }, false},
        {"property type", [](auto& d) { d.properties[0].typeId = GetTypeID<int>(); }, false},
        {"property flags", [](auto& d) { d.properties[0].flags = 1; }, false},
        {"property keys", [](auto& d) { d.properties[0].keys.Clear(); }, true},
    };
    const SAnimationResourceData data = Changed([](auto&) {});
    for (const auto& [szLabel, change, bEqual] : cases)
        EXPECT_EQ(data == Changed(change), bEqual) << szLabel;
    const auto nanOffset = Changed([=](auto& d) { d.sequenceOffset.translation.x = fNan; });
    EXPECT_FALSE(nanOffset == nanOffset);
}

TEST(AnimationResourceData, TellsWhatIsInconsistent)
{
    const std::pair<const char*, FChange> cases[] = {
        {"", [](auto&) {}},
        {"a track group has the type 8", [](auto& d) { d.trackGroups[7].type = 8; }},
        {"a track group has the type -1", [](auto& d) { d.trackGroups[0].type = -1; }},
        {"the track group of type 2 has no bones", [](auto& d) { d.trackGroups[2].boneIndices.Clear(); }},
        {"the track group of type 4 names bone 12, but the rig has 12",
         [](auto& d) { d.trackGroups[4].boneIndices[1] = 12; }},
        {"the bones of the track group of type 4 do not ascend: 0 follows 0",
         [](auto& d) { d.trackGroups[4].boneIndices[1] = 0; }},
        {"the track groups do not ascend: type 0 follows type 0", [](auto& d) { d.trackGroups[1].type = 0; }},
        {"the track group of type 4 has 47 bytes of data where 2 bones and 3 frames take 48",
         [](auto& d) { d.trackGroups[4].data.Resize(47); }},
        {"the track group of type 6 has 37 bytes of data where 2 bones and 3 frames take 36",
         [](auto& d) { d.trackGroups[6].data.Resize(37); }},
        {"the track group of type 0 has 1 bytes of data where 2 bones and 3 frames take 0",
         [](auto& d) { d.trackGroups[0].data.Resize(1); }},
        // 8 n f is beyond 32 bits here, and the same as 48 within them.
        {"the track group of type 4 has 48 bytes of data where 2 bones and 268435459 frames take 4294967344",
         [](auto& d) { d.frameCount = 268435459; }},
        {"bone 1 stands in the track groups of types 2 and 4", [](auto& d) { d.trackGroups[4].boneIndices[0] = 1; }},
        {"9 bones are packed, but 10 have a rotation and 10 a translation", [](auto& d) { --d.boneCount; }},
        {"a property is on bone 12, but the rig has 12", [](auto& d) { d.properties[0].boneId = 12; }},
        {"keys that do not fit", [](auto& d) { d.properties[0].typeId = GetTypeID<int>(); }},
        {"keys that do not fit", [](auto& d) { d.properties[0].typeId = GetTypeID<SQuaternion>(); }},
        {"keys that do not fit", [](auto& d) { d.properties[0].keys.Clear(); }},
        {"keys that do not fit", [](auto& d) { d.properties[0].keys = ZVariant(1.0f); }},
    };
    for (const auto& [szWhy, change] : cases)
    {
        ZString why;
        const bool bConsistent = Changed(change).IsConsistent(12, why);
        EXPECT_EQ(bConsistent, szWhy[0] == '\0') << szWhy;
        EXPECT_NE(why.IndexOf(ZString::ReferenceCString(szWhy)), ZString::NOT_FOUND) << szWhy << "\n"
                                                                                     << why.ToCString();
    }
}
