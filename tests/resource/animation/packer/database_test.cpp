#include "resource/_shared/resourceheader.h"

#include "resource/animation/frame/animationexception.h"
#include "resource/animation/packer/animationdatabasepacker.h"
#include "tests/support/packerhost.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;
using TBytes = TArray<uint8_t>;

const ZResourceID SOURCE("assembly:/Db/c.xml?/Hero.chartype");

/// Packs a character that the database hands out, with every dependency there unless told otherwise.
struct SPackedCharacter
{
    SPackedCharacter(std::initializer_list<std::pair<const char*, const char*>> animations, const ZString& platform,
                     const ZString& parameters = ZString(), std::initializer_list<const char*> rigs = {},
                     bool bDependencies = true, const ZResourceID& source = SOURCE)
        : host(platform), target(source.CreateDerivedResourceID("animationdatabase", parameters, platform))
    {
        host.Database().SetLoader(
            [&](const ZResourceID& id, STypeID* pTypeID) -> void*
            {
                EXPECT_EQ(pTypeID, GetTypeID<ZCharacterType>());
                EXPECT_EQ(id, ZResourceID(source.ToString().CopyToLower()));
                auto* pCharacter = ZNew<ZCharacterType>();
                for (const auto& [szName, szId] : animations)
                    pCharacter->m_animations[ZString::ReferenceCString(szName)] =
                        ZResourceID(ZString::AllocateFromCString(szId));
                for (const char* szRig : rigs)
                    pCharacter->m_rigs.Add(ZResourceID(ZString::AllocateFromCString(szRig)));
                return pCharacter;
            });
        if (bDependencies)
            host.Database().SetMaker(
                [this](const ZResourceID& id)
                {
                    host.Database().AddSource(id, ZString("packed"));
                    return true;
                });
        bPacked = host.Pack<ZAnimationDatabasePacker>(source, target);
        bytes = host.Database().Output(ZResourceID(target.ToString().CopyToLower()));
        EXPECT_EQ(bytes.IsEmpty(), !bPacked);
        EXPECT_EQ(host.Database().OpenUpdates(), 0u);
    }

    /// The data behind the header.
    TBytes Data(EEndian eEndian, ZResourceHeader& header) const
    {
        const auto stream = OpenBytes(bytes.Ref());
        EXPECT_TRUE(header.Read(stream.Get(), eEndian));
        TBytes data;
        data.Resize(header.DataSize());
        EXPECT_EQ(stream->Read(data.GetStart(), data.Size()), data.Size());
        uint8_t behind;
        EXPECT_EQ(stream->Read(&behind, 1), 0u);
        return data;
    }

    ZPackerHost host;
    ZResourceID target;
    bool bPacked;
    TBytes bytes;
};

TEST(AnimationDatabasePacker, ParametersAndMemory)
{
    // What the target says goes before the rigs, its first parameter alone; a derived id is taken as it is.
    ZResourceHeader header;
    const SPackedCharacter told({{"a", "assembly:/x.fbx?/a.take"}, {"b", "<assembly:/y>.any.animation"}}, "pc",
                                "Other.rig|second", {"assembly:/r.rig"});
    told.Data(eEndian_Little, header);
    EXPECT_TRUE(header.References().Contains(ZString("<assembly:/x.fbx?/a.take>(other.rig).pc.animation")));
    EXPECT_TRUE(header.References().Contains(ZString("<assembly:/y>.pc.animation")));
    // "AB" sorts before "move" and "run" as the document spells them; two names share one resource.
    const SPackedCharacter three(
        {{"run", "assembly:/x.fbx?/Run.TAKE"}, {"AB", "assembly:/X.fbx?/run.take"}, {"move", "assembly:/x.blendSpace"}},
        "xbox360");
    const uint8_t big[] = {0,  0, 0, 3, 0,  0, 0, 0, 0,  0,   0,   1, 0,   0,   0,   0,   0, 1,   0,   0,   0, 0,
                           12, 0, 0, 0, 15, 0, 0, 0, 20, 'a', 'b', 0, 'm', 'o', 'v', 'e', 0, 'r', 'u', 'n', 0};
    EXPECT_TRUE(three.Data(eEndian_Big, header) == TBytes(TArrayRef<const uint8_t>(big)));
    const SPackedCharacter empty({{"a", "assembly:/x.fbx?/a.take"}}, "pc", "", {"", "assembly:/r.rig"});
    empty.Data(eEndian_Little, header);
    EXPECT_TRUE(header.References().Contains(ZString("<assembly:/x.fbx?/a.take>(|assembly:/r.rig).pc.animation")));
    EXPECT_EQ(EstimateDatabaseMemory(8192), 39895);
    EXPECT_EQ(EstimateDatabaseMemory(UINT32_MAX), 2147483520);
}

