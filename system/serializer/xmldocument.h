#pragma once

#include "base/collections/tarray.h"
#include "base/pointers/zcomptr.h"
#include "system/io/streams.h"

/// One node of a document that was loaded whole. Counted; a node keeps its document alive. One thread at a time for a
/// document and its nodes.
class Z_EXPORT IXMLDOMNode
{
public:
    virtual size_t AddRef() = 0;
    virtual size_t Release() = 0;
    /// The name of an element; empty for a document.
    virtual ZString Name() const = 0;
    /// Null for the document itself.
    virtual ZComPtr<IXMLDOMNode> Parent() const = 0;
    /// Elements only, in document order.
    virtual TArray<ZComPtr<IXMLDOMNode>> ChildElements() const = 0;
    /// False, and the value untouched, when there is no such attribute.
    virtual bool Attribute(const ZString& name, ZString& value) const = 0;
    /// Elements that an XPath expression selects, in document order, each once. An expression that does not compile
    /// fails an assertion and selects nothing.
    virtual TArray<ZComPtr<IXMLDOMNode>> Select(const ZString& path) const = 0;
    /// Where an element begins, as "line 3, column 5".
    virtual ZString Place() const = 0;

protected:
    ~IXMLDOMNode() = default;
};

class Z_EXPORT IXMLDOMElement : public IXMLDOMNode
{
protected:
    ~IXMLDOMElement() = default;
};

class Z_EXPORT IXMLDOMDocument : public IXMLDOMNode
{
public:
    /// Null when the document has no element.
    virtual ZComPtr<IXMLDOMElement> DocumentElement() const = 0;

protected:
    ~IXMLDOMDocument() = default;
};

using TXMLNodes = TArray<ZComPtr<IXMLDOMNode>>;

/// Null when the stream does not parse; the reason with its place is traced as a notice. Bounds as for ZXMLReader.
Z_EXPORT ZComPtr<IXMLDOMDocument> LoadXMLDocument(IInputStream* pStream);

// Null nodes have no name, parent, children or attributes.

inline ZComPtr<IXMLDOMElement> GetDocumentElement(const ZComPtr<IXMLDOMDocument>& document)
{
    return document ? document->DocumentElement() : ZComPtr<IXMLDOMElement>();
}
inline TXMLNodes SelectNodes(const ZComPtr<IXMLDOMNode>& node, const ZString& path)
{
    return node ? node->Select(path) : TXMLNodes();
}
inline TXMLNodes GetNodeChildElements(const ZComPtr<IXMLDOMNode>& node)
{
    return node ? node->ChildElements() : TXMLNodes();
}
inline ZString GetNodeName(const ZComPtr<IXMLDOMNode>& node)
{
    return node ? node->Name() : ZString();
}
inline ZComPtr<IXMLDOMNode> GetNodeParent(const ZComPtr<IXMLDOMNode>& node)
{
    return node ? node->Parent() : ZComPtr<IXMLDOMNode>();
}
inline ZString GetOptionalAttribute(const ZComPtr<IXMLDOMNode>& node, const ZString& name, const ZString& fallback)
{
    ZString value;
    return node && node->Attribute(name, value) ? value : fallback;
}
