#include "resource/animation/packer/animposepropertyevents.h"

#include "resource/animation/frame/animationexception.h"
#include "resource/animation/packer/eventtracks.h"
#include "tests/resource/animation/packer/samplehost.h"
#include "tests/support/asserttrap.h"

#include <cmath>
#include <gtest/gtest.h>

namespace
{

using namespace ResourceAnimation;
using Import::ZAnimatedBone;
using Import::ZAnimatedProperty;
using Import::ZAnimation;
using SystemAnimation::SAnimationResourceData;

const ZResourceID EVENTS("assembly:/a/b.events?/run.eventtracks");

/// The take "run" with the bones "root" and "hand"; the hand brings the property "imported" from its scene.
TSharedPtr<ZAnimation> MakeTake(uint32_t nFrames)
{
    ZAnimation::TBones bones;
    for (const char* szName : {"root", "hand", "hand"})
    {
        ZAnimatedBone::TRotations rotations;
        ZAnimatedBone::TTranslations translations;
        rotations.Resize(nFrames);
        translations.Resize(nFrames);
        bones.Add(TSharedPtr<ZAnimatedBone>::Create(ZString::ReferenceCString(szName), 30.0f, std::move(rotations),
                                                    std::move(translations),
                                                    TArrayRef<const TSharedPtr<ZAnimatedProperty>>(), true));
    }
    const float imported[] = {7.0f};
    bones[1]->AddProperty(ZAnimatedProperty::Create<float>("imported", TArrayRef<const float>(imported)));
    return ZAnimation::CreateForCount("run", static_cast<int>(nFrames), 30.0f, "root", ZResourceID(), bones.Ref(),
                                      Import::eSpace_Parent, SQV(), {});
}

/// An event as a document holds it; fields as "name=text", "m_type=text" as that field's enumValue.
ZString Event(const ZString& start, const ZString& duration, std::initializer_list<const char*> fields)
{
    ZString text =
        ZString::Format("<Event><Attributes><StartTime>{0}</StartTime><Duration>{1}</Duration>", start, duration);
    for (const char* szField : fields)
    {
        const TArray<ZString> parts = ZString::ReferenceCString(szField).Split('=');
        text.Append(parts[0] == "m_type"
                        ? ZString::Format("<EntityData name=\"m_type\" enumValue=\"{0}\">5</EntityData>", parts[1])
                        : ZString::Format("<EntityData name=\"{0}\">{1}</EntityData>", parts[0], parts[1]));
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
    const auto pTake = MakeTake(nFrames);
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

uint32_t CountProperties(const ZAnimation& take)
{
    uint32_t nCount = 0;
    for (const auto& pBone : take.AnimatedBones())
        nCount += pBone->Properties().Size();
    return nCount;
}

TEST(Events, IdentifierStandsBesideTheScene)
{
    EXPECT_EQ(MakeEventTrackResourceID(ZResourceID("assembly:/a/b.fbx?/run.take"), "run"), EVENTS);
}

TEST(Events, FramesOfAFloat)
{
    const struct
    {
        const char* szLabel;
        const char* szStart;
        const char* szDuration;
        uint32_t nKeys, nFill; ///< all keys; those before the event
    } cases[] = {
        {"half of a frame goes up", "0.5", "0.25", 24, 15},
        {"no duration is one key, the ending value", "0.5", "0", 16, 15},
        {"at the end", "1", "0", 31, 30},
        {"beyond the end is the end", "2", "5", 31, 30},
        {"a negative start is the end", "-1", "0.5", 31, 30},
        {"less than a frame below zero is zero", "-0.01", "0", 1, 0},
        {"the whole take", "0", "1", 31, 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        const auto pTake = ReadEvents(
            Event(ZString::ReferenceCString(c.szStart), ZString::ReferenceCString(c.szDuration),
                  {"m_posePropertyName=p", "m_attachBoneName=hand", "m_startingValue=2", "m_endingValue=5"}));
        const TArray<float> values = ValuesOf<float>(*pTake, 1, "p");
        ASSERT_EQ(values.Size(), c.nKeys);
        const uint32_t d = c.nKeys - c.nFill - 1;
        for (uint32_t i = 0; i < c.nFill; ++i)
            EXPECT_EQ(values[i], 2.0f) << i;
        for (uint32_t i = 0; i <= d; ++i)
            EXPECT_EQ(values[c.nFill + i], d == 0 ? 5.0f : static_cast<float>(i) / static_cast<float>(d) * 3.0f + 2.0f)
                << i;
    }
}

TEST(Events, EachTypeHasItsKeys)
{
    const auto pTake = ReadEvents(
        Event("0", "0.1", {"m_posePropertyName=plain", "m_startingValue=1", "m_endingValue=1"}) +
        Event("0", "0.1", {"m_posePropertyName=flag", "m_type=eAnimPoseProp_Bool", "m_valueBool=true"}) +
        Event("0", "0.1", {"m_posePropertyName=count", "m_type=eAnimPoseProp_UInt32", "m_valueUInt32=4000000000"}) +
        Event("0", "0.1",
              {"m_posePropertyName=text", "m_type=eAnimPoseProp_HashedString", "m_valueHashedString=crouched"}) +
        Event("0", "0.1",
              {"m_posePropertyName=vector", "m_type=eAnimPoseProp_SVector3", "m_valueSVector3=0.5, -1, 0.25"}) +
        Event("0", "0.1", {"m_posePropertyName=turn", "m_type=eAnimPoseProp_SQuaternion", "m_valueSVector3=0,0,2"}));
    // Neither a bone nor a known one: the root.
    EXPECT_TRUE(ValuesOf<float>(*pTake, 0, "plain") == (TArray<float>{1, 1, 1, 1}));
    EXPECT_TRUE(ValuesOf<bool>(*pTake, 0, "flag") == (TArray<bool>{true, true, true, true}));
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
    const auto pTake =
        ReadEvents(Event("0.5", "0.1", {"m_posePropertyName=p", "m_startingValue=3", "m_endingValue=4"}) +
                   Event("0.1", "0.1", {"m_posePropertyName=p", "m_startingValue=1", "m_endingValue=3"}) +
                   Event("0.2", "0", {"m_posePropertyName=late", "m_startingValue=1", "m_endingValue=3"}));
    EXPECT_TRUE(ValuesOf<float>(*pTake, 0, "p") ==
                (TArray<float>{1, 1, 1, 1, 1.0f / 3 * 2 + 1, 2.0f / 3 * 2 + 1, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3,
                               1.0f / 3 + 3, 2.0f / 3 + 3, 4}));
    EXPECT_TRUE(ValuesOf<float>(*pTake, 0, "late") == (TArray<float>{1, 1, 1, 1, 1, 1, 3}));

    // Keys go behind those that are there, at later frames than the start says; equal starts keep the file's order.
    const auto pOverlap =
        ReadEvents(Event("0", "0.1", {"m_posePropertyName=f", "m_type=eAnimPoseProp_Bool", "m_valueBool=1"}) +
                   Event("0", "0.1", {"m_posePropertyName=f", "m_type=eAnimPoseProp_Bool"}) +
                   Event("0.3", "0", {"m_posePropertyName=f", "m_type=eAnimPoseProp_Bool", "m_valueBool=True"}));
    EXPECT_TRUE(ValuesOf<bool>(*pOverlap, 0, "f") ==
                (TArray<bool>{true, true, true, true, false, false, false, false, false, true}));

    const ZString first = Event("0", "0.5", {"m_posePropertyName=p", "m_startingValue=0", "m_endingValue=1"});
    const auto pJoined =
        ReadEvents(first + Event("0.5", "0.5", {"m_posePropertyName=p", "m_startingValue=1.000244140625"}));
    EXPECT_EQ(ValuesOf<float>(*pJoined, 0, "p").Size(), 32u);
}

TEST(Events, ContradictionsAreTold)
{
    const ZString ramp = Event("0", "0.5", {"m_posePropertyName=p", "m_startingValue=0", "m_endingValue=1"});
    const struct
    {
        ZString events;
        const char* szMessage;
    } cases[] = {
        {ramp + Event("0.5", "0.5", {"m_posePropertyName=p", "m_startingValue=1.00025"}),
         "The values between 2 AnimPoseProperty animation events are not connected. Take name: 'run'. Anim pose "
         "property name 'p'."},
        {ramp + Event("0.5", "0.5", {"m_posePropertyName=p", "m_type=eAnimPoseProp_Bool"}),
         "Two AnimPoseProperty have the same name but not the same type. Take name: 'run'. Anim pose property name "
         "'p'."},
        {Event("0", "0", {"m_posePropertyName=p", "m_type=eanimposeprop_bool"}),
         "Unexpected AnimPoseProperty type eanimposeprop_bool. Take name: 'run'. Anim pose property name 'p'."},
        {Event("0.5", "-0.25", {"m_posePropertyName=p"}),
         "An AnimPoseProperty animation event ends before it starts. Take name: 'run'. Anim pose property name 'p'."},
    };
    for (const auto& c : cases)
    {
        try
        {
            ReadEvents(c.events);
            ADD_FAILURE() << c.szMessage;
        }
        catch (const ZAnimationPackerException& e)
        {
            EXPECT_EQ(e.Message(), c.szMessage);
        }
    }
    // The scene's own property wins, whatever type the event has, on whatever bone, and its case counts.
    const auto pTake =
        ReadEvents(Event("0", "1", {"m_posePropertyName=imported", "m_type=eAnimPoseProp_Bool"}) +
                   Event("0", "0", {"m_posePropertyName=imported", "m_attachBoneName=hand", "m_type=nonsense"}) +
                   Event("0", "0", {"m_posePropertyName=Imported"}));
    EXPECT_EQ(CountProperties(*pTake), 2u);
    EXPECT_TRUE(ValuesOf<float>(*pTake, 1, "imported") == TArray<float>{7.0f});
}

TEST(Events, TheFirstTrackThatFitsOfTheFirstTakeThatFits)
{
    const ZString track = Track("zanimposepropertyeventconsumer", Event("0", "0", {"m_posePropertyName=yes"}));
    const ZString other = Track("zanimposepropertyeventconsumer", Event("0", "0", {"m_posePropertyName=no"}));
    const struct
    {
        const char* szLabel;
        ZString document;
        uint32_t nProperties; ///< beside the imported one
    } cases[] = {
        {"case of the take's name does not matter",
         ZString::Format("<TakeList><Take name=\"RUN\">{0}</Take></TakeList>", track), 1},
        {"the track's name holds the word",
         Document(Track("MyZAnimPosePropertyEventConsumer2", Event("0", "0", {"m_posePropertyName=yes"}))), 1},
        {"a part of the word is not enough",
         Document(Track("zanimposeproperty", Event("0", "0", {"m_posePropertyName=no"}))), 0},
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
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        const auto pTake = Read(c.document);
        EXPECT_EQ(CountProperties(*pTake), 1 + c.nProperties);
        EXPECT_EQ(ValuesOf<float>(*pTake, 0, "yes").Size(), c.nProperties);
    }
    ZPackerHost host;
    const auto pTake = MakeTake(2);
    ReadAnimPosePropertyEvents(pTake, EVENTS);
    EXPECT_EQ(CountProperties(*pTake), 1u) << "no document is normal";
}

TEST(Events, MalformedDocumentsFailTheReadersAssertions)
{
    const auto wrap = [](const ZString& event) { return Document(Track("zanimposepropertyeventconsumer", event)); };
    const ZString times("<StartTime>0</StartTime><Duration>0</Duration>");
    const auto data = [&wrap, &times](const ZString& text)
    { return wrap(ZString::Format("<Event><Attributes>{0}{1}</Attributes></Event>", times, text)); };
    const struct
    {
        ZString document;
        const char* szExpression;
        const char* szMessage;
    } cases[] = {
        {"<List/>", "bStartTag", "expected <TakeList>, found <List>"},
        {"<TakeList><Take><EventTrack/></Take></TakeList>", "bSuccess", "<Take> has no attribute 'name'"},
        {"<TakeList><Take name='walk'><Note/></Take></TakeList>", "bEndTag", "expected </Take>, found <Note>"},
        {Document("<EventTrack><Event/></EventTrack>"), "bSuccess", "<EventTrack> has no attribute 'name'"},
        {wrap("<Event/><Event><Attributes/></Event>"), "bStartTag", "<Event> has no content"},
        {wrap("<Event><Attributes/></Event>"), "bStartTag", "<Attributes> has no content"},
        {wrap("<Event><Attributes><Duration>0</Duration></Attributes></Event>"), "bStartTag",
         "expected <StartTime>, found <Duration>"},
        {wrap("<Event><Attributes><StartTime/></Attributes></Event>"), "bStartTag", "<StartTime> has no content"},
        {wrap("<Event><Attributes><StartTime>soon</StartTime></Attributes></Event>"), "bSuccess",
         "'soon' is no float32"},
        {wrap(ZString::Format("<Event><Attributes>{0}<Note/></Attributes></Event>", times)), "bEndTag",
         "expected </Attributes>, found <Note>"},
        {wrap(ZString::Format("<Event><Attributes>{0}</Attributes><Attributes/></Event>", times)), "bEndTag",
         "expected </Event>, found <Attributes>"},
        {data("<EntityData>x</EntityData>"), "bSuccess", "<EntityData> has no attribute 'name'"},
        {data("<EntityData name='m_type'>x</EntityData>"), "bSuccess", "<EntityData> has no attribute 'enumValue'"},
        {data("<EntityData name='m_valueBool'>maybe</EntityData>"), "bSuccess", "'maybe' is no bool"},
        {data("<EntityData name='m_valueSVector3'>1, 2</EntityData>"), "bSuccess", "'1, 2' is no SVector3"},
        {data("<EntityData name='m_valueUInt32'/>"), "bSuccess", "'' is no uint32"},
        {"<TakeList>", "bParsed", "Start-end tags mismatch"},
    };
    for (const auto& c : cases)
    {
        ZAssertTrap trap;
        EXPECT_THROW(Read(c.document), zhalt_exception) << c.szMessage;
        EXPECT_EQ(trap.FirstExpression(), c.szExpression);
        EXPECT_TRUE(trap.FirstMessage().StartsWith("assembly:/a/b.events?/run.eventtracks"));
        EXPECT_NE(trap.FirstMessage().IndexOf("line 1, column "), ZString::NOT_FOUND);
        EXPECT_TRUE(trap.FirstMessage().EndsWith(ZString::ReferenceCString(c.szMessage)))
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
    ReadEvents(Event("0", "0", {"m_posePropertyName=p", "m_type=eAnimPoseProp_SQuaternion"}));
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
    const auto pTake = MakeTake(10);
    AddAnimPosePropertyEvents(*pTake, events);
    EXPECT_EQ(CountProperties(*pTake), 50001u);

    events.Resize(5);
    for (SAnimPosePropertyEvent& event : events)
        event.fDuration = 1.0f;
    try
    {
        AddAnimPosePropertyEvents(*MakeTake(1000000), events);
        ADD_FAILURE() << "five million keys";
    }
    catch (const ZAnimationPackerException& e)
    {
        EXPECT_EQ(e.Message(), "The AnimPoseProperty animation events have more than 4194304 keys. Take name: 'run'. "
                               "Anim pose property name 'p4'.");
    }
}

/// Through the packer: the record holds what the events made, and the references stand in their order.
TEST(Events, ReachThePackedTake)
{
    for (const char* szPlatform : {"pc", "ps3"})
    {
        ZSampleHost host(ZString::ReferenceCString(szPlatform));
        const ZString events =
            Event("0", "0.5", {"m_posePropertyName=Ramp", "m_startingValue=1", "m_endingValue=2"}) +
            Event("0", "0.5",
                  {"m_posePropertyName=AimTurn", "m_type=eAnimPoseProp_SQuaternion", "m_valueSVector3=0, 0, 2"});
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
    // A contradiction fails the pack, and nothing is written.
    ZSampleHost host;
    host.Database().AddSource(
        ZResourceID("assembly:/characters/scout/moves.events"),
        ZString::Format("<TakeList><Take name=\"walk\">{0}</Take></TakeList>",
                        Track("ZAnimPosePropertyEventConsumer", Event("0", "0", {"m_type=Odd"}))));
    const ZResourceID id = host.PackTake("assembly:/characters/scout/moves.fbx?/walk.take");
    EXPECT_FALSE(host.Packed());
    EXPECT_EQ(host.Context().FirstMessage(), "error: Error when packing animation: Unexpected AnimPoseProperty type "
                                             "Odd. Take name: 'walk'. Anim pose property name ''.");
    EXPECT_FALSE(host.Database().Outputs().Contains(id));
}

} // namespace
