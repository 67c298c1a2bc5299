#include "resource/animation/packer/animposepropertyevents.h"

#include "resource/animation/frame/animationexception.h"
#include "resource/animation/packer/eventtracks.h"
#include "tests/resource/animation/packer/samplehost.h"
#include "tests/resource/animation/testtake.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;
using Import::ZAnimatedProperty;
using Import::ZAnimation;
using SystemAnimation::SAnimationResourceData;

const ZResourceID EVENTS("assembly:/a/b.events?/run.eventtracks");

/// The take "run" with the bones "root" and "hand"; the hand brings the property "imported" from its scene.
TSharedPtr<ZAnimation> MakeRun(uint32_t nFrames)
{
    const auto pTake = MakeStill({"root", "hand", "hand"}, static_cast<int>(nFrames));
    const float imported[] = {7.0f};
    pTake->AnimatedBones()[1]->AddProperty(
        ZAnimatedProperty::Create<float>("imported", TArrayRef<const float>(imported)));
    return pTake;
}

/// An event as a document holds it; fields as "name=text" with blanks between, some of them by a shorter name.
ZString Event(const ZString& start, const ZString& duration, const ZString& fields)
{
    ZString text =
        ZString::Format("<Event><Attributes><StartTime>{0}</StartTime><Duration>{1}</Duration>", start, duration);
    for (const ZString& field : fields.Split(' '))
    {
        const ZString name = field.Substring(0, field.IndexOf('=')), value = field.Substring(name.Length() + 1);
        const std::pair<const char*, const char*> shorter[] = {{"on", "m_attachBoneName"},
                                                               {"p", "m_posePropertyName"},
                                                               {"from", "m_startingValue"},
                                                               {"to", "m_endingValue"}};
        ZString full = "m_" + name;
        for (const auto& [szShort, szFull] : shorter)
            full = name == szShort ? ZString::ReferenceCString(szFull) : full;
        text.Append(
            name == "type"
                ? ZString::Format("<EntityData name=\"m_type\" enumValue=\"eAnimPoseProp_{0}\">5</EntityData>", value)
                : ZString::Format("<EntityData name=\"{0}\">{1}</EntityData>", full, value));
    }
    text.Append("</Attributes></Event>");
    return text;
}

ZString Track(const ZString& name, const ZString& events)
{
    return ZString::Format("<EventTrack name=\"{0}\">{1}</EventTrack>", name, events);
}

ZString Document(const ZString& tracks)
{
    return ZString::Format("<TakeList><Take name=\"run\">{0}</Take></TakeList>", tracks);
}

/// The take after the reader has seen the document.
TSharedPtr<ZAnimation> Read(const ZString& document, uint32_t nFrames = 31)
{
    ZPackerHost host;
    host.Database().AddSource(EVENTS.GetRoot(), document);
    const auto pTake = MakeRun(nFrames);
    ReadAnimPosePropertyEvents(pTake, EVENTS);
    return pTake;
}

TSharedPtr<ZAnimation> ReadEvents(const ZString& events, uint32_t nFrames = 31)
{
    return Read(Document(Track("ZAnimPosePropertyEventConsumer", events)), nFrames);
}

template <class T>
TArray<T> ValuesOf(const ZAnimation& take, uint32_t nBone, const ZString& name)
{
    for (const auto& pProperty : take.AnimatedBones()[nBone]->Properties())
        if (pProperty->Name() == name)
            return pProperty->GetValues<T>();
    return {};
}

/// Keys of a property of the first bone, each followed by a blank.
template <class T>
ZString KeysOf(const ZAnimation& take, const ZString& name)
{
    ZString text;
    for (const T& value : ValuesOf<T>(take, 0, name))
        text.Append(ZString::Format("{0} ", value));
    return text;
}

uint32_t CountProperties(const ZAnimation& take)
{
    uint32_t nCount = 0;
    for (const auto& pBone : take.AnimatedBones())
        nCount += pBone->Properties().Size();
    return nCount;
}

TEST(Events, FramesOfAFloat)
{
    // nKeys, nFill: all keys; those before the event
    const std::tuple<const char*, const char*, const char*, uint32_t, uint32_t> cases[] = {
        {"half of a frame goes up", "0.5", "0.25", 24, 15},
        {"no duration is one key, the ending value", "0.5", "0", 16, 15},
        {"at the end", "1", "0", 31, 30},
        {"beyond the end is the end", "2", "5", 31, 30},
        {"a negative start is the end", "-1", "0.5", 31, 30},
        {"less than a frame below zero is zero", "-0.01", "0", 1, 0},
        {"the whole take", "0", "1", 31, 0},
    };
    for (const auto& [szLabel, szStart, szDuration, nKeys, nFill] : cases)
    {
        SCOPED_TRACE(szLabel);
        const auto pTake = ReadEvents(Event(ZString::ReferenceCString(szStart), ZString::ReferenceCString(szDuration),
                                            "p=p on=hand from=2 to=5"));
        const TArray<float> values = ValuesOf<float>(*pTake, 1, "p");
        ASSERT_EQ(values.Size(), nKeys);
        const uint32_t d = nKeys - nFill - 1;
        for (uint32_t i = 0; i < nFill; ++i)
            EXPECT_EQ(values[i], 2.0f) << i;
        for (uint32_t i = 0; i <= d; ++i)
            EXPECT_EQ(values[nFill + i], d == 0 ? 5.0f : static_cast<float>(i) / static_cast<float>(d) * 3.0f + 2.0f)
                << i;
    }
}