TEST(AnimationDatabasePacker, FailuresLeaveNothingBehind)
{
    const char* szTake = "assembly:/x.fbx?/a.take";
    const SPackedCharacter twice({{"Run", szTake}, {"run", szTake}}, "pc");
    EXPECT_EQ(twice.host.Context().FirstMessage(),
              "error: Animation Database has duplicate animation names with different casing 'run'.\n");

    const SPackedCharacter noDependency({{"a", szTake}, {"b", "assembly:/x.blendspace"}}, "pc", "", {}, false);
    EXPECT_EQ(noDependency.host.Context().FirstMessage(),
              "error: Failed to pack dependency: '<assembly:/x.blendspace>.pc.rbs'.\n")
        << "in the order of the identifiers";

    const SPackedCharacter noCharacter({}, "pc", "", {}, true, ZResourceID("assembly:/db/c.xml?/hero.other"));
    EXPECT_EQ(noCharacter.host.Context().FirstMessage(),
              "error: Unrecognizable source resource type 'assembly:/db/c.xml?/hero.other'");

    std::string longName("assembly:/x.fbx?/");
    longName.append(1 << 20, 'n');
    longName += ".take";
    const SPackedCharacter tooLong({{"a", longName.c_str()}}, "pc");
    EXPECT_EQ(
        tooLong.host.Context().FirstMessage(),
        "error: The names of the resources that '<assembly:/db/c.xml?/hero.chartype>.pc.animationdatabase' refers "
        "to take 1048614 bytes, more than 1048576.\n");

    for (const SPackedCharacter* pPacked : {&twice, &noDependency, &noCharacter, &tooLong})
    {
        EXPECT_FALSE(pPacked->bPacked);
        EXPECT_EQ(pPacked->host.Context().Messages().Size(), 1u);
        EXPECT_EQ(pPacked->host.Database().CountCalls("OpenOutputStream"), 0u);
    }

    using EFault = ZMemoryResourceDatabase::EOutputFault;
    for (const EFault eFault : {EFault::eNull, EFault::eNotOpen, EFault::eTakesNothing})
    {
        ZPackerHost host;
        host.Database().SetLoader([](const ZResourceID&, STypeID*) -> void* { return ZNew<ZCharacterType>(); });
        host.Database().SetOutputFault(eFault);
        const ZResourceID target = SOURCE.CreateDerivedResourceID("animationdatabase", "", "pc");
        EXPECT_FALSE(host.Pack<ZAnimationDatabasePacker>(SOURCE, target));
        EXPECT_EQ(
            host.Context().FirstMessage(),
            "error: Failed to create output resource '<assembly:/db/c.xml?/hero.chartype>.pc.animationdatabase'.\n");
    }
}

TEST(AnimationDatabasePacker, HostMisuseAndUnreadableDatabases)
{
    const ZResourceID target = SOURCE.CreateDerivedResourceID("animationdatabase", "", "pc");
    ZPackerHost none("");
    EXPECT_FALSE(none.Pack<ZAnimationDatabasePacker>(SOURCE, target));
    EXPECT_EQ(none.Context().FirstMessage(), "error: Failed to initialize packer utility object.\n");
    EXPECT_EQ(none.Database().OpenUpdates(), 0u);
    ZPackerHost host;
    EXPECT_FALSE(host.Pack<ZAnimationDatabasePacker>(SOURCE, target));
    EXPECT_EQ(host.Context().FirstMessage(),
              "error: Failed to load character type 'assembly:/db/c.xml?/hero.chartype'.\n");
    EXPECT_EQ(host.Database().OpenUpdates(), 0u);

    host.Context().Clear();
    host.Database().SetLoader([](const ZResourceID&, STypeID*) -> void*
                              { throw ZAnimationDatabaseFactoryException("it is bad"); });
    EXPECT_FALSE(host.Pack<ZAnimationDatabasePacker>(SOURCE, target));
    EXPECT_EQ(host.Context().FirstMessage(),
              "error: Failed to load animation database "
              "'assembly:/db/c.xml?/hero.chartype' due to the following error: it is bad.");
    EXPECT_EQ(host.Database().OpenUpdates(), 1u) << "the host sees that it was cut short";

    // An identifier that can't become a derived one fails the header's assertions.
    ZAssertTrap trap(ZAssertTrap::EMode::eThrow);
    host.Database().SetLoader(
        [](const ZResourceID&, STypeID*) -> void*
        {
            auto* pCharacter = ZNew<ZCharacterType>();
            pCharacter->m_animations["a"] = ZResourceID("assembly:/x.wav");
            pCharacter->m_oddAnimation = "a";
            pCharacter->m_oddPlace = "line 3, column 5";
            return pCharacter;
        });
    EXPECT_THROW(host.Pack<ZAnimationDatabasePacker>(SOURCE, target), ZAssertTrap::SFailed);
    EXPECT_EQ(trap.FirstExpression(), "id.IsDerived()");
    EXPECT_EQ(trap.FirstMessage(), "assembly:/db/c.xml?/hero.chartype: the animation 'a' at line 3, column 5 is "
                                   "'assembly:/x.wav', neither a take nor a blend space nor a derived resource");
}

} // namespace
