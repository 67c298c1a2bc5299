#pragma once

#include "host/text/jsonwriter.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

/// The one buffer of a glTF file, with what glTF wants to know of it: views, and accessors that say what stands there.
class ZGltfBuffer
{
public:
    enum EComponent : uint32_t
    {
        eUnsignedByte = 5121,
        eUnsignedShort = 5123,
        eUnsignedInt = 5125,
        eFloat = 5126
    };
    /// Attributes of vertices and indices tell their purpose, all else has none.
    enum ETarget : uint32_t
    {
        eNone = 0,
        eVertices = 34962,
        eIndices = 34963
    };
    struct SLayout
    {
        EComponent eComponent = eFloat;
        const char* szType = "SCALAR";
        uint32_t nCount = 0;
        bool bNormalized = false;
        std::string sBounds =
            {}; ///< least and greatest values as JSON lists, with a blank between; where glTF wants them
    };

    /// What is added from here on stands in a view of its own, on a multiple of four bytes.
    void BeginView(ETarget eTarget = eNone);
    /// An accessor to these bytes, at the end of the current view; equal ones of a view for animations are stored once.
    uint32_t Add(std::string_view bytes, const SLayout& layout);

    const std::string& Bytes() const { return m_sBytes; }
    void WriteViews(ZJsonWriter& json) const;
    void WriteAccessors(ZJsonWriter& json) const;

private:
    struct SView
    {
        uint64_t nStart = 0;
        uint64_t nLength = 0;
        ETarget eTarget = eNone;
    };
    struct SAccessor
    {
        uint32_t nView = 0;
        uint64_t nOffset = 0;
        SLayout layout;
    };
    std::string m_sBytes;
    std::vector<SView> m_views;
    std::vector<SAccessor> m_accessors;
    std::map<std::string, uint32_t, std::less<>> m_known; ///< short ones only, by their layout's type and bytes
};

} // namespace Host