TEST(Events, EachTypeHasItsKeys)
{
    const auto pTake =
        ReadEvents(Event("0", "0.1", "p=plain from=1 to=1") + Event("0", "0.1", "p=flag type=Bool valueBool=true") +
                   Event("0", "0.1", "p=count type=UInt32 valueUInt32=4000000000") +
                   Event("0", "0.1", "p=text type=HashedString valueHashedString=crouched") +
                   Event("0", "0.1", "p=vector type=SVector3 valueSVector3=0.5,-1,0.25") +
                   Event("0", "0.1", "p=turn type=SQuaternion valueSVector3=0,0,2"));
    // Neither a bone nor a known one: the root.
    EXPECT_EQ(KeysOf<float>(*pTake, "plain"), "1 1 1 1 ");
    EXPECT_EQ(KeysOf<bool>(*pTake, "flag"), "true true true true ");
    EXPECT_EQ(ValuesOf<uint32_t>(*pTake, 0, "count")[3], 4000000000u);
    EXPECT_EQ(ValuesOf<uint32_t>(*pTake, 0, "text")[0], ZString("crouched").GetHashCode());
    EXPECT_EQ(ValuesOf<SVector3>(*pTake, 0, "vector")[0], (SVector3{0.5f, -1.0f, 0.25f}));
    // The vector's length is lost: a turn by one radian, not by two.
    const SQuaternion turn = ValuesOf<SQuaternion>(*pTake, 0, "turn")[0];
    EXPECT_NEAR(turn.z, std::sin(0.5), 1e-6);
    EXPECT_NEAR(turn.w, std::cos(0.5), 1e-6);
}

TEST(Events, OrderContinuityAndFilling)
{
    // Out of order in the file; the gap between them holds the first one's last value.
    const auto pTake = ReadEvents(Event("0.5", "0.1", "p=p from=3 to=6") + Event("0.1", "0.1", "p=p from=1 to=3") +
                                  Event("0.2", "0", "p=late from=1 to=3"));
    EXPECT_EQ(KeysOf<float>(*pTake, "p"), "1 1 1 1 1.6666667 2.3333335 3 3 3 3 3 3 3 3 3 3 4 5 6 ");
    EXPECT_EQ(KeysOf<float>(*pTake, "late"), "1 1 1 1 1 1 3 ");
    // Keys go behind those that are there, at later frames than the start says; equal starts keep the file's order.
    const auto pOverlap =
        ReadEvents(Event("0", "0.1", "p=f type=Bool valueBool=1") + Event("0", "0.1", "p=f type=Bool") +
                   Event("0.3", "0", "p=f type=Bool valueBool=True"));
    EXPECT_EQ(KeysOf<bool>(*pOverlap, "f"), "true true true true false false false false false true ");
    const auto pJoined =
        ReadEvents(Event("0", "0.5", "p=p from=0 to=1") + Event("0.5", "0.5", "p=p from=1.000244140625"));
    EXPECT_EQ(ValuesOf<float>(*pJoined, 0, "p").Size(), 32u);
}

TEST(Events, ContradictionsAreTold)
{
    const ZString ramp = Event("0", "0.5", "p=p from=0 to=1");
    const std::pair<ZString, const char*> cases[] = {
        {ramp + Event("0.5", "0.5", "p=p from=1.00025"),
         "The values between 2 AnimPoseProperty animation events are not connected."},
        {ramp + Event("0.5", "0.5", "p=p type=Bool"), "Two AnimPoseProperty have the same name but not the same type."},
        {Event("0", "0", "p=p type=bool"), "Unexpected AnimPoseProperty type eAnimPoseProp_bool."},
        {Event("0.5", "-0.25", "p=p"), "An AnimPoseProperty animation event ends before it starts."},
    };
    for (const auto& [events, szMessage] : cases)
        EXPECT_EQ(MessageOf<ZAnimationPackerException>(&ReadEvents, events, 31u),
                  ZString::ReferenceCString(szMessage) + " Take name: 'run'. Anim pose property name 'p'.");
    // The scene's own property wins, whatever type the event has, on whatever bone, and its case counts.
    const auto pTake = ReadEvents(Event("0", "1", "p=imported type=Bool") +
                                  Event("0", "0", "p=imported on=hand type=nonsense") + Event("0", "0", "p=Imported"));
    EXPECT_EQ(CountProperties(*pTake), 2u);
    EXPECT_TRUE(ValuesOf<float>(*pTake, 1, "imported") == TArray<float>{7.0f});
}

