#include "resource/animation/packer/animposepropertydocument.h"

#include "base/typeinfo/mathtypes.h"
#include "system/serializer/xmlreader.h"

namespace ResourceAnimation
{

namespace
{

using STag = ZXMLReader::STag;

const ZString TRACK_OF_POSE_PROPERTIES("zanimposepropertyeventconsumer");

const ZString& RequireAttribute(const ZXMLReader& reader, const STag& tag, const ZString& name)
{
    const ZString* pValue = tag.Attribute(name);
    if (pValue == nullptr)
        reader.Fail("bSuccess", ZString::Format("<{0}> has no attribute '{1}'", tag.m_name, name));
    return *pValue;
}

/// By the parser of the field's own type.
template <class T>
void ParseText(const ZXMLReader& reader, const ZString& text, T& value)
{
    const IType* pType = ZTypeRegistry::GetType(GetTypeID<T>());
    if (!pType->Parser()(&value, pType, text))
        reader.Fail("bSuccess", ZString::Format("'{0}' is no {1}", text.Substring(0, 60), pType->Name()));
}

void ReadTime(ZXMLReader& reader, const ZString& name, float& fTime)
{
    STag tag;
    reader.StartTagAssert(name, tag, false);
    ParseText(reader, reader.ReadTextAssert(), fTime);
    reader.EndTagAssert(tag);
}

/// The element's text into one field; an element without content holds the empty text.
template <class T>
void ReadField(ZXMLReader& reader, const STag& tag, T& value)
{
    ParseText(reader, tag.m_bEmpty ? ZString() : reader.ReadTextAssert(), value);
}

void ReadEntityData(ZXMLReader& reader, const STag& tag, SAnimPosePropertyEvent& event)
{
    const ZString& name = RequireAttribute(reader, tag, "name");
    if (name == "m_posePropertyName")
        ReadField(reader, tag, event.propertyName);
    else if (name == "m_attachBoneName")
        ReadField(reader, tag, event.boneName);
    else if (name == "m_startingValue")
        ReadField(reader, tag, event.fStartingValue);
    else if (name == "m_endingValue")
        ReadField(reader, tag, event.fEndingValue);
    else if (name == "m_valueBool")
        ReadField(reader, tag, event.bValue);
    else if (name == "m_valueUInt32")
        ReadField(reader, tag, event.nValue);
    else if (name == "m_valueHashedString")
        ReadField(reader, tag, event.hashedValue);
    else if (name == "m_valueSVector3")
        ReadField(reader, tag, event.vectorValue);
    else
    {
        if (name == "m_type")
            event.typeName = RequireAttribute(reader, tag, "enumValue");
        if (!tag.m_bEmpty)
            reader.SkipToEndTag();
    }
    reader.EndTagAssert(tag);
}

SAnimPosePropertyEvent ReadEvent(ZXMLReader& reader, const STag& eventTag)
{
    SAnimPosePropertyEvent event;
    STag attributes, data;
    reader.StartTagAssert("Attributes", attributes, false);
    ReadTime(reader, "StartTime", event.fStart);
    ReadTime(reader, "Duration", event.fDuration);
    while (reader.TryStartTag("EntityData", data))
        ReadEntityData(reader, data, event);
    reader.EndTagAssert(attributes);
    reader.EndTagAssert(eventTag);
    return event;
}

/// Enters the first element of this name, among those that come next, that has content and whose lower-cased "name"
/// attribute fits. The others are stepped over: they hold elements of the name `child` and nothing else.
template <class TFits>
bool FindNamed(ZXMLReader& reader, const ZString& element, const ZString& child, TFits fits)
{
    STag tag, skipped;
    while (reader.TryStartTag(element, tag))
    {
        if (tag.m_bEmpty)
            continue;
        if (fits(RequireAttribute(reader, tag, "name").CopyToLower()))
            return true;
        while (!reader.PeekEndTag() && reader.StartAndSkipTag(child, skipped))
        {
        }
        reader.EndTagAssert(tag);
    }
    return false;
}

} // namespace

TArray<SAnimPosePropertyEvent> ReadAnimPosePropertyDocument(IInputStream* pStream, const ZString& documentName,
                                                            const ZString& takeName)
{
    TArray<SAnimPosePropertyEvent> events;
    ZXMLReader reader(documentName);
    reader.SetInputStream(pStream);
    STag root, tag;
    reader.StartTagAssert("TakeList", root);
    const ZString wanted = takeName.CopyToLower();
    if (!FindNamed(reader, "Take", "EventTrack", [&wanted](const ZString& name) { return name == wanted; }) ||
        !FindNamed(reader, "EventTrack", "Event",
                   [](const ZString& name) { return name.IndexOf(TRACK_OF_POSE_PROPERTIES) != ZString::NOT_FOUND; }))
        return events;
    while (reader.TryStartTag("Event", tag))
    {
        // An event without content would leave the reader behind it, and the next one's content would be read for it.
        if (tag.m_bEmpty)
            reader.Fail("bStartTag", "<Event> has no content");
        events.Add(ReadEvent(reader, tag));
    }
    return events;
}

} // namespace ResourceAnimation
