#include "base/typeinfo/mathtypes.h"
#include "tests/support/testing.h"

namespace
{

constexpr size_t NOT_FOUND = ZString::NOT_FOUND;

TEST(ZString, BorrowsLiteralsAndCopiesEverythingElse)
{
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    const ZString literal("run");
    EXPECT_TRUE(literal.IsBorrowed());
    EXPECT_EQ(literal.Length(), 3u);
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);

    constexpr char PADDED[8] = "run";
    EXPECT_EQ(ZString(PADDED).Length(), 3u);
    constexpr char ENDLESS[2] = {'a', 'b'};
    EXPECT_THROW(ZString{ENDLESS}, zhalt_exception);

    // A copy must outlive what was borrowed: a block that is freed, say.
    char buffer[] = "walk";
    ZString copy;
    {
        const ZString borrowed = ZString::ReferenceCString(buffer);
        copy = borrowed;
    }
    buffer[0] = 'x';
    EXPECT_TRUE(copy == "walk");
    EXPECT_FALSE(copy.IsBorrowed());
}

TEST(ZString, SearchesAndCuts)
{
    const ZString text("Bip01_L_Finger0");
    EXPECT_EQ(text.IndexOf('_'), 5u);
    EXPECT_EQ(text.IndexOf('_', 6), 7u);
    EXPECT_EQ(text.IndexOf("finger"), NOT_FOUND);
    EXPECT_EQ(text.IIndexOf("finger"), 8u);
    EXPECT_EQ(text.IIndexOf("finger00"), NOT_FOUND);
    EXPECT_EQ(text.LastIndexOf('_'), 7u);
    EXPECT_EQ(text.LastIndexOf(':'), NOT_FOUND);
    EXPECT_TRUE(text.Substring(8) == "Finger0");
    EXPECT_TRUE(text.Substring(0, 5) == "Bip01");
    EXPECT_TRUE(text.Substring(99).IsEmpty());
    EXPECT_TRUE(text.StartsWith("Bip01") && text.EndsWith("0") && !text.EndsWith("Bip01_L_Finger00"));

    ZString cut(text);
    cut.Remove(5, 3);
    EXPECT_TRUE(cut == "Bip01Finger0");
    cut.Remove(5, NOT_FOUND);
    EXPECT_TRUE(cut == "Bip01");
}

TEST(ZString, ComparesBytesAsUnsignedAndFoldsAsciiOnly)
{
    EXPECT_EQ(ZString("ARM").ICompare("arm"), 0);
    EXPECT_LT(ZString("arm").ICompare("arms"), 0);
    EXPECT_GT(ZString("arm_b").ICompare("ARM_A"), 0);
    EXPECT_TRUE(ZString("Z") < ZString("a"));
    EXPECT_TRUE(ZString("z") < ZString("\xC3\xA9"));
    EXPECT_TRUE(ZString("\xC3\x89t\xC3\x89").CopyToLower() == "\xC3\x89t\xC3\x89");
    EXPECT_EQ(ZCaseInsensitiveHashedString("Bip01").GetHashCode(), ZCaseInsensitiveHashedString("BIP01").GetHashCode());
    EXPECT_NE(ZHashedString("Bip01").GetHashCode(), ZHashedString("BIP01").GetHashCode());
}

TEST(ZString, AppendsAPieceOfItself)
{
    ZString text("ab");
    for (int i = 0; i < 6; ++i)
        text.Append(text);
    EXPECT_EQ(text.Length(), 128u);
    EXPECT_EQ(text.IndexOf("abab", 124), 124u);
    EXPECT_EQ(text.ToCString()[128], '\0');
}

TEST(ZString, SplitsAndTrims)
{
    const TArray<ZString> pieces = ZString("a||b|").Split('|');
    ASSERT_EQ(pieces.Size(), 4u);
    EXPECT_TRUE(pieces[0] == "a" && pieces[1].IsEmpty() && pieces[2] == "b" && pieces[3].IsEmpty());
    ASSERT_EQ(ZString().Split('|').Size(), 1u);
    EXPECT_TRUE(ZString(" \t\r\n").CopyTrim().IsEmpty());
    EXPECT_TRUE(ZString("\t a b \n").CopyTrim() == "a b");
}

TEST(ZString, GrowsInACallersBufferThenOutOfIt)
{
    char buffer[8];
    ZString text = ZString::PlacementReserve(buffer, sizeof buffer);
    text.Append("1234567");
    EXPECT_EQ(text.ToCString(), buffer);
    text.Append('8');
    EXPECT_NE(text.ToCString(), buffer);
    EXPECT_TRUE(text == "12345678");
}

TEST(ZString, FormatsEveryTypeThatHasAText)
{
    EXPECT_TRUE(ZString::Format("{0}/{1}FPS", 119, 30) == "119/30FPS");
    EXPECT_TRUE(ZString::Format("{1} {0} {1}", "a", ZString("b")) == "b a b");
    EXPECT_TRUE(ZString::Format("'{0}'", ZResourceID("assembly:/a/B.fbx")) == "'assembly:/a/B.fbx'");
    EXPECT_TRUE(ZString::Format("{0,.2} {0}", 3661.5f) == "3661.50 3661.5");
    EXPECT_TRUE(ZString::Format("{0} {1}", 1.0f, 0.1f) == "1 0.1");
    EXPECT_TRUE(ZString::Format("{0}", SVector3{1.0f, -2.5f, 0.0f}) == "1, -2.5, 0");
    EXPECT_TRUE(ZString::Format("{0} {1}", true, uint64_t{18446744073709551615u}) == "true 18446744073709551615");
}

/// Traces a line of its own for each that it hears, and leaves after the second.
class ZAnsweringListener final : public ITraceListener
{
public:
    void OnTrace(const char*, int, ETraceLevel eLevel, const ZString&, const ZString& text) override
    {
        ZTRACE(eLevel, "answer", "to {0}", text);
        if (++m_nHeard == 2)
            TraceCalls::RemoveListener(this);
    }
    int m_nHeard = 0;
};

TEST(TraceCalls, AListenerMayTraceAndLeave)
{
    ZAnsweringListener first, second;
    TraceCalls::AddListener(&first);
    TraceCalls::AddListener(&second);
    const ZTraceRecorder recorder;
    ZTRACE(ITraceListener::eTrace_Notice, "test", "hello");
    // Each hears the line and the other's answer, and answers both times; by then both have left.
    EXPECT_EQ(recorder.Lines().Size(), 5u);
    ZTRACE(ITraceListener::eTrace_Notice, "test", "again");
    EXPECT_EQ(recorder.Texts()[recorder.Lines().Size() - 1], "2 test: again");
    EXPECT_EQ(first.m_nHeard + second.m_nHeard, 4);
}

TEST(ZString, FormatLeavesWhatIsNoPlaceholder)
{
    EXPECT_TRUE(ZString::Format("'{}' uid={1} .", "bone", 7) == "'{}' uid=7 .");
    EXPECT_TRUE(ZString::Format("{\"a\": {0}, {2}}", 5) == "{\"a\": 5, {2}}");
    EXPECT_TRUE(ZString::Format("{0} {1", 1, 2) == "1 {1");
    // What an argument brings is not read again.
    EXPECT_TRUE(ZString::Format("{0}{1}", "{1}", "x") == "{1}x");
    EXPECT_TRUE(ZString::Format("{0,.} {0,.x}", 1.0f) == "{0,.} {0,.x}");
    EXPECT_TRUE(ZString::Format("{000} {0000}", 1) == "1 {0000}");
}

} // namespace
