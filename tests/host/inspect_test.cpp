#include "base/typeinfo/mathtypes.h"
#include "host/commands/commands.h"
#include "host/files/outputfile.h"
#include "host/files/packedfile.h"
#include "host/module/hostmodule.h"
#include "host/text/hosterror.h"
#include "tests/support/tempfolder.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

using namespace Host;
using SystemAnimation::SAnimationResourceData;

namespace
{

constexpr const char RIG_ID[] = "<assembly:/r.fbx?/r.rig>.pc.animationrig";

struct SShown
{
    int nExitCode = 0;
    std::string sOut, sError;
};

/// A packed rig of three bones and an animation of two frames on it, as a module would have written them.
class InspectTest : public testing::Test
{
protected:
    InspectTest()
    {
        RegisterHostModules();
        const SBoneId roots[] = {uint16_t(0)};
        const SBoneId parents[] = {SBoneId(), uint16_t(0), uint16_t(1)};
        const uint32_t uids[] = {11, 22, 33};
        SQV bind[3];
        bind[1].translation = {1.0f, 0.0f, 0.0f, 1.0f};
        bind[2].translation = {0.0f, 2.0f, 0.0f, 1.0f};
        const ZString names[] = {"ground", "arm", "hand"};
        rig = ZAnimationRig(uint16_t(0), roots, parents, uids, bind, names);

        animation.name = "wave";
        animation.rigReference = 0;
        animation.boneCount = 2;
        animation.frameCount = 2;
        animation.trackGroups.Add({SystemAnimation::eTrack_BindRotation, {1, 2}, {}});
        animation.trackGroups.Add({SystemAnimation::eTrack_BindTranslation, {1}, {}});
        SystemAnimation::STrackGroup moving{SystemAnimation::eTrack_Translation, {2}, {}};
        for (const float f : {0.5f, 2.0f, 0.0f, 0.75f, 2.0f, 0.0f})
        {
            uint8_t bytes[4];
            StoreEndian(bytes, std::bit_cast<uint32_t>(f), eEndian_Little);
            moving.data.Append(bytes, 4);
        }
        animation.trackGroups.Add(moving);
        SystemAnimation::SPropertyTrack track;
        track.boneId = 2;
        track.name = ZHashedString("mood");
        track.typeId = GetTypeID<SVector2>();
        track.keys = ZVariant(TArray<SVector2>{{1.0f, 2.0f}, {3.0f, 4.0f}});
        animation.properties.Add(track);
    }

    template <class T>
    void WritePacked(const std::string& sPath, uint32_t nCode, const T& object,
                     std::initializer_list<ZString> references)
    {
        Write(sPath, nCode, SerializeObject(object, eEndian_Little), references);
    }
    void Write(const std::string& sPath, uint32_t nCode, const TArray<uint8_t>& bytes,
               std::initializer_list<ZString> references)
    {
        ZResourceHeader header(nCode, "pc");
        for (const ZString& reference : references)
            header.AddReference(ZResourceID(reference), REFERENCE_FLAGS);
        header.SetSizes(bytes.Size(), bytes.Size(), 0);
        ZOutputFile file;
        ASSERT_TRUE(file.Open(folder / sPath));
        const TComponentScope<IOutputStream> stream(CreateFileOutputStream(file));
        header.Write(stream.Get(), eEndian_Little);
        stream->Write(bytes.GetStart(), bytes.Size());
        ASSERT_TRUE(file.Publish());
    }

    SShown Inspect(const std::string& sWord, std::vector<uint32_t> frames = {}, bool bJson = true)
    {
        SOptions options;
        options.sCommand = "inspect";
        options.sources = {sWord};
        options.session.sOut = folder.Path();
        options.platforms = {"pc"};
        options.frames = std::move(frames);
        options.bJson = bJson;
        options.eColor = options.eProgress = EWhen::eNever;
        SShown shown;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        {
            ZConsole console(options);
            shown.nExitCode = RunInspect(options, console);
        }
        shown.sOut = testing::internal::GetCapturedStdout();
        shown.sError = testing::internal::GetCapturedStderr();
        return shown;
    }

    ZTempFolder folder;
    ZAnimationRig rig;
    SAnimationResourceData animation;
    const std::string sAnimationPath = "pc/a.fbx/wave.take.animation";
    const std::string sRigPath = "pc/r.fbx/r.rig.animationrig";
};

} // namespace

