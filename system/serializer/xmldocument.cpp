#include "system/serializer/xmldocument.h"

#include "base/misc/trace.h"
#include "base/pointers/tsharedptr.h"
#include "system/serializer/xmlsource.h"

#include <atomic>

namespace
{

using TSourcePtr = TSharedPtr<ZXmlSource>;

ZComPtr<IXMLDOMNode> MakeNode(const TSourcePtr& source, const pugi::xml_node& node);

/// What elements and documents have in common: a place in the tree and a hold on the whole of it.
template <class TFace>
class TXmlNode : public TFace
{
public:
    TXmlNode(const TSourcePtr& source, const pugi::xml_node& node) : m_source(source), m_node(node) {}
    virtual ~TXmlNode() = default;

    size_t AddRef() final { return m_nReferences.fetch_add(1, std::memory_order_relaxed) + 1; }
    size_t Release() final
    {
        const size_t nLeft = m_nReferences.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (nLeft == 0)
            ZDelete(this);
        return nLeft;
    }
    ZString Name() const final { return ZString::AllocateFromCString(m_node.name()); }
    ZComPtr<IXMLDOMNode> Parent() const final { return MakeNode(m_source, m_node.parent()); }
    TXMLNodes ChildElements() const final
    {
        TXMLNodes result;
        for (const pugi::xml_node child : m_node)
            if (child.type() == pugi::node_element)
                result.Add(MakeNode(m_source, child));
        return result;
    }
    bool Attribute(const ZString& name, ZString& value) const final
    {
        const pugi::xml_attribute attribute = m_node.attribute(name.ToCString());
        if (!attribute)
            return false;
        value = ZString::AllocateFromCString(attribute.value());
        return true;
    }
    ZString Place() const final { return m_source->PlaceOf(m_node); }
    TXMLNodes Select(const ZString& path) const final
    {
        TXMLNodes result;
        try
        {
            pugi::xpath_node_set nodes = m_node.select_nodes(path.ToCString());
            nodes.sort();
            result.Reserve(nodes.size());
            for (const pugi::xpath_node& found : nodes)
                if (found.node().type() == pugi::node_element)
                    result.Add(MakeNode(m_source, found.node()));
        }
        catch (const pugi::xpath_exception&)
        {
            ZASSERT_TEXT(false, "the XPath expression compiles");
        }
        return result;
    }

protected:
    TSourcePtr m_source;
    pugi::xml_node m_node;

private:
    std::atomic<size_t> m_nReferences{1};
};

class ZXmlElement final : public TXmlNode<IXMLDOMElement>
{
public:
    using TXmlNode::TXmlNode;
};

class ZXmlDocument final : public TXmlNode<IXMLDOMDocument>
{
public:
    using TXmlNode::TXmlNode;
    ZComPtr<IXMLDOMElement> DocumentElement() const override
    {
        const pugi::xml_node root = m_source->Root();
        return root ? ZComPtr<IXMLDOMElement>::Adopt(ZNew<ZXmlElement>(m_source, root)) : ZComPtr<IXMLDOMElement>();
    }
};

ZComPtr<IXMLDOMNode> MakeNode(const TSourcePtr& source, const pugi::xml_node& node)
{
    if (node.type() == pugi::node_element)
        return ZComPtr<IXMLDOMNode>::Adopt(ZNew<ZXmlElement>(source, node));
    if (node.type() == pugi::node_document)
        return ZComPtr<IXMLDOMNode>::Adopt(ZNew<ZXmlDocument>(source, node));
    return {};
}

} // namespace

ZComPtr<IXMLDOMDocument> LoadXMLDocument(IInputStream* pStream)
{
    const auto source = TSourcePtr::Create();
    if (!source->Load(pStream))
    {
        ZTRACE(ITraceListener::eTrace_Notice, "LoadXMLDocument", "{0}", source->Error());
        return {};
    }
    return ZComPtr<IXMLDOMDocument>::Adopt(ZNew<ZXmlDocument>(source, source->Document()));
}
