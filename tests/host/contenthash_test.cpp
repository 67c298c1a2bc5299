#include "host/files/contenthash.h"

#include <gtest/gtest.h>

using namespace Host;

TEST(ContentHash, PublishedValues)
{
    EXPECT_EQ(ZContentHash::Of(""), 0xef46db3751d8e999u);
    EXPECT_EQ(ZContentHash::Of("a"), 0xd24ec4f1a98c6e5bu);
    EXPECT_EQ(ZContentHash::Of("abc"), 0x44bc2cf5ad770999u);
    EXPECT_EQ(ZContentHash::Of("Nobody inspects the spammish repetition"), 0xfbcea83c8a378bf1u);
}

TEST(ContentHash, PiecesGiveTheSameAsTheWhole)
{
    std::string sBytes(1000, '\0');
    for (size_t i = 0; i < sBytes.size(); ++i)
        sBytes[i] = static_cast<char>(i * 7 + i / 13);
    for (const size_t nPiece : {1u, 7u, 31u, 32u, 33u, 64u, 999u})
    {
        ZContentHash hash;
        for (size_t n = 0; n < sBytes.size(); n += nPiece)
            hash.Add(sBytes.data() + n, std::min(nPiece, sBytes.size() - n));
        EXPECT_EQ(hash.Get(), ZContentHash::Of(sBytes)) << nPiece;
    }
}
