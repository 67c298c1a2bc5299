#include "system/serializer/xmlsource.h"

#include <algorithm>
#include <string_view>

namespace
{

bool IsWhiteSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view View(const TArray<char>& text)
{
    return {text.GetStart(), text.Size()};
}

void AppendUtf8(TArray<char>& text, uint32_t nCode)
{
    const auto add = [&text](uint32_t n) { text.Add(static_cast<char>(n)); };
    if (nCode < 0x80)
        return add(nCode);
    if (nCode < 0x800)
        add(0xC0 | (nCode >> 6));
    else if (nCode < 0x10000)
    {
        add(0xE0 | (nCode >> 12));
        add(0x80 | ((nCode >> 6) & 0x3F));
    }
    else
    {
        add(0xF0 | (nCode >> 18));
        add(0x80 | ((nCode >> 12) & 0x3F));
        add(0x80 | ((nCode >> 6) & 0x3F));
    }
    add(0x80 | (nCode & 0x3F));
}

/// Units of 16 bits; halves of pairs that stand alone become the replacement character.
TArray<char> FromUtf16(std::string_view bytes, bool bBigEndian)
{
    const auto unit = [bytes, bBigEndian](size_t i)
    {
        const auto a = static_cast<uint8_t>(bytes[i]);
        const auto b = static_cast<uint8_t>(bytes[i + 1]);
        return static_cast<uint32_t>(bBigEndian ? a << 8 | b : b << 8 | a);
    };
    TArray<char> text;
    text.Reserve(bytes.size());
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    {
        uint32_t nCode = unit(i);
        if (nCode >= 0xD800 && nCode < 0xE000)
        {
            const uint32_t nSecond = nCode < 0xDC00 && i + 3 < bytes.size() ? unit(i + 2) : 0;
            const bool bPair = nSecond >= 0xDC00 && nSecond < 0xE000;
            nCode = bPair ? 0x10000 + ((nCode - 0xD800) << 10) + (nSecond - 0xDC00) : 0xFFFD;
            i += bPair ? 2 : 0;
        }
        AppendUtf8(text, nCode);
    }
    return text;
}

/// What the declaration at the text's start names; empty when it names none.
ZString DeclaredEncoding(std::string_view text)
{
    if (!text.starts_with("<?xml"))
        return {};
    const std::string_view declaration = text.substr(0, text.find("?>"));
    size_t n = declaration.find("encoding");
    if (n == std::string_view::npos)
        return {};
    n = declaration.find_first_of("\"'", n);
    if (n == std::string_view::npos)
        return {};
    const size_t nEnd = declaration.find(declaration[n], n + 1);
    return nEnd == std::string_view::npos ? ZString() : ZString::FromView(declaration.substr(n + 1, nEnd - n - 1));
}

} // namespace

bool ZXmlSource::Fail(const ZString& why)
{
    m_sError = why;
    m_document.reset();
    return false;
}

bool ZXmlSource::FailAt(size_t nOffset, const ZString& why)
{
    return Fail(ZString::Format("{0}: {1}", PlaceAt(nOffset), why));
}

bool ZXmlSource::Load(IInputStream* pStream)
{
    if (!ReadAll(pStream) || !ToUtf8())
        return false;
    const std::string_view text = View(m_text);
    // The parser would take it for the end.
    if (const size_t nZero = text.find('\0'); nZero != std::string_view::npos)
        return FailAt(nZero, "a zero byte");
    constexpr unsigned int nFlags = pugi::parse_default | pugi::parse_fragment | pugi::parse_doctype;
    const pugi::xml_parse_result result = m_document.load_buffer(text.data(), text.size(), nFlags, pugi::encoding_utf8);
    if (!result)
        return FailAt(static_cast<size_t>(result.offset), ZString::ReferenceCString(result.description()));
    return CheckTree();
}

bool ZXmlSource::ReadAll(IInputStream* pStream)
{
    if (pStream == nullptr || !pStream->IsOpen())
        return Fail("the stream is not open");
    const size_t nSize = pStream->GetSize();
    if (nSize > MAX_BYTES)
        return Fail(ZString::Format("the document has {0} bytes, more than {1}", static_cast<uint64_t>(nSize),
                                    static_cast<uint64_t>(MAX_BYTES)));
    m_text.Resize(nSize);
    if (pStream->Read(m_text.GetStart(), nSize) != nSize)
        return Fail("the stream ends early");
    return true;
}

