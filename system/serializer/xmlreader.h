#pragma once

#include "base/collections/thashmap.h"
#include "base/pointers/tuniqueptr.h"
#include "system/io/streams.h"

/// Walks an XML document from its first tag to its last. Comments, processing instructions and white space between tags
/// do not count.
///
/// The calls with Assert do not return normally on a document that does not fit: they fail an assertion whose message
/// names the document, line and column, and raise zhalt_exception when the handler lets the program go on. So does
/// SetInputStream for a text that is no well-formed XML, or is beyond 16 MB or 256 levels.
class ZXMLReader
{
public:
    /// One start tag as it was read.
    struct STag
    {
        ZString m_name;
        /// No content but white space. Such an element is left as soon as its tag is read: what comes next is behind
        /// it, and EndTagAssert has nothing to do.
        bool m_bEmpty = false;
        THashMap<uint32_t, ZString> m_attributes; ///< hash of the attribute's name -> value

        /// Null when there is none.
        const ZString* Attribute(const ZString& name) const { return m_attributes.Find(name.GetHashCode()); }
    };

    /// The name is for messages: the identifier of what is read.
    Z_EXPORT explicit ZXMLReader(const ZString& documentName = ZString());
    ZXMLReader(const ZXMLReader&) = delete;
    ZXMLReader& operator=(const ZXMLReader&) = delete;
    Z_EXPORT ~ZXMLReader();

    /// Reads the stream to its end; it is not needed afterwards.
    Z_EXPORT void SetInputStream(IInputStream* pStream);

    /// The next tag must start an element of this name, which is entered. One without content fits only when it may be
    /// empty. With bSkipOthers elements of other names in front of it are stepped over.
    Z_EXPORT void StartTagAssert(const ZString& name, STag& tag, bool bMayBeEmpty = true, bool bSkipOthers = false);
    /// Enters the next element when it has this name; else false, and nothing is read.
    Z_EXPORT bool TryStartTag(const ZString& name, STag& tag);
    /// The same, and steps over the element's content and end.
    Z_EXPORT bool StartAndSkipTag(const ZString& name, STag& tag);
    /// What comes next must be the end of the element that the tag started.
    Z_EXPORT void EndTagAssert(const STag& tag);
    /// Whether the next tag ends the element that is being read, or the document ends.
    Z_EXPORT bool PeekEndTag() const;
    /// To the end tag of the element that is being read; EndTagAssert comes next.
    Z_EXPORT void SkipToEndTag();
    /// The text up to the next tag, entities replaced, white space kept. There must be some.
    Z_EXPORT ZString ReadTextAssert();

    /// For what only the caller can tell: fails as the calls with Assert do, at the place that was read last.
    [[noreturn]] Z_EXPORT void Fail(const char* szExpression, const ZString& why) const;

private:
    struct SState;

    bool EnterNext(const ZString& name, STag& tag);
    /// What stands next, for messages.
    ZString Found() const;

    ZString m_documentName;
    TUniquePtr<SState> m_pState;
};