TEST_F(InspectTest, ShowsAnimationRigAndFrames)
{
    WritePacked(sAnimationPath, RESOURCE_CODE_ANIMATION, animation, {RIG_ID});
    const SShown alone = Inspect(folder / sAnimationPath, {1});
    EXPECT_EQ(alone.nExitCode, eExit_AssetsFailed) << "there is no rig yet";
    EXPECT_NE(alone.sError.find(RIG_ID), std::string::npos);

    WritePacked(sRigPath, RESOURCE_CODE_RIG, rig, {});
    const SShown shown = Inspect("assembly:/a.fbx?/wave.take", {1, 0});
    ASSERT_EQ(shown.nExitCode, eExit_Done) << shown.sError;
    const auto json = nlohmann::json::parse(shown.sOut);
    EXPECT_EQ(json["animation"]["properties"][0]["keys"], nlohmann::json::parse("[[1,2],[3,4]]"));
    EXPECT_EQ(json["frames"][0]["frame"], 1);
    EXPECT_EQ(json["frames"][0]["bones"][2]["character"]["t"], nlohmann::json::parse("[1.75,2,0]"));
    EXPECT_NE(Inspect(folder / sAnimationPath, {0}, false).sOut.find("hand"), std::string::npos);
    EXPECT_NE(Inspect(RIG_ID, {}, false).sOut.find("    hand"), std::string::npos) << "indented below its parents";
    EXPECT_EQ(Inspect(folder / sAnimationPath, {2}).nExitCode, eExit_AssetsFailed) << "no such frame";
}

TEST_F(InspectTest, AnAnimationAndItsRigMustFit)
{
    WritePacked(sRigPath, RESOURCE_CODE_RIG, rig, {});
    animation.trackGroups.Last().boneIndices = {7};
    animation.trackGroups[0].boneIndices = {1, 7};
    WritePacked(sAnimationPath, RESOURCE_CODE_ANIMATION, animation, {RIG_ID});
    EXPECT_EQ(Inspect(folder / sAnimationPath).nExitCode, eExit_Done) << "it is sound by itself";
    const SShown shown = Inspect(folder / sAnimationPath, {0});
    EXPECT_EQ(shown.nExitCode, eExit_AssetsFailed);
    EXPECT_NE(shown.sError.find("bone 7"), std::string::npos);
}

TEST_F(InspectTest, CharactersAreChecked)
{
    const ZString reference = "<assembly:/a.fbx?/wave.take>.pc.animation";
    const auto character = [](uint32_t nPosition, uint32_t nNameOffset, uint32_t nEntries)
    {
        TArray<uint8_t> bytes;
        const auto add = [&bytes](uint32_t n)
        {
            uint8_t word[4];
            StoreEndian(word, n, eEndian_Little);
            bytes.Append(word, 4);
        };
        add(nEntries);
        add(nPosition);
        bytes.Add(1);
        add(nNameOffset);
        bytes.Append(reinterpret_cast<const uint8_t*>("greet"), 6);
        return bytes;
    };
    Write("c", RESOURCE_CODE_DATABASE, character(0, 4, 1), {reference});
    const auto json = nlohmann::json::parse(Inspect(folder / "c").sOut);
    EXPECT_EQ(json["character"]["animations"],
              nlohmann::json::parse(R"([{"name":"greet","reference":0,"blendSpace":true}])"));
    EXPECT_NE(Inspect(folder / "c", {}, false).sOut.find("greet"), std::string::npos);
    for (const auto& bytes : {character(1, 4, 1), character(0, 10, 1), character(0, 0xfffffff0, 1), character(0, 4, 2),
                              character(0, 4, 0xffffffff)})
    {
        Write("c", RESOURCE_CODE_DATABASE, bytes, {reference});
        EXPECT_EQ(Inspect(folder / "c").nExitCode, eExit_AssetsFailed);
    }
}

TEST_F(InspectTest, NoPrefixAndNoDamageDoesHarm)
{
    WritePacked(sRigPath, RESOURCE_CODE_RIG, rig, {});
    WritePacked(sAnimationPath, RESOURCE_CODE_ANIMATION, animation, {RIG_ID});
    for (const std::string& sPath : {sRigPath, sAnimationPath})
    {
        const std::string sWhole = folder.Read(sPath);
        for (size_t n = 0; n < sWhole.size(); ++n)
        {
            folder.Write("cut", sWhole.substr(0, n));
            EXPECT_EQ(Inspect(folder / "cut").nExitCode, eExit_AssetsFailed) << n;
        }
        for (size_t n = 4; n < sWhole.size(); ++n)
        {
            std::string sDamaged = sWhole;
            sDamaged[n] = static_cast<char>(~sDamaged[n]);
            folder.Write("damaged", sDamaged);
            for (const bool bJson : {false, true})
            {
                const SShown shown = Inspect(folder / "damaged", {0}, bJson);
                EXPECT_LE(shown.nExitCode, eExit_AssetsFailed) << n;
                EXPECT_EQ(shown.sOut.empty(), shown.nExitCode != eExit_Done && !bJson);
            }
        }
    }
}
