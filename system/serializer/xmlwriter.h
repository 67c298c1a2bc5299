#pragma once

#include "base/collections/tarray.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "system/io/streams.h"

/// Writes an XML document in UTF-8, one element a line, indented by its depth. Misuse fails assertions.
class ZXMLWriter
{
public:
    /// Writes the declaration. The stream is held until the writer goes.
    Z_EXPORT explicit ZXMLWriter(const TComponentSharedPtr<IOutputStream>& stream);
    ZXMLWriter(const ZXMLWriter&) = delete;
    ZXMLWriter& operator=(const ZXMLWriter&) = delete;

    /// Opens an element. Until the next StartTag or EndTag its tag is open: what WriteString writes stands inside it.
    Z_EXPORT void StartTag(const ZString& name);
    Z_EXPORT void EndTag();
    /// Ends the document and hands what is left to the stream. False when the stream has taken less than it was given.
    Z_EXPORT bool Finish();

    /// As it stands, unescaped.
    Z_EXPORT void WriteString(const ZString& text);
    /// The text with what XML reserves escaped, for attribute values and content. Control characters that XML can't
    /// hold become question marks.
    Z_EXPORT static ZString RemapString(const ZString& text);

private:
    void CloseTag();
    void NewLine();
    void Flush();

    TComponentSharedPtr<IOutputStream> m_stream;
    ZString m_buffer;
    TArray<ZString> m_open; ///< names of the elements that have not ended
    bool m_bInTag = false;
    bool m_bComplete = true;
};