TEST(Events, TheFirstTrackThatFitsOfTheFirstTakeThatFits)
{
    const ZString track = Track("zanimposepropertyeventconsumer", Event("0", "0", "p=yes"));
    const ZString other = Track("zanimposepropertyeventconsumer", Event("0", "0", "p=no"));
    // nProperties: beside the imported one
    const std::tuple<const char*, ZString, uint32_t> cases[] = {
        {"case of the take's name does not matter",
         ZString::Format("<TakeList><Take name=\"RUN\">{0}</Take></TakeList>", track), 1},
        {"the track's name holds the word",
         Document(Track("MyZAnimPosePropertyEventConsumer2", Event("0", "0", "p=yes"))), 1},
        {"a part of the word is not enough", Document(Track("zanimposeproperty", Event("0", "0", "p=no"))), 0},
        {"takes and tracks without content are passed over",
         ZString::Format(
             "<TakeList><Take name=\"run\"/><Take><!-- nameless --></Take><Take name=\"walk\">{0}<EventTrack "
             "name=\"e\"/></Take><Take name=\"run\"><EventTrack name=\"zanimposepropertyeventconsumer\"/>"
             "{1}{2}{0}</Take><Take name=\"run\">{0}</Take></TakeList>",
             other, Track("Sound", "<Event><Anything/></Event>"), track),
         1},
        {"no such take", ZString::Format("<TakeList><Take name=\"walk\">{0}</Take></TakeList>", other), 0},
        {"no take at all", "<TakeList/>", 0},
        {"a child that is no take ends the search",
         ZString::Format("<TakeList><Note/><Take name=\"run\">{0}</Take></TakeList>", other), 0},
    };
    for (const auto& [szLabel, document, nProperties] : cases)
    {
        SCOPED_TRACE(szLabel);
        const auto pTake = Read(document);
        EXPECT_EQ(CountProperties(*pTake), 1 + nProperties);
        EXPECT_EQ(ValuesOf<float>(*pTake, 0, "yes").Size(), nProperties);
    }
}

TEST(Events, MalformedDocumentsFailTheReadersAssertions)
{
    const auto wrap = [](const ZString& event) { return Document(Track("zanimposepropertyeventconsumer", event)); };
    const ZString times("<StartTime>0</StartTime><Duration>0</Duration>");
    const auto data = [&wrap, &times](const ZString& text)
    { return wrap(ZString::Format("<Event><Attributes>{0}{1}</Attributes></Event>", times, text)); };
    const std::tuple<ZString, const char*, const char*> cases[] = {
        {"<List/>", "bStartTag", "expected <TakeList>, found <List>"},
        {"<TakeList><Take name='walk'><Note/></Take></TakeList>", "bEndTag", "expected </Take>, found <Note>"},
        {wrap("<Event/><Event><Attributes/></Event>"), "bStartTag", "<Event> has no content"},
        {wrap("<Event><Attributes><Duration>0</Duration></Attributes></Event>"), "bStartTag",
         "expected <StartTime>, found <Duration>"},
        {wrap("<Event><Attributes><StartTime>soon</StartTime></Attributes></Event>"), "bSuccess",
         "'soon' is no float32"},
        {wrap(ZString::Format("<Event><Attributes>{0}<Note/></Attributes></Event>", times)), "bEndTag",
         "expected </Attributes>, found <Note>"},
        {wrap(ZString::Format("<Event><Attributes>{0}</Attributes><Attributes/></Event>", times)), "bEndTag",
         "expected </Event>, found <Attributes>"},
        {data("<EntityData>x</EntityData>"), "bSuccess", "<EntityData> has no attribute 'name'"},
        {data("<EntityData name='m_type'>x</EntityData>"), "bSuccess", "<EntityData> has no attribute 'enumValue'"},
        {data("<EntityData name='m_valueSVector3'>1, 2</EntityData>"), "bSuccess", "'1, 2' is no SVector3"},
        {"<TakeList>", "bParsed", "Start-end tags mismatch"},
    };
    for (const auto& [document, szExpression, szMessage] : cases)
    {
        ZAssertTrap trap;
        EXPECT_THROW(Read(document), zhalt_exception) << szMessage;
        EXPECT_EQ(trap.FirstExpression(), szExpression);
        EXPECT_TRUE(trap.FirstMessage().StartsWith("assembly:/a/b.events?/run.eventtracks"));
        EXPECT_NE(trap.FirstMessage().IndexOf("line 1, column "), ZString::NOT_FOUND);
        EXPECT_TRUE(trap.FirstMessage().EndsWith(ZString::ReferenceCString(szMessage)))
            << trap.FirstMessage().ToCString();
    }
    // What is not known is stepped over, and a name may be empty.
    const auto pTake = Read(data("<EntityData name='m_comment'><Deep><er/></Deep></EntityData><EntityData "
                                 "name='m_attachBoneName'/><EntityData name='m_posePropertyName'>p</EntityData>"));
    EXPECT_EQ(ValuesOf<float>(*pTake, 0, "p").Size(), 1u);
}

