#include "resource/animation/scan/animationdatabasefactory.h"

#include "base/pointers/tuniqueptr.h"
#include "resource/_shared/_internal/resourcescandata.h"
#include "resource/animation/frame/animationexception.h"
#include "tests/support/testing.h"

#include <chrono>

namespace
{

using namespace ResourceAnimation;

const ZResourceID DATABASE("assembly:/Db/Characters.xml");

/// One line an entry: "ID: reference reference"; the message when it fails.
ZString Scan(const ZString& text, bool* pSucceeded = nullptr)
{
    const TComponentScope<ZAnimationDatabaseFactory> factory(new ZAnimationDatabaseFactory);
    SResourceScanData result;
    const bool bSucceeded = factory->ScanResource(DATABASE, OpenText(text.View()).Get(), result);
    if (pSucceeded != nullptr)
        *pSucceeded = bSucceeded;
    if (!bSucceeded)
        return factory->GetLastErrorMessage();
    ZString lines;
    for (const SSubResourceScanData& entry : result.subResources)
    {
        EXPECT_EQ(entry.sourceResourceID, DATABASE);
        EXPECT_TRUE(entry.properties.IsEmpty());
        lines.Append(entry.resourceID.GetRootParameters());
        for (const ZResourceID& id : entry.referencedResources)
            lines.Append(ZString::Format(" {0}", id));
        lines.Append('\n');
    }
    return lines;
}

/// "name=resource ... rigs: a b"; the exception's text when it fails.
ZString Load(const ZString& text, const ZString& subResource)
{
    const TComponentScope<ZAnimationDatabaseFactory> factory(new ZAnimationDatabaseFactory);
    try
    {
        const TUniquePtr<ZCharacterType> pCharacter(static_cast<ZCharacterType*>(
            factory->LoadResource(OpenText(text.View()).Get(), GetTypeID<ZCharacterType>(), DATABASE, subResource)));
        ZString line;
        for (const auto& [name, id] : pCharacter->m_animations)
            line.Append(ZString::Format("{0}={1} ", name, id));
        line.Append("rigs:");
        for (const ZResourceID& rig : pCharacter->m_rigs)
            line.Append(ZString::Format(" {0}", rig));
        return line;
    }
    catch (const ZAnimationDatabaseFactoryException& e)
    {
        return e.Message();
    }
}

const ZString NESTED("<AnimationDatabase>"
                     "  <Character name='Hero' rig='r1|r2'>"
                     "    <Animation name='Idle' take='t:idle'/><!-- --><Animation name='Walk' take='t:walk'/>"
                     "    <Animation name='Unset' take=''/>"
                     "    <Character name='guard'>"
                     "      <Animation name='Walk' take='t:guardwalk'/><Animation name='Idle' take=''/>"
                     "      <Animation name='Unset' take='t:set'/>"
                     "      <Character name='captain' rig='r3'>"
                     "        <Animation name='Walk' take='t:first'/><Animation name='Walk' take='t:second'/>"
                     "      </Character>"
                     "    </Character>"
                     "    text <Character name='civilian'/>"
                     "  </Character>"
                     "</AnimationDatabase>");

TEST(AnimationDatabaseFactory, InheritsAndOverrides)
{
    EXPECT_EQ(Scan(NESTED), "/Hero.chartype t:idle t:walk\n"
                            "/guard.chartype t:idle t:set t:guardwalk\n"
                            "/captain.chartype t:idle t:set t:first\n"
                            "/civilian.chartype t:idle t:walk\n");
    const std::pair<ZString, const char*> cases[] = {
        {"/HERO.chartype", "Idle=t:idle Walk=t:walk rigs: r1 r2"},             // case does not matter
        {"/guard.chartype", "Idle=t:idle Unset=t:set Walk=t:guardwalk rigs:"}, // rigs are not inherited
        {"/captain.chartype", "Idle=t:idle Unset=t:set Walk=t:first rigs: r3"},
        {"/a/b/civilian.x.chartype", "Character type 'civilian.x' doesn't exist"},
        {"/a/b/civilian", "Idle=t:idle Walk=t:walk rigs:"},
        {"hero.chartype", "Invalid sub-resource name 'hero.chartype'"},
        {"/hero/", "Invalid sub-resource name '/hero/'"},
        {"", "Invalid sub-resource name ''"},
        {"/.chartype", "Character type '' doesn't exist"},
        {"/nobody.chartype", "Character type 'nobody' doesn't exist"},
    };
    for (const auto& [subResource, szExpected] : cases)
        EXPECT_EQ(Load(NESTED, subResource), szExpected);
    EXPECT_EQ(Scan("<AnimationDatabase><Character name='a'/></AnimationDatabase>"), "/a.chartype\n");
    const std::pair<ZString, ZString> names[] = {
        {"a&lt;b", "The character 'a<b' can't be packed: no identifier holds angle brackets or control characters"},
        {"a/b", "The character 'a/b' can't be packed: its name holds a slash"},
        {"/a", "The character '/a' can't be packed: its name begins with a slash"},
        {"a\xe9", "The character 'a\\xE9' can't be packed: its name is no UTF-8"},
    };
    for (const auto& [name, fault] : names)
        EXPECT_TRUE(Scan(ZString::Format("<AnimationDatabase><Character name='{0}'/></AnimationDatabase>", name))
                        .EndsWith(fault));

    // Where the first entry stands that nothing can pack, for whoever comes to it.
    const TComponentScope<ZAnimationDatabaseFactory> factory(new ZAnimationDatabaseFactory);
    const TUniquePtr<ZCharacterType> pCharacter(static_cast<ZCharacterType*>(factory->LoadResource(
        OpenText(
            "<AnimationDatabase>\n<Character name='a'><Animation name='x' take='1'/><Animation name='b' take='2'/>\n "
            "<Character name='c'><Animation name='b' take=''/><Animation name='b' take='3'/></Character></Character>"
            "</AnimationDatabase>")
            .Get(),
        GetTypeID<ZCharacterType>(), DATABASE, "/c.chartype")));
    EXPECT_EQ(pCharacter->m_oddAnimation, "b");
    EXPECT_EQ(pCharacter->m_oddPlace, "line 3, column 51");
}

TEST(AnimationDatabaseFactory, ABadFileFailsTheSameWhicheverWayItIsReached)
{
    const std::pair<ZString, const char*> cases[] = {
        {"<AnimationDatabase><Character>", "Failed to load XML document 'assembly:/Db/Characters.xml'"},
        {"", "XML file appears to be empty (no document element found)"},
        {"<AnimationDatabase/>", "0 top-level characters encountered. There should be exactly one"},
        {"<CharacterList><Character name='a'/></CharacterList>",
         "0 top-level characters encountered. There should be exactly one"},
        {"<AnimationDatabase><Character name='a'/><Character name='b'/></AnimationDatabase>",
         "2 top-level characters encountered. There should be exactly one"},
        {"<AnimationDatabase><Character name='a'><Character/></Character></AnimationDatabase>",
         "Empty character name encountered"},
        {"<AnimationDatabase><Character name='a'><Character name='b'><Character name='a'/></Character></Character>"
         "</AnimationDatabase>",
         "Duplicate character name 'a' encountered. Each character name has to be unique"},
        {"<AnimationDatabase><Character name='a'><Animation take='x'/></Character></AnimationDatabase>",
         "Empty animation entry name encountered"},
        {"<AnimationDatabase><Character name='a'><Animation name='x' take='1'/><Animation name='x' take='2'/>"
         "</Character></AnimationDatabase>",
         "Duplicate animation entry 'x' encountered. Each animation entry (animation name) has to be unique"},
        {"<AnimationDatabase><Character name='a'><Animation name='x'/><Character name='b'><Character name='c'>"
         "<Animation name='y' take='1'/></Character></Character></Character></AnimationDatabase>",
         "Animation entry 'y' not defined on top-level character. All animation entries have to be represented on the "
         "top level character before they can be set/overridden on a sub-character"},
        {"<AnimationDatabase><Character name='a'><Comment/></Character></AnimationDatabase>",
         "Unexpected node 'Comment' encountered. Is the document malformed?"},
    };
    for (const auto& [text, szError] : cases)
    {
        const ZTraceRecorder trace;
        bool bSucceeded = true;
        const ZString message = ZString::Format("Failed scanning resource '{0}' due to the following error: {1}",
                                                DATABASE, ZString::ReferenceCString(szError));
        EXPECT_EQ(Scan(text, &bSucceeded), message);
        EXPECT_FALSE(bSucceeded);
        const TArray<ZString> traced = trace.Texts();
        ASSERT_FALSE(traced.IsEmpty());
        EXPECT_EQ(traced[traced.Size() - 1], ZString::Format("2 ZAnimationDatabaseFactory: {0}", message));
        EXPECT_EQ(Load(text, "/a.chartype"), szError);
    }
    // An element that a character does not inherit from harms no one else, but the scan builds them all.
    const ZString aside("<AnimationDatabase><Character name='a'><Character name='b'><Note/></Character></Character>"
                        "</AnimationDatabase>");
    EXPECT_EQ(Load(aside, "/a.chartype"), "rigs:");
    EXPECT_EQ(Load(aside, "/b.chartype"), "Unexpected node 'Note' encountered. Is the document malformed?");
    bool bSucceeded = true;
    Scan(aside, &bSucceeded);
    EXPECT_FALSE(bSucceeded);
}

TEST(AnimationDatabaseFactory, StreamsAndTypes)
{
    const TComponentScope<ZAnimationDatabaseFactory> factory(new ZAnimationDatabaseFactory);
    SResourceScanData result;
    EXPECT_FALSE(factory->ScanResource(DATABASE, nullptr, result));
    EXPECT_EQ(factory->GetLastErrorMessage(), "Failed scanning resource 'assembly:/Db/Characters.xml' due to the "
                                              "following error: Invalid input stream 'assembly:/Db/Characters.xml'");
    // Before the stream is touched: there is none.
    EXPECT_EQ(MessageOf<ZAnimationDatabaseFactoryException>(
                  [&] { factory->LoadResource(nullptr, GetTypeID<IInputStream>(), DATABASE, "/a.chartype"); }),
              "Unsupported type ID 'IInputStream' specified");
}

TEST(AnimationDatabaseFactory, AnEntryThatIsThereAlreadyStays)
{
    const TComponentScope<ZAnimationDatabaseFactory> factory(new ZAnimationDatabaseFactory);
    const ZTraceRecorder trace;
    SResourceScanData result;
    result.subResources.Resize(1);
    result.subResources[0].resourceID = ZResourceID("assembly:/Db/Characters.xml?/guard.chartype");
    EXPECT_TRUE(factory->ScanResource(DATABASE, OpenText(NESTED.View()).Get(), result));
    EXPECT_EQ(result.subResources.Size(), 4u);
    EXPECT_TRUE(result.subResources[0].referencedResources.IsEmpty());
    ASSERT_EQ(trace.Texts().Size(), 1u);
    EXPECT_EQ(trace.Texts()[0], "2 ZAnimationDatabaseFactory: A resource with ID "
                                "assembly:/Db/Characters.xml?/guard.chartype already exists! Animation data base "
                                "entries should all have unique names.");
    Scan("<AnimationDatabase><Character name='Hero'><Character name='hero'/></Character></AnimationDatabase>");
    EXPECT_EQ(trace.Texts().Last(), "2 ZAnimationDatabaseFactory: The character 'hero' is lost: another one of this "
                                    "name, 'Hero', stands before it");
}

TEST(AnimationDatabaseFactory, ManySiblingsAndRepeatsAreNotMultiplied)
{
    // Each character's siblings are children of its parent, as are the entries that it repeats.
    ZString text("<AnimationDatabase><Character name='top'><Animation name='a' take='t'/><Character name='s'>");
    for (int i = 0; i < 40000; ++i)
        text.Append("<Animation name='a' take='u'/>");
    for (int i = 0; i < 40000; ++i)
        text.Append(ZString::Format("<Character name='c{0}'/>", i));
    text.Append("</Character></Character></AnimationDatabase>");
    const TComponentScope<ZAnimationDatabaseFactory> factory(new ZAnimationDatabaseFactory);
    SResourceScanData result;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(factory->ScanResource(DATABASE, OpenText(text.View()).Get(), result));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)); // slow builds, too
    EXPECT_EQ(result.subResources.Size(), 40002u);
    EXPECT_EQ(result.subResources[40001].referencedResources[0], ZResourceID("u"));
}

TEST(AnimationDatabaseFactory, RefusesToMultiplyWithoutBound)
{
    ZString text("<AnimationDatabase><Character name='top'>");
    for (int i = 0; i < 3000; ++i)
        text.Append(ZString::Format("<Animation name='{0}' take='t'/>", i));
    for (int i = 0; i < 1000; ++i)
        text.Append(ZString::Format("<Character name='c{0}'/>", i));
    text.Append("</Character></AnimationDatabase>");
    bool bSucceeded = true;
    EXPECT_TRUE(Scan(text, &bSucceeded).EndsWith("The characters refer to more than 2097152 resources"));
    EXPECT_FALSE(bSucceeded);
}

} // namespace
