#include "host/export/gltfbuffer.h"

namespace Host
{

namespace
{

/// Single keys and clocks come again and again; to look for others costs more than it saves.
constexpr size_t LONGEST_KNOWN = 4096;

} // namespace

void ZGltfBuffer::BeginView(ETarget eTarget)
{
    m_sBytes.resize((m_sBytes.size() + 3) / 4 * 4);
    m_views.push_back({m_sBytes.size(), 0, eTarget});
}

uint32_t ZGltfBuffer::Add(std::string_view bytes, const SLayout& layout)
{
    SView& view = m_views.back();
    const bool bKnown = view.eTarget == eNone && bytes.size() <= LONGEST_KNOWN;
    std::string sKey;
    if (bKnown)
    {
        sKey = std::string(layout.szType) + ' ' + std::string(bytes);
        if (const auto it = m_known.find(sKey); it != m_known.end())
            return it->second;
    }
    m_accessors.push_back({static_cast<uint32_t>(m_views.size() - 1), m_sBytes.size() - view.nStart, layout});
    m_sBytes += bytes;
    view.nLength = m_sBytes.size() - view.nStart;
    const auto nAccessor = static_cast<uint32_t>(m_accessors.size() - 1);
    if (bKnown)
        m_known.emplace(std::move(sKey), nAccessor);
    return nAccessor;
}

void ZGltfBuffer::WriteViews(ZJsonWriter& json) const
{
    json.ListField("bufferViews", m_views,
                   [&json](const SView& view)
                   {
                       json.Open('{');
                       json.UnsignedField("buffer", 0);
                       if (view.nStart != 0)
                           json.UnsignedField("byteOffset", view.nStart);
                       json.UnsignedField("byteLength", view.nLength);
                       if (view.eTarget != eNone)
                           json.UnsignedField("target", view.eTarget);
                       json.Close('}');
                   });
}

void ZGltfBuffer::WriteAccessors(ZJsonWriter& json) const
{
    json.ListField("accessors", m_accessors,
                   [&json](const SAccessor& accessor)
                   {
                       const SLayout& layout = accessor.layout;
                       json.Open('{');
                       json.UnsignedField("bufferView", accessor.nView);
                       if (accessor.nOffset != 0)
                           json.UnsignedField("byteOffset", accessor.nOffset);
                       json.UnsignedField("componentType", layout.eComponent);
                       if (layout.bNormalized)
                           json.BoolField("normalized", true);
                       json.UnsignedField("count", layout.nCount);
                       json.TextField("type", layout.szType);
                       if (!layout.sBounds.empty())
                       {
                           const size_t nMiddle = layout.sBounds.find(' ');
                           json.Key("min");
                           json.Raw(std::string_view(layout.sBounds).substr(0, nMiddle));
                           json.Key("max");
                           json.Raw(std::string_view(layout.sBounds).substr(nMiddle + 1));
                       }
                       json.Close('}');
                   });
}

} // namespace Host
