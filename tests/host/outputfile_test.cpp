#include "host/files/outputfile.h"
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
    RemovePassingFiles(folder.Path());
    EXPECT_EQ(folder.FileCount(), 1u);
    EXPECT_EQ(folder.Read("pc/a/walk.take.animation"), "whole");
}
