#include "resource/animation/fbximport/fbxanimationimporter.h"

#include "fbx/scene/fbxscene.h"
#include "resource/animation/frame/animationexception.h"
#include "tests/support/memoryresourcedatabase.h"
#include "tests/support/tempfolder.h"
#include "tests/support/testing.h"

#include <filesystem>

namespace
{

using namespace ResourceAnimation;
using Import::ZFbxAnimationImporter;

class SceneReader : public testing::Test
{
protected:
    void SetUp() override { m_database.Mount(ZString::Format("{0}/samples/assembly", Z_SOURCE_DIR)); }

    ZMemoryResourceDatabase m_database;
};

TEST_F(SceneReader, FindsGroundsAndTakes)
{
    ZFbxSceneReader reader(ZResourceID("assembly:/characters/scout/moves.fbx"));
    EXPECT_EQ(reader.m_takeCount, 6u);
    EXPECT_EQ(reader.m_rigCount, 0u);
    ZFbxTakeData* pTake = reader.FindTake("STRAFE");
    ASSERT_NE(pTake, nullptr);
    EXPECT_EQ(pTake->m_startFrame, 330);
    EXPECT_EQ(pTake->m_frameCount, 50);
    EXPECT_EQ(pTake->m_frameRate, 30.0f);
    EXPECT_TRUE(pTake->m_bHasSequenceOrigin);
    EXPECT_EQ(reader.FindTake("crawl"), nullptr);
    EXPECT_EQ(reader.GetTakeAt(6), nullptr);
    EXPECT_EQ(pTake->m_pGround, reader.GetGroundAt(0));
    EXPECT_TRUE(pTake->m_pGround->m_rigResource == ZString("assembly:/characters/scout/scout.rig.fbx?/scout.rig"));
    EXPECT_FALSE(reader.FindTake("wave")->m_partialList.IsEmpty());

    ZFbxSceneReader rig(ZResourceID("assembly:/characters/scout/scout.rig.fbx"));
    EXPECT_EQ(rig.m_rigCount, 1u);
    ASSERT_NE(rig.GetRigAt(0), nullptr);
    EXPECT_TRUE(rig.GetRigAt(0)->GetDisplayName() == "scout");
    EXPECT_EQ(rig.GetRigAt(1), nullptr);
    EXPECT_EQ(rig.FindGround("SCOUT"), rig.GetRigAt(0));
}

TEST_F(SceneReader, IsLentOutAgainWhileItsFileIsTheSame)
{
    const ZTempFolder folder;
    const auto put = [&folder](const char* szFrom, const char* szName)
    {
        std::filesystem::remove(folder / szName);
        std::filesystem::copy_file(std::string(Z_SOURCE_DIR "/samples/assembly/") + szFrom, folder / szName);
    };
    put("characters/scout/moves.fbx", "a.fbx");
    put("cameras/shot.fbx", "b.fbx");
    put("old/crane_old.fbx", "old.fbx");
    m_database.Mount(ZString::FromView(folder.Path()));
    // A mark on the reader tells whether it is the same one.
    const auto lend = [](const char* szName)
    {
        const ZFbxSceneLoan reader(ZResourceID(ZString::Format("assembly:/{0}.fbx", szName)));
        return std::exchange(reader->m_rigCount, uint64_t{77}) == 77;
    };
    ZFbxSceneLoan::DropKept();
    EXPECT_FALSE(lend("a"));
    EXPECT_TRUE(lend("a"));
    put("characters/scout/moves.fbx", "a.fbx");
    EXPECT_FALSE(lend("a")) << "the same bytes, but who knows";
    {
        const ZFbxSceneLoan outer(ZResourceID("assembly:/a.fbx"));
        EXPECT_EQ(outer->m_rigCount, 77u);
        EXPECT_FALSE(lend("a")) << "one at a time";
        EXPECT_FALSE(lend("b"));
    }
    EXPECT_TRUE(lend("a")) << "the one that came back last";
    EXPECT_FALSE(lend("b")) << "one is kept";
    EXPECT_FALSE(lend("old"));
    EXPECT_FALSE(lend("old")) << "other files had a say in it";
    lend("a");
    EXPECT_THROW(ZFbxSceneLoan(ZResourceID("assembly:/none.fbx")), ZAnimationException);
    EXPECT_FALSE(lend("a")) << "what was kept has made room";
    try
    {
        const ZFbxSceneLoan reader(ZResourceID("assembly:/a.fbx"));
        throw 1;
    }
    catch (int)
    {
        EXPECT_FALSE(lend("a")) << "nobody knows what it was in the middle of";
    }
    ZFbxSceneLoan::DropKept();
}

TEST_F(SceneReader, StraightensCamerasAndSeesTheirFieldOfView)
{
    ZFbxSceneReader reader(ZResourceID("assembly:/cameras/shot.fbx"));
    const ZFbxGround* pCamera = reader.GetGroundAt(0);
    EXPECT_EQ(pCamera->m_eKind, eGround_Camera);
    EXPECT_FALSE(pCamera->m_pFbxNode->GetRotationActive());
    EXPECT_TRUE(reader.FindTake("shot")->m_bFieldOfViewAnimated);
    // Take nodes have left the tree; nothing below the camera is a bone.
    EXPECT_EQ(pCamera->m_pFbxNode->GetChildCount(), 0u);
}

TEST_F(SceneReader, FaultsOfTheSceneComeAsOneKind)
{
    m_database.Mount(ZString::Format("{0}/samples/bad", Z_SOURCE_DIR));
    const std::pair<const char*, const char*> cases[] = {
        {"take_json_is_array", "JSON error: TakeData of 'TAKE_sway': expected an object, found an array"},
        {"take_without_data", "FBX error: '"},
        {"double_is_rig", "FBX error: FbxProperty 'IsRig', in '"},
        {"not_fbx", "FBX error: "},
        {"parent_cycle", "FBX error: "},
    };
    for (const auto& [szFile, szStart] : cases)
    {
        SCOPED_TRACE(szFile);
        const ZString message = MessageOf<ZAnimationException>(
            [](const char* szName)
            { ZFbxSceneReader reader(ZResourceID(ZString::Format("assembly:/{0}.fbx", szName))); },
            szFile);
        EXPECT_TRUE(message.StartsWith(ZString::ReferenceCString(szStart))) << message.ToCString();
    }
    EXPECT_THROW(ZFbxSceneReader reader(ZResourceID("assembly:/take_json_no_partial_list.fbx")), zhalt_exception);
    ZFbxSceneLoan::DropKept();
    EXPECT_EQ(FbxManager::LiveObjectCount(), 0u);
}

} // namespace
