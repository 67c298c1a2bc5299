#include "host/verify/takeevents.h"

#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"
#include "resource/core/iresourcedatabase.h"
#include "system/serializer/xmlreader.h"

#include <algorithm>
#include <cmath>

namespace Host
{

namespace
{

using STag = ZXMLReader::STag;

constexpr size_t MOST_EVENTS = 4096;

std::string AttributeOf(const STag& tag, const char* szName)
{
    const ZString* pValue = tag.Attribute(ZString::AllocateFromCString(szName));
    return pValue != nullptr ? ToStd(*pValue) : std::string();
}

float ReadFraction(ZXMLReader& reader, const char* szName)
{
    STag tag;
    reader.StartTagAssert(ZString::AllocateFromCString(szName), tag, false);
    double fValue = 0.0;
    IsNumber(reader.ReadTextAssert().View(), fValue);
    reader.EndTagAssert(tag);
    return std::isfinite(fValue) ? static_cast<float>(std::clamp(fValue, 0.0, 1.0)) : 1.0f;
}

SClipEvent ReadEvent(ZXMLReader& reader, const std::string& sTrack, std::set<std::string>& propertyNames)
{
    SClipEvent event{sTrack, {}, 0.0f, 0.0f};
    STag attributes, data;
    reader.StartTagAssert("Attributes", attributes, false);
    event.fStart = ReadFraction(reader, "StartTime");
    event.fDuration = ReadFraction(reader, "Duration");
    while (reader.TryStartTag("EntityData", data))
    {
        const std::string sText = data.m_bEmpty ? std::string() : ToStd(reader.ReadTextAssert());
        reader.EndTagAssert(data);
        std::string sName = AttributeOf(data, "name");
        if (sName == "m_posePropertyName")
            propertyNames.insert(sText);
        if (sName.starts_with("m_"))
            sName.erase(0, 2);
        if (data.Attribute("enumValue") == nullptr && !sText.empty())
            event.sWhat += (event.sWhat.empty() ? "" : ", ") + sName + ' ' + sText;
    }
    reader.SkipToEndTag();
    reader.EndTagAssert(attributes);
    return event;
}

} // namespace

void ReadTakeEvents(const ZResourceID& take, const std::string& sTakeName, std::vector<SClipEvent>& events,
                    std::set<std::string>& propertyNames)
{
    const ZResourceID document = take.GetRoot().ReplaceExtension("events");
    const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(*GetResourceDatabase(), document));
    if (!stream)
        return;
    try
    {
        ZXMLReader reader(document.ToString());
        reader.SetInputStream(stream.Get());
        STag root, takeTag, track, event;
        reader.StartTagAssert("TakeList", root);
        bool bFound = false;
        while (!bFound && reader.TryStartTag("Take", takeTag))
        {
            bFound = !takeTag.m_bEmpty && ToLower(AttributeOf(takeTag, "name")) == ToLower(sTakeName);
            if (bFound || takeTag.m_bEmpty)
                continue;
            reader.SkipToEndTag();
            reader.EndTagAssert(takeTag);
        }
        while (bFound && reader.TryStartTag("EventTrack", track))
        {
            while (!track.m_bEmpty && reader.TryStartTag("Event", event))
            {
                if (event.m_bEmpty)
                    continue;
                events.push_back(ReadEvent(reader, AttributeOf(track, "name"), propertyNames));
                if (events.size() == MOST_EVENTS)
                    return;
                reader.EndTagAssert(event);
            }
            reader.EndTagAssert(track);
        }
    }
    // Packing has told what is wrong with the document; here it shows nothing.
    catch (const SAssertionFailed&)
    {
        events.clear();
    }
    catch (const zhalt_exception&)
    {
        events.clear();
    }
}

} // namespace Host
