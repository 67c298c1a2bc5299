#include "host/files/assettree.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"
#include "tests/support/tempfolder.h"

#include <gtest/gtest.h>

using namespace Host;
using TState = ZAssetTree::SLookup;

namespace
{

class AssetTreeTest : public testing::Test
{
protected:
    AssetTreeTest()
    {
        folder.Write("tree/Characters/Hero/Moves.FBX", "moves");
        folder.Write("tree/characters/other.fbx", "other");
        folder.Write("tree/props/lever.fbx", "a");
        folder.Write("tree/props/Lever.fbx", "b");
        folder.Write("tree/props/Door.fbx", "c");
        folder.Write("tree/props/DOOR.fbx", "d");
        folder.Write("tree/props/notes.txt", "");
        folder.Write("outside.fbx", "secret");
    }

    TState Find(const std::string& sId) const { return tree().Find(ToId(sId)); }
    ZAssetTree tree() const { return ZAssetTree(folder / "tree"); }
    std::string Found(const std::string& sId) const
    {
        const TState found = Find(sId);
        return found.eState == TState::eFound ? found.sPath.substr(tree().Root().size() + 1) : "(none)";
    }

    ZTempFolder folder;
};

} // namespace

TEST_F(AssetTreeTest, ExactlyThenInAnyCase)
{
    const std::pair<const char*, const char*> cases[] = {
        {"assembly:/Characters/Hero/Moves.FBX", "Characters/Hero/Moves.FBX"},
        {"assembly:/characters/hero/moves.fbx", "Characters/Hero/Moves.FBX"},
        {"assembly:/CHARACTERS/OTHER.fbx?/run.take", "characters/other.fbx"}, // through two folders of one name
        {"<assembly:/characters/other.fbx?/run.take>.pc.animation", "characters/other.fbx"},
        {"assembly:/props", "(none)"},
        {"assembly:/props/none.fbx", "(none)"},
        {"assembly:/", "(none)"},
    };
    for (const auto& [szId, szFound] : cases)
        EXPECT_EQ(Found(szId), szFound) << szId;
}

TEST_F(AssetTreeTest, NamesBothOfTwoThatDifferInCaseAlone)
{
    for (const char* szId : {"assembly:/props/door.fbx", "assembly:/props/Door.fbx"}) // the very name of one, too
    {
        EXPECT_EQ(Find(szId).eState, TState::eAmbiguous);
        EXPECT_EQ(Find(szId).sWhy, "files that differ in case alone: 'props/DOOR.fbx' 'props/Door.fbx'");
    }
}

TEST_F(AssetTreeTest, NeverLeavesTheTree)
{
    for (const char* szId :
         {"assembly:/../outside.fbx", "assembly:/props/../../outside.fbx", "assembly:/..\\outside.fbx",
          "assembly:/props/../props/lever.fbx", "file:/etc/passwd", "/etc/passwd", "outside.fbx"})
    {
        EXPECT_EQ(Find(szId).eState, TState::eOutside) << szId;
        EXPECT_FALSE(Find(szId).sWhy.empty());
    }
    EXPECT_THROW(ZAssetTree(folder / "nowhere"), ZHostError);
}

TEST_F(AssetTreeTest, PathsBecomeIdentifiers)
{
    const ZAssetTree t = tree();
    EXPECT_EQ(t.IdOf("assembly:/x.fbx?/a.take"), "assembly:/x.fbx?/a.take");
    EXPECT_EQ(t.IdOf(folder / "tree/props/lever.fbx?/pull.take"), "assembly:/props/lever.fbx?/pull.take");
    EXPECT_EQ(t.IdOf("props/lever.fbx"), "assembly:/props/lever.fbx");
    EXPECT_EQ(t.IdOf("props/../props/lever.fbx"), "assembly:/props/lever.fbx");
    EXPECT_EQ(t.FolderOf(t.IdOf("props")), "assembly:/props");
    EXPECT_EQ(t.FolderOf("assembly:/../"), "");
    EXPECT_EQ(t.FolderOf("ASSEMBLY:/./characters//HERO/"), "assembly:/Characters/Hero");
    EXPECT_THROW(t.FolderOf("assembly:/CHARACTERS"), ZUsageError) << "two in other cases";
    EXPECT_EQ(t.FolderOf("assembly:/characters"), "assembly:/characters");
    folder.Write("outside/far.fbx", "");
    std::filesystem::create_symlink(folder / "outside/far.fbx", folder / "tree/a..link.fbx");
    EXPECT_EQ(t.IdOf(folder / "tree/a..link.fbx?/a.take"), "assembly:/a..link.fbx?/a.take");
}

TEST_F(AssetTreeTest, SourcesAreListedOnceAndInOrder)
{
    folder.Write("outside/x/far.fbx", "");
    const std::pair<const char*, std::string> links[] = {{"tree", "props/round"},
                                                         {"tree/props", "a link before its folder"},
                                                         {"outside", "props/out"},
                                                         {"outside/x", "props/out again"}};
    for (const auto& [szTo, sLink] : links)
        std::filesystem::create_directory_symlink(folder / szTo, folder / ("tree/" + sLink));
    folder.Write("tree/props/\xe9.fbx", "no UTF-8");
    folder.Write("tree/props/a?b.fbx", "no identifier");
    folder.Write("tree/settings.xml", "<Settings/>");
    folder.Write("tree/zdb.xml", "<?xml version='1.0'?><AnimationDatabase/>");
    const std::vector<std::string> expected = {"assembly:/Characters/Hero/Moves.FBX",
                                               "assembly:/characters/other.fbx",
                                               "assembly:/props/DOOR.fbx",
                                               "assembly:/props/Door.fbx",
                                               "assembly:/props/Lever.fbx",
                                               "assembly:/props/lever.fbx",
                                               "assembly:/props/out/x/far.fbx",
                                               "assembly:/zdb.xml"};
    const auto found = tree().Sources("assembly:/");
    EXPECT_EQ(found.ids, expected);
    EXPECT_EQ(found.namesNotUtf8.size(), 1u);
    EXPECT_EQ(found.unreadable.size(), 1u);
    EXPECT_EQ(tree().Sources("assembly:/Characters").ids.size(), 1u);
    ASSERT_EQ(tree().Sources("assembly:/none").unreadable.size(), 1u) << "what can't be read is not empty";
}
