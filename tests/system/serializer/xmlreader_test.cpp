#include "system/serializer/xmlreader.h"

#include "tests/support/testing.h"

namespace
{

/// A reader on a text, with the stream gone: the reader does not need it after SetInputStream.
void Open(ZXMLReader& reader, std::string_view text)
{
    reader.SetInputStream(OpenText(text).Get());
}

/// Message of the assertion that `read` fails on the document; the assertion's handler lets the program go on.
template <class TRead>
ZString FailureOf(std::string_view text, TRead read)
{
    ZAssertTrap trap;
    ZXMLReader reader("doc");
    try
    {
        Open(reader, text);
        read(reader);
    }
    catch (const zhalt_exception&)
    {
        EXPECT_EQ(trap.Count(), 1u);
        return trap.FirstMessage();
    }
    EXPECT_EQ(trap.Count(), 0u);
    return "no failure";
}

TEST(XmlReader, WalksADocument)
{
    ZXMLReader reader;
    Open(reader, "<?xml version=\"1.0\"?><!-- a --><List a='1' b=\"x &amp; y\">\n"
                 "  <Item name='empty'/><Item name=''> <!-- nothing --> </Item>\n"
                 "  <Item>one &lt; <![CDATA[<two>]]></Item><Other><Item/><Deep><Item>no</Item></Deep></Other>\n"
                 "  <Item>last</Item></List><!-- behind -->");
    ZXMLReader::STag list, item;
    EXPECT_FALSE(reader.TryStartTag("list", list)) << "names are compared exactly";
    reader.StartTagAssert("List", list);
    EXPECT_FALSE(list.m_bEmpty);
    EXPECT_EQ(*list.Attribute("a"), "1");
    EXPECT_EQ(*list.Attribute("b"), "x & y");
    EXPECT_EQ(list.Attribute("A"), nullptr);

    EXPECT_TRUE(reader.TryStartTag("Item", item));
    EXPECT_TRUE(item.m_bEmpty);
    reader.EndTagAssert(item);
    EXPECT_TRUE(reader.TryStartTag("Item", item));
    EXPECT_TRUE(item.m_bEmpty) << "a comment and white space are no content";
    EXPECT_EQ(*item.Attribute("name"), "");

    reader.StartTagAssert("Item", item, false);
    EXPECT_EQ(item.Attribute("name"), nullptr) << "attributes of the tag before are gone";
    EXPECT_FALSE(reader.PeekEndTag());
    EXPECT_EQ(reader.ReadTextAssert(), "one < <two>");
    EXPECT_TRUE(reader.PeekEndTag());
    reader.EndTagAssert(item);

    EXPECT_FALSE(reader.StartAndSkipTag("Item", item));
    EXPECT_TRUE(reader.StartAndSkipTag("Other", item));
    reader.StartTagAssert("Item", item, false, true);
    reader.SkipToEndTag();
    reader.EndTagAssert(item);
    EXPECT_FALSE(reader.TryStartTag("Item", item));
    reader.EndTagAssert(list);
    EXPECT_TRUE(reader.PeekEndTag());
    EXPECT_FALSE(reader.TryStartTag("List", list)) << "the document is read once";
}

TEST(XmlReader, AssertionsNameDocumentAndPlaceAndStopReading)
{
    using TReader = ZXMLReader;
    const auto enter = [](TReader& r)
    {
        TReader::STag tag;
        r.StartTagAssert("a", tag);
    };
    const struct
    {
        const char* szText;
        void (*pRead)(TReader&, TReader::STag& a, TReader::STag& b);
        const char* szMessage;
    } cases[] = {
        {"<a>\n  <c/></a>", [](TReader& r, auto&, auto& b) { r.StartTagAssert("b", b); },
         "doc, line 2, column 3: expected <b>, found <c>"},
        {"<a>\r\n\r\n <b>1</b></a>",
         [](TReader& r, auto&, auto& b)
         {
             r.StartTagAssert("b", b);
             r.ReadTextAssert();
             r.StartTagAssert("c", b);
         },
         "doc, line 3, column 5: expected <c>, found </b>"},
        {"<a><b/></a>", [](TReader& r, auto&, auto& b) { r.StartTagAssert("b", b, false); },
         "doc, line 1, column 4: <b> has no content"},
        {"<a><b/></a>", [](TReader& r, auto& a, auto&) { r.EndTagAssert(a); },
         "doc, line 1, column 4: expected </a>, found <b>"},
        {"<a><b>1</b></a>", [](TReader& r, auto&, auto&) { r.ReadTextAssert(); },
         "doc, line 1, column 1: expected text, found <b>"},
        {"<a><b>1</b></a>",
         [](TReader& r, auto&, auto& b)
         {
             r.StartTagAssert("b", b);
             r.Fail("bSuccess", "why");
         },
         "doc, line 1, column 4: why"},
    };
    for (const auto& c : cases)
    {
        const ZString message = FailureOf(c.szText,
                                          [&c](TReader& r)
                                          {
                                              TReader::STag a, b;
                                              r.StartTagAssert("a", a);
                                              c.pRead(r, a, b);
                                          });
        EXPECT_EQ(message, c.szMessage) << c.szText;
    }
    EXPECT_EQ(FailureOf("<!-- none -->", enter), "doc: expected <a>, found the end of the document");
    EXPECT_EQ(FailureOf("", enter), "doc: expected <a>, found the end of the document");
}

TEST(XmlReader, RefusesWhatIsNoDocument)
{
    std::string deep, level;
    for (int i = 0; i < 257; ++i)
        deep += "<a>";
    for (int i = 0; i < 257; ++i)
        deep += "</a>";
    const std::string allowed = deep.substr(3, deep.size() - 7);
    std::string hopeless;
    for (int i = 0; i < 300000; ++i)
        hopeless += "<a>";
    const std::pair<std::string, const char*> cases[] = {
        {"<a>\n<b></a>", "doc: line 2, column 6: Start-end tags mismatch"},
        {"<a>\n<b>", "doc: line 2, column 3: Start-end tags mismatch"},
        {"<a b=c/>", "doc: line 1, column 6: Error parsing element attribute"},
        {"<a/>\n<b/>", "doc: line 2, column 1: a second root element"},
        {"<a/>\n\n text", "doc: line 3, column 2: text outside the root element"},
        {"text", "doc: line 1, column 1: text outside the root element"},
        {"<a x='1' y='2' x='3'/>", "doc: line 1, column 1: the attribute 'x' stands twice"},
        {std::string("<a>\0</a>", 8), "doc: line 1, column 4: a zero byte"},
        {"<!DOCTYPE a [<!ENTITY b 'bbbb'>]><a>&b;</a>", "doc: a document type with declarations of its own"},
        {"<?xml version='1.0' encoding='koi8-r'?><a>\xC1</a>", "doc: the encoding 'koi8-r' can't be read"},
        {deep, "doc: line 1, column 769: elements are nested deeper than 256"},
        {allowed, "no failure"},
        {hopeless, "doc: line 1, column 900000: Start-end tags mismatch"},
        {std::string((size_t{16} << 20) + 1, ' '), "doc: the document has 16777217 bytes, more than 16777216"},
    };
    for (const auto& [text, szMessage] : cases)
        EXPECT_EQ(FailureOf(text, [](ZXMLReader&) {}), szMessage) << text.substr(0, 60);
    ZAssertTrap trap;
    ZXMLReader reader("doc");
    EXPECT_THROW(reader.SetInputStream(nullptr), zhalt_exception);
    EXPECT_EQ(trap.FirstMessage(), "doc: the stream is not open");
}

TEST(XmlReader, ReadsTheEncodingsThatToolsWrite)
{
    const std::string plain = "<a b='\xC3\xA9'>\xE2\x82\xAC\xF0\x9F\x98\x80</a>"; // e acute; euro sign, smiling face
    std::string little("\xFF\xFE", 2), big("\xFE\xFF", 2);
    for (const char16_t c : std::u16string(u"<a b='\u00e9'>\u20ac\U0001F600</a>"))
    {
        little += {static_cast<char>(c & 0xff), static_cast<char>(c >> 8)};
        big += {static_cast<char>(c >> 8), static_cast<char>(c & 0xff)};
    }
    for (const std::string& text : {plain, "\xEF\xBB\xBF" + plain, little, big, little.substr(2), big.substr(2)})
    {
        ZXMLReader reader;
        Open(reader, text);
        ZXMLReader::STag a;
        reader.StartTagAssert("a", a);
        EXPECT_EQ(*a.Attribute("b"), "\xC3\xA9");
        EXPECT_EQ(reader.ReadTextAssert(), "\xE2\x82\xAC\xF0\x9F\x98\x80");
    }
    ZXMLReader reader;
    Open(reader, "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>");
    ZXMLReader::STag a;
    reader.StartTagAssert("a", a);
    EXPECT_EQ(reader.ReadTextAssert(), "\xC3\xA9");
}

} // namespace
