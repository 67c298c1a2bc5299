#pragma once

#include "system/io/streams.h"

#include <pugixml.hpp>

/// A parsed XML document beside the text it was parsed from, which tells where things stand. Shared by the reader and
/// the document faces; nothing outside this library includes it.
///
/// Input is not trusted: MAX_BYTES and MAX_DEPTH hold, entities beyond the five of XML are not expanded, and a document
/// type with declarations of its own is refused. UTF-8, UTF-16 and ISO 8859-1 are read; what follows sees UTF-8.
class ZXmlSource
{
public:
    static constexpr size_t MAX_BYTES = size_t{16} << 20;
    static constexpr int MAX_DEPTH = 256; ///< elements inside elements

    /// False, with Error() told, when it is no well-formed document within the bounds. A document without any element
    /// passes: whoever asks for its root learns that there is none.
    bool Load(IInputStream* pStream);
    /// With the place: "line 3, column 5: ...".
    const ZString& Error() const { return m_sError; }

    const pugi::xml_document& Document() const { return m_document; }
    pugi::xml_node Root() const;
    /// Where an element or text begins, as "line 3, column 5"; columns count bytes of UTF-8.
    ZString PlaceOf(const pugi::xml_node& node) const;

private:
    bool Fail(const ZString& why);
    bool FailAt(size_t nOffset, const ZString& why);
    ZString PlaceAt(size_t nOffset) const;
    bool ReadAll(IInputStream* pStream);
    bool ToUtf8();
    bool CheckTree();
    bool CheckAttributes(const pugi::xml_node& node);

    TArray<char> m_text;
    pugi::xml_document m_document;
    ZString m_sError;
};
