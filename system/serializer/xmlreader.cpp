#include "system/serializer/xmlreader.h"

#include "system/serializer/xmlsource.h"

namespace
{

/// A name from a document, cut to what a message can hold.
ZString ForMessage(const char* szName)
{
    return ZString::FromView(std::string_view(szName).substr(0, 60));
}

bool IsText(const pugi::xml_node& node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

} // namespace

struct ZXMLReader::SState
{
    ZXmlSource source;
    pugi::xml_node parent; ///< the element that is being read; the document before its root
    pugi::xml_node next;   ///< its child that comes next; null at its end
    pugi::xml_node last;   ///< what was read last, for messages
};

ZXMLReader::ZXMLReader(const ZString& documentName) : m_documentName(documentName), m_pState(ZNew<SState>())
{
    if (!m_pState)
        throw std::bad_alloc();
}

ZXMLReader::~ZXMLReader() = default;

void ZXMLReader::SetInputStream(IInputStream* pStream)
{
    m_pState = TUniquePtr<SState>(ZNew<SState>());
    if (!m_pState->source.Load(pStream))
        Fail("bParsed", m_pState->source.Error());
    m_pState->parent = m_pState->source.Document();
    m_pState->next = m_pState->source.Root();
}

void ZXMLReader::Fail(const char* szExpression, const ZString& why) const
{
    static bool s_bIgnoreAssert = false;
    const SState& state = *m_pState;
    const ZString place =
        state.last ? ZString::Format("{0}, {1}", m_documentName, state.source.PlaceOf(state.last)) : m_documentName;
    const ZString message = ZString::Format("{0}: {1}", place, why);
    if (!s_bIgnoreAssert &&
        !assertFunctionMsg(__FILE__, __LINE__, szExpression, &s_bIgnoreAssert, message.ToCString(), ""))
        std::abort();
    throw zhalt_exception();
}

ZString ZXMLReader::Found() const
{
    const SState& state = *m_pState;
    if (state.next)
        return IsText(state.next) ? ZString("text") : ZString::Format("<{0}>", ForMessage(state.next.name()));
    return state.parent.type() == pugi::node_element ? ZString::Format("</{0}>", ForMessage(state.parent.name()))
                                                     : ZString("the end of the document");
}

bool ZXMLReader::EnterNext(const ZString& name, STag& tag)
{
    SState& state = *m_pState;
    if (state.next.type() != pugi::node_element || !(name == state.next.name()))
        return false;
    state.last = state.next;
    tag.m_name = name;
    tag.m_bEmpty = !state.next.first_child();
    tag.m_attributes.Clear();
    for (const pugi::xml_attribute attribute : state.next.attributes())
        tag.m_attributes[ZString::ReferenceCString(attribute.name()).GetHashCode()] =
            ZString::AllocateFromCString(attribute.value());
    if (tag.m_bEmpty)
    {
        // Behind the root there is nothing that could come.
        state.next = state.parent.type() == pugi::node_element ? state.next.next_sibling() : pugi::xml_node();
        return true;
    }
    state.parent = state.next;
    state.next = state.parent.first_child();
    return true;
}

void ZXMLReader::StartTagAssert(const ZString& name, STag& tag, bool bMayBeEmpty, bool bSkipOthers)
{
    SState& state = *m_pState;
    while (bSkipOthers && state.next.type() == pugi::node_element && !(name == state.next.name()))
        state.next = state.next.next_sibling();
    if (state.next)
        state.last = state.next;
    const ZString found = Found();
    if (!EnterNext(name, tag))
        Fail("bStartTag", ZString::Format("expected <{0}>, found {1}", name, found));
    if (tag.m_bEmpty && !bMayBeEmpty)
        Fail("bStartTag", ZString::Format("<{0}> has no content", name));
}

bool ZXMLReader::TryStartTag(const ZString& name, STag& tag)
{
    return EnterNext(name, tag);
}

bool ZXMLReader::StartAndSkipTag(const ZString& name, STag& tag)
{
    if (!EnterNext(name, tag))
        return false;
    if (!tag.m_bEmpty)
        SkipToEndTag();
    EndTagAssert(tag);
    return true;
}

void ZXMLReader::EndTagAssert(const STag& tag)
{
    SState& state = *m_pState;
    if (tag.m_bEmpty)
        return;
    if (state.next)
        state.last = state.next;
    if (state.next || state.parent.type() != pugi::node_element || !(tag.m_name == state.parent.name()))
        Fail("bEndTag", ZString::Format("expected </{0}>, found {1}", tag.m_name, Found()));
    const pugi::xml_node ended = state.parent;
    state.parent = ended.parent();
    state.next = state.parent.type() == pugi::node_element ? ended.next_sibling() : pugi::xml_node();
}

bool ZXMLReader::PeekEndTag() const
{
    return !m_pState->next;
}

void ZXMLReader::SkipToEndTag()
{
    m_pState->next = pugi::xml_node();
}

ZString ZXMLReader::ReadTextAssert()
{
    SState& state = *m_pState;
    if (!IsText(state.next))
        Fail("bText", ZString::Format("expected text, found {0}", Found()));
    state.last = state.next;
    ZString text;
    for (; IsText(state.next); state.next = state.next.next_sibling())
        text.Append(state.next.value());
    return text;
}