bool ZXmlSource::ToUtf8()
{
    const std::string_view bytes = View(m_text);
    if (bytes.starts_with("\xFE\xFF") || bytes.starts_with(std::string_view("\0<", 2)))
        m_text = FromUtf16(bytes.substr(bytes[0] == '\0' ? 0 : 2), true);
    else if (bytes.starts_with("\xFF\xFE") || bytes.starts_with(std::string_view("<\0", 2)))
        m_text = FromUtf16(bytes.substr(bytes[0] == '<' ? 0 : 2), false);
    else if (bytes.starts_with("\xEF\xBB\xBF"))
        m_text = TArray<char>(TArrayRef<const char>(bytes.data() + 3, bytes.size() - 3));
    else
    {
        // Plain ASCII is the same in every encoding that can stand here, whatever the declaration says.
        const ZString encoding = DeclaredEncoding(bytes);
        const bool bAscii = std::all_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) == 0; });
        if (bAscii || encoding.IsEmpty() || encoding.ICompare("utf-8") == 0)
            return true;
        if (encoding.ICompare("iso-8859-1") != 0)
            return Fail(ZString::Format("the encoding '{0}' can't be read", encoding));
        TArray<char> text;
        text.Reserve(bytes.size() * 2);
        for (const char c : bytes)
            AppendUtf8(text, static_cast<uint8_t>(c));
        m_text = std::move(text);
    }
    return true;
}

bool ZXmlSource::CheckTree()
{
    pugi::xml_node root;
    for (const pugi::xml_node node : m_document)
    {
        // Declarations of entities are how a small document asks for a large text.
        if (node.type() == pugi::node_doctype && std::string_view(node.value()).find('[') != std::string_view::npos)
            return Fail("a document type with declarations of its own");
        if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata)
            return Fail(ZString::Format("{0}: text outside the root element", PlaceOf(node)));
        if (node.type() == pugi::node_element)
        {
            if (root)
                return Fail(ZString::Format("{0}: a second root element", PlaceOf(node)));
            root = node;
        }
    }
    int nDepth = 1;
    for (pugi::xml_node node = root; node;)
    {
        if (!CheckAttributes(node))
            return false;
        if (const pugi::xml_node child = node.first_child())
        {
            node = child;
            if (++nDepth > MAX_DEPTH && node.type() == pugi::node_element)
                return Fail(ZString::Format("{0}: elements are nested deeper than {1}", PlaceOf(node), MAX_DEPTH));
            continue;
        }
        while (node && !node.next_sibling() && !(node == root))
        {
            node = node.parent();
            --nDepth;
        }
        node = node == root ? pugi::xml_node() : node.next_sibling();
    }
    return true;
}

bool ZXmlSource::CheckAttributes(const pugi::xml_node& node)
{
    const pugi::xml_attribute first = node.first_attribute();
    if (!first || !first.next_attribute())
        return true;
    TArray<std::string_view> names;
    for (const pugi::xml_attribute attribute : node.attributes())
        names.Add(attribute.name());
    std::sort(names.begin(), names.end());
    const auto* pTwin = std::adjacent_find(names.begin(), names.end());
    if (pTwin != names.end())
        return Fail(ZString::Format("{0}: the attribute '{1}' stands twice", PlaceOf(node), ZString::FromView(*pTwin)));
    return true;
}

pugi::xml_node ZXmlSource::Root() const
{
    for (const pugi::xml_node node : m_document)
        if (node.type() == pugi::node_element)
            return node;
    return {};
}

ZString ZXmlSource::PlaceOf(const pugi::xml_node& node) const
{
    const ptrdiff_t nOffset = node.offset_debug();
    if (nOffset < 0)
        return PlaceAt(m_text.Size());
    auto n = static_cast<size_t>(nOffset);
    if (node.type() == pugi::node_element)
        return PlaceAt(n - 1); // of its bracket
    while (n < m_text.Size() && IsWhiteSpace(m_text[n]))
        ++n;
    return PlaceAt(n);
}

ZString ZXmlSource::PlaceAt(size_t nOffset) const
{
    const std::string_view before = View(m_text).substr(0, nOffset);
    const auto nLine = static_cast<uint32_t>(1 + std::count(before.begin(), before.end(), '\n'));
    const size_t nLineStart = before.rfind('\n') + 1; // npos + 1 is 0
    return ZString::Format("line {0}, column {1}", nLine, static_cast<uint32_t>(before.size() - nLineStart + 1));
}