TEST(Events, ATurnAboutNothingAndABoneThatIsNowhere)
{
    ZAssertTrap trap;
    ReadEvents(Event("0", "0", "p=p type=SQuaternion"));
    EXPECT_EQ(trap.FirstExpression(), "*reinterpret_cast<float*>(&t) != 0.f");
    trap.Clear();
    const auto pTake =
        ZAnimation::CreateForCount("run", 2, 30.0f, "root", ZResourceID(), {}, Import::eSpace_Parent, SQV(), {});
    EXPECT_THROW(AddAnimPosePropertyEvents(*pTake, {SAnimPosePropertyEvent()}), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "pBone != nullptr");
}

TEST(Events, ManyEventsAreBoundedInTimeAndKeys)
{
    TArray<SAnimPosePropertyEvent> events;
    for (uint32_t i = 0; i < 50000; ++i)
    {
        SAnimPosePropertyEvent event;
        event.propertyName = ZString::Format("p{0}", i);
        events.Add(event);
    }
    const auto pTake = MakeRun(10);
    AddAnimPosePropertyEvents(*pTake, events);
    EXPECT_EQ(CountProperties(*pTake), 50001u);

    events.Resize(5);
    for (SAnimPosePropertyEvent& event : events)
        event.fDuration = 1.0f;
    EXPECT_EQ(MessageOf<ZAnimationPackerException>([&] { AddAnimPosePropertyEvents(*MakeRun(1000000), events); }),
              "The AnimPoseProperty animation events have more than 4194304 keys. Take name: 'run'. Anim pose "
              "property name "
              "'p4'.");
}

/// Through the packer: the record holds what the events made, and the references stand in their order.
TEST(Events, ReachThePackedTake)
{
    for (const char* szPlatform : {"pc", "ps3"})
    {
        ZSampleHost host(ZString::ReferenceCString(szPlatform));
        const ZString events = Event("0", "0.5", "p=Ramp from=1 to=2") +
                               Event("0", "0.5", "p=AimTurn type=SQuaternion valueSVector3=0,0,2");
        host.Database().AddSource(ZResourceID("assembly:/characters/scout/moves.events"),
                                  ZString::Format("<TakeList><Take name=\"Walk\">{0}</Take></TakeList>",
                                                  Track("ZAnimPosePropertyEventConsumer", events)));
        const ZResourceID id = host.PackTake("assembly:/characters/scout/moves.fbx?/walk.take", "noevents");
        ASSERT_TRUE(host.Packed()) << host.Context().FirstMessage().ToCString();
        const TPacked<SAnimationResourceData> packed(host, id);
        ASSERT_TRUE(packed.bRead);
        EXPECT_EQ(packed->eventTrackReference, 0);
        EXPECT_EQ(packed->rigReference, 1);
        EXPECT_EQ(packed.header.References()
                      .Find(ZResourceID("assembly:/characters/scout/moves.events?/walk.eventtracks")
                                .CreateDerivedResourceID("rtet", "", ZString::ReferenceCString(szPlatform)))
                      ->nPosition,
                  0u);
        const SystemAnimation::SPropertyTrack* pTurn = nullptr;
        for (const auto& track : packed->properties)
            if (track.name == ZHashedString("AimTurn"))
                pTurn = &track;
        ASSERT_NE(pTurn, nullptr);
        EXPECT_EQ(pTurn->boneId, 0);
        EXPECT_EQ(pTurn->typeId, GetTypeID<SQuaternion>());
        ASSERT_EQ(pTurn->keys.GetTypeID(), GetTypeID<TArray<SQuaternion>>());
        const auto& keys = *static_cast<const TArray<SQuaternion>*>(pTurn->keys.Get());
        ASSERT_EQ(keys.Size(), 31u); // 60 frames: ceil(29.5) is 30
        EXPECT_NEAR(keys[30].z, std::sin(0.5), 1e-6);
        ZString why;
        EXPECT_TRUE(packed->IsConsistent(82, why)) << why.ToCString();
    }
}

} // namespace
