#pragma once

#include "base/misc/zstring.h"

/// Identifier of a resource, a text of one of these forms:
///
///   root              assembly:/animations/run.fbx
///   with parameters   assembly:/animations/run.fbx?/walk.take
///   derived           <SOURCE>(PARAMETERS).PLATFORM.EXTENSION, or without the round brackets when there are none
///
/// SOURCE is any identifier, a derived one included. PARAMETERS are separated by bars; one may itself be a derived
/// identifier, whose own bars do not count. Everything survives lower-casing, and every part can be had back. Angle
/// brackets occur in derived forms only.
class ZResourceID
{
public:
    ZResourceID() = default;
    ZResourceID(const ZString& text) : m_text(text) {}
    ZResourceID(ZString&& text) : m_text(std::move(text)) {}

    bool IsEmpty() const { return m_text.IsEmpty(); }
    /// A scheme, ":/" and a path; for a derived one, a valid source, a platform and an extension.
    Z_EXPORT bool IsValid() const;
    bool IsDerived() const { return !m_text.IsEmpty() && m_text[0] == '<'; }
    const ZString& ToString() const { return m_text; }

    /// The file: without root parameters; for a derived identifier, that of its source.
    Z_EXPORT ZResourceID GetRoot() const;
    /// What stands behind the "?", with its leading slash; empty when there is none.
    Z_EXPORT ZString GetRootParameters() const;
    /// Of a derived identifier, those of its source.
    Z_EXPORT ZResourceID ReplaceRootParameters(const ZString& text) const;

    /// Without the dot: the derived extension; else that of the root parameters; else that of the file.
    Z_EXPORT ZString GetExtension() const;
    Z_EXPORT ZResourceID ReplaceExtension(const ZString& extension) const;

    /// The parameters of a derived identifier, in order; none for the other forms.
    Z_EXPORT TArray<ZString> GetParameters() const;
    uint32_t GetParameterCount() const { return GetParameters().Size(); }
    ZString GetParameter(size_t nIndex) const { return GetParameters()[nIndex]; }

    /// What a derived identifier was made from; empty for the other forms.
    Z_EXPORT ZResourceID GetSourceResourceID() const;
    Z_EXPORT ZString GetPlatformFromExtension() const;
    /// An identifier that is not derived comes back as it is.
    Z_EXPORT ZResourceID ReplacePlatform(const ZString& platform) const;
    /// An empty parameter text means no parameters.
    Z_EXPORT ZResourceID CreateDerivedResourceID(const ZString& extension, const ZString& parameters,
                                                 const ZString& platform) const;

    friend bool operator==(const ZResourceID& a, const ZResourceID& b) { return a.m_text == b.m_text; }
    friend bool operator==(const ZResourceID& a, const ZString& b) { return a.m_text == b; }
    friend bool operator<(const ZResourceID& a, const ZResourceID& b) { return a.m_text < b.m_text; }

private:
    ZString m_text;
};
Z_TYPE_NAME(ZResourceID, "ZResourceID");
