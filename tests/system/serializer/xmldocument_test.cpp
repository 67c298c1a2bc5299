#include "system/serializer/xmldocument.h"

#include "system/serializer/xmlwriter.h"
#include "tests/support/testing.h"

namespace
{

ZComPtr<IXMLDOMDocument> Load(std::string_view text)
{
    return LoadXMLDocument(OpenText(text).Get());
}

/// Values of an attribute over nodes, each followed by a blank.
ZString Names(const TXMLNodes& nodes)
{
    ZString names;
    for (const auto& node : nodes)
    {
        names.Append(GetOptionalAttribute(node, "n", "-"));
        names.Append(' ');
    }
    return names;
}

constexpr std::string_view TREE = "<r n='0'>text<c n='1'><a n='2'/><c n='3'><a n='4'/><b n='5'/></c></c><!-- -->"
                                  "<a n='6'/><c n='7'><c><a n='8'/></c></c></r>";

TEST(XmlDocument, SelectsInDocumentOrder)
{
    const auto document = Load(TREE);
    const std::pair<ZString, const char*> cases[] = {
        {"/r/c", "1 7 "},      {"//c", "1 3 7 - "}, {"/r/c//a", "2 4 8 "}, {"/r/a", "6 "},
        {"/r/c/c//a", "4 8 "}, {"/x", ""},          {"//c/text()", ""},    {"//b | //a", "2 4 5 6 8 "},
    };
    for (const auto& [path, szNames] : cases)
        EXPECT_EQ(Names(SelectNodes(document, path)), szNames) << path.ToCString();
    ZAssertTrap trap;
    EXPECT_TRUE(SelectNodes(document, "//[").IsEmpty());
    EXPECT_EQ(trap.FirstExpression(), "the XPath expression compiles");
}

TEST(XmlDocument, NodesKnowTheirNeighboursAndKeepTheDocument)
{
    ZComPtr<IXMLDOMNode> node = SelectNodes(Load(TREE), "//b")[0]; // the document's own pointer is gone
    EXPECT_EQ(GetNodeName(node), "b");
    EXPECT_EQ(GetOptionalAttribute(node, "m", "none"), "none");
    ZString way;
    for (; node; node = GetNodeParent(node))
        way = ZString::Format("{0}/{1}", way, GetNodeName(node));
    EXPECT_EQ(way, "/b/c/c/r/") << "the last is the document";

    const auto root = GetDocumentElement(Load(TREE));
    EXPECT_EQ(Names(GetNodeChildElements(root)), "1 6 7 ") << "elements only";
    EXPECT_EQ(Names(SelectNodes(root, "a")), "6 ");
    EXPECT_TRUE(GetNodeChildElements(SelectNodes(root, "a")[0]).IsEmpty());
}

TEST(XmlDocument, WithoutElementsLoadsAndDamagedDoesNot)
{
    const ZTraceRecorder trace;
    const auto empty = Load("<?xml version='1.0'?><!-- only a comment -->");
    ASSERT_TRUE(empty);
    EXPECT_FALSE(GetDocumentElement(empty));
    EXPECT_TRUE(trace.Lines().IsEmpty());

    EXPECT_FALSE(Load("<a>\n<b></a>"));
    ASSERT_EQ(trace.Texts().Size(), 1u);
    EXPECT_EQ(trace.Texts()[0], "2 LoadXMLDocument: line 2, column 6: Start-end tags mismatch");
    EXPECT_FALSE(LoadXMLDocument(nullptr));
}

TEST(XmlWriter, WritesWhatTheReaderReads)
{
    ImportSystemIOModule();
    const ZString nasty("<a & \"b\" 'c'>\t\xC3\xA9\n");
    TArray<uint8_t> bytes;
    TArray<uint8_t>* pBytes = &bytes;
    {
        ZXMLWriter writer(
            TComponentSharedPtr<IOutputStream>::Adopt(CreateComponent<IOutputStream>(MEMORY_OUTPUT_STREAM, pBytes)));
        writer.StartTag("Root");
        writer.StartTag("Empty");
        writer.WriteString(ZString::Format(" n=\"{0}\"", ZXMLWriter::RemapString(nasty)));
        writer.EndTag();
        writer.EndTag();
        EXPECT_TRUE(writer.Finish());
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes.GetStart()), bytes.Size());
    EXPECT_EQ(text, "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Root>\n"
                    "  <Empty n=\"&lt;a &amp; &quot;b&quot; &apos;c&apos;&gt;&#9;\xC3\xA9&#10;\"/>\n</Root>\n");
    const auto document = Load(text);
    EXPECT_EQ(GetOptionalAttribute(SelectNodes(document, "/Root/Empty")[0], "n", ""), nasty);
    EXPECT_EQ(ZXMLWriter::RemapString("\x01"), "?");
}

TEST(XmlWriter, DeepTreesGrowInStepWithTheirElements)
{
    ImportSystemIOModule();
    TArray<uint8_t> bytes;
    TArray<uint8_t>* pBytes = &bytes;
    constexpr uint32_t nDepth = 20000;
    ZXMLWriter writer(
        TComponentSharedPtr<IOutputStream>::Adopt(CreateComponent<IOutputStream>(MEMORY_OUTPUT_STREAM, pBytes)));
    for (uint32_t i = 0; i < nDepth; ++i)
        writer.StartTag("Bone");
    for (uint32_t i = 0; i < nDepth; ++i)
        writer.EndTag();
    writer.Finish();
    EXPECT_LT(bytes.Size(), nDepth * 160u);
    ZAssertTrap trap;
    EXPECT_THROW(writer.EndTag(), zhalt_exception);
}

} // namespace
