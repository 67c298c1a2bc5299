#include "system/serializer/xmlwriter.h"

#include <algorithm>

namespace
{
constexpr uint32_t FLUSH_BYTES = 1 << 16;
// Deeper levels stand at the same column: blanks in front of a chain of bones would outgrow its data.
constexpr uint32_t MAX_INDENT = 32;
} // namespace

ZXMLWriter::ZXMLWriter(const TComponentSharedPtr<IOutputStream>& stream) : m_stream(stream)
{
    m_buffer.Append("<?xml version=\"1.0\" encoding=\"utf-8\"?>");
}

void ZXMLWriter::NewLine()
{
    m_buffer.Append('\n');
    for (uint32_t n = std::min(m_open.Size(), MAX_INDENT); n != 0; --n)
        m_buffer.Append("  ");
}

void ZXMLWriter::CloseTag()
{
    if (m_bInTag)
        m_buffer.Append('>');
    m_bInTag = false;
}

void ZXMLWriter::Flush()
{
    m_bComplete = m_stream->Write(m_buffer.ToCString(), m_buffer.Length()) == m_buffer.Length() && m_bComplete;
    m_buffer = ZString();
}

void ZXMLWriter::StartTag(const ZString& name)
{
    CloseTag();
    NewLine();
    m_buffer.Append('<');
    m_buffer.Append(name);
    m_open.Add(name);
    m_bInTag = true;
    if (m_buffer.Length() >= FLUSH_BYTES)
        Flush();
}

void ZXMLWriter::EndTag()
{
    const ZString name = m_open.Last();
    m_open.RemoveAt(m_open.Size() - 1);
    if (m_bInTag)
    {
        m_buffer.Append("/>");
        m_bInTag = false;
        return;
    }
    NewLine();
    m_buffer.Append("</");
    m_buffer.Append(name);
    m_buffer.Append('>');
}

bool ZXMLWriter::Finish()
{
    ZASSERT(m_open.IsEmpty());
    m_buffer.Append('\n');
    Flush();
    return m_bComplete;
}

void ZXMLWriter::WriteString(const ZString& text)
{
    m_buffer.Append(text);
}

ZString ZXMLWriter::RemapString(const ZString& text)
{
    ZString result;
    for (const char c : text.View())
    {
        switch (c)
        {
        case '&':
            result.Append("&amp;");
            break;
        case '<':
            result.Append("&lt;");
            break;
        case '>':
            result.Append("&gt;");
            break;
        case '"':
            result.Append("&quot;");
            break;
        case '\'':
            result.Append("&apos;");
            break;
        case '\t': // a reader would turn these into blanks
            result.Append("&#9;");
            break;
        case '\n':
            result.Append("&#10;");
            break;
        case '\r':
            result.Append("&#13;");
            break;
        default:
            result.Append(static_cast<unsigned char>(c) < ' ' ? '?' : c);
        }
    }
    return result;
}
