#include "host/files/outputfile.h"
#include "host/files/outputplace.h"
#include "host/text/hosterror.h"
#include "tests/support/tempfolder.h"

#include <gtest/gtest.h>

using namespace Host;

TEST(OutputFile, AppearsWholeOrNotAtAll)
{
    const ZTempFolder folder;
    {
        ZOutputFile file;
        ASSERT_TRUE(file.Open(folder / "a/b/packed"));
        IOutputStream* pStream = CreateFileOutputStream(file);
        EXPECT_EQ(pStream->Write("half", 4), 4u);
        EXPECT_EQ(folder.Read("a/b/packed"), "(none)") << "not while it is written";
        pStream->Release();
        EXPECT_TRUE(file.IsComplete());
        EXPECT_EQ(folder.Read("a/b/packed"), "(none)") << "not before it is published";
    }
    EXPECT_EQ(folder.FileCount(), 0u) << "what is not published leaves nothing";

    folder.Write("packed", "old");
    ZOutputFile file;
    ASSERT_TRUE(file.Open(folder / "packed"));
    EXPECT_TRUE(file.Write("new", 3));
    EXPECT_EQ(folder.Read("packed"), "old");
    EXPECT_TRUE(file.Publish());
    EXPECT_EQ(folder.Read("packed"), "new");
    EXPECT_EQ(file.Hash(), ZContentHash::Of("new"));
    EXPECT_EQ(folder.FileCount(), 1u);
}

TEST(OutputFile, SaysWhatStandsInTheWay)
{
    const ZTempFolder folder;
    folder.Write("file", "");
    ZOutputFile file;
    EXPECT_FALSE(file.Open(folder / "file/packed"));
    EXPECT_NE(file.Error().find("file"), std::string::npos);
    EXPECT_FALSE(file.Publish());
    std::filesystem::create_directories(folder / "folder/x");
    ASSERT_TRUE(file.Open(folder / "folder"));
    EXPECT_FALSE(file.Publish()) << "a folder is no place for a file";
    EXPECT_FALSE(file.Error().empty());
}

TEST(OutputFile, LeftoversOfAKilledProcessAreFound)
{
    const ZTempFolder folder;
    folder.Write("pc/a/.animpack-12-0.part", "half");
    folder.Write("pc/a/walk.take.animation", "whole");
    folder.Write("pc/a/.animpack-notes.part", "somebody's own");
    RemovePassingFiles(folder.Path());
    EXPECT_EQ(folder.FileCount(), 2u);
    EXPECT_EQ(folder.Read("pc/a/walk.take.animation"), "whole");
}

TEST(OutputPlace, NeitherLinksNorInputsNorDevicesAreReplaced)
{
    const ZTempFolder folder;
    folder.Write("in", "");
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::create_symlink("real", folder / "link");
    std::filesystem::create_symlink("in", folder / "to in");
    std::filesystem::create_symlink("round", folder / "round");
    std::filesystem::create_hard_link(folder / "in", folder / "hard");
    const std::string sIn = folder / "in";
    const std::pair<std::string, const char*> cases[] = {
        {folder / "new", ""},
        {sIn, ""},
        {folder / "link", ""},
        {folder / "folder", "is a folder"},
        {folder / "none/", "is a folder"},
        {"/dev/null", "is no regular file"},
        {folder / "round", "in a circle"},
        {folder / "to in", "by another name"},
        {folder / "hard", "by another name"},
        {folder / "folder/../in", "by another name"},
    };
    for (const auto& [sWord, szError] : cases)
    {
        std::string sPath;
        const std::string sError = FindOutputPlace(sWord, {sIn}, sIn, sPath);
        EXPECT_EQ(sError.empty(), *szError == '\0') << sWord << ' ' << sError;
        EXPECT_NE(sError.find(szError), std::string::npos) << sWord << ' ' << sError;
    }
    std::string sPath;
    FindOutputPlace(folder / "link", {}, {}, sPath);
    EXPECT_EQ(sPath, folder / "real");
    EXPECT_NE(FindOutputPlace(sIn, {sIn}, {}, sPath), "") << "an input that nobody wants replaced";

    for (const char* szFile : {"tree/a.fbx", "tree/a.EVENTS", "tree/db.xml", "tree/page.xml", "out/animpack.db",
                               "out/pc/a.fbx/b.take.animation", "out/pc/report.txt"})
        folder.Write(szFile, szFile == std::string_view("tree/db.xml") ? "<AnimationDatabase/>" : "");
    std::filesystem::create_hard_link(folder / "tree/a.fbx", folder / "another name");
    const std::pair<const char*, bool> readersCases[] = {{"tree/a.fbx", false},
                                                         {"tree/a.EVENTS", false},
                                                         {"tree/db.xml", false},
                                                         {"another name", false},
                                                         {"out/animpack.db", false},
                                                         {"out/pc/a.fbx/b.take.animation", false},
                                                         {"tree/page.xml", true},
                                                         {"tree/b.fbx", true},
                                                         {"out/pc/report.txt", true},
                                                         {"folder", false},
                                                         {"in", true}};
    for (const auto& [szWord, bGood] : readersCases)
    {
        SCOPED_TRACE(szWord);
        const std::string sWord = folder / szWord;
        const auto place = [&] { return OutputPlaceOfReader(sWord, ZAssetTree(folder / "tree"), folder / "out"); };
        if (bGood)
            EXPECT_EQ(place(), sWord);
        else
            EXPECT_THROW(place(), ZUsageError);
    }
}
