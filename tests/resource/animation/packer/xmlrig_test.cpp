#include "resource/animation/packer/xmlrigpacker.h"

#include "system/serializer/xmldocument.h"
#include "tests/resource/animation/packer/packedrigs.h"
#include "tests/support/testing.h"

namespace
{

using ResourceAnimation::ZXmlRigPacker;

const ZResourceID SOURCE = ZResourceID("assembly:/r.fbx").CreateDerivedResourceID("animationrig", "", "pc");
const ZResourceID TARGET = SOURCE.CreateDerivedResourceID("rigxml", "", "pc");

/// The text that a rig gives, whatever platform it is asked for.
ZString XmlOf(const ZAnimationRig& rig, const ZString& platform = "pc")
{
    ImportSystemAnimationModule();
    ZPackerHost host(platform);
    AddPackedRig(host, SOURCE, rig);
    EXPECT_TRUE(host.Pack<ZXmlRigPacker>(SOURCE, TARGET)) << host.Context().FirstMessage().ToCString();
    EXPECT_EQ(host.Database().OpenUpdates(), 0u);
    const TArray<uint8_t> bytes = host.Database().Output(TARGET);
    return ZString::FromView({reinterpret_cast<const char*>(bytes.GetStart()), bytes.Size()});
}

/// Names with the nesting in brackets: "a(b c(d))".
ZString Skeleton(const ZComPtr<IXMLDOMNode>& node)
{
    ZString text;
    for (const auto& bone : GetNodeChildElements(node))
    {
        EXPECT_EQ(GetNodeName(bone), "Bone");
        text.Append(text.IsEmpty() ? "" : " ");
        text.Append(GetOptionalAttribute(bone, "Name", "?"));
        const ZString children = Skeleton(bone);
        if (!children.IsEmpty())
            text.Append(ZString::Format("({0})", children));
    }
    return text;
}

ZComPtr<IXMLDOMDocument> Parse(const ZString& text)
{
    return LoadXMLDocument(OpenText(text.View()).Get());
}

TEST(XmlRigPacker, SpellsOutABone)
{
    EXPECT_EQ(XmlOf(MakeRig({})), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RigDefinition/>\n");
    const uint32_t uid = ResourceAnimation::Import::BoneUid("a");
    EXPECT_EQ(XmlOf(MakeRig({{"a", -1, 1.5f}}), "ps3"),
              ZString::Format("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RigDefinition>\n"
                              "  <Bone Name=\"a\" UniqueId=\"{0}\" Index=\"0\" "
                              "AbsoluteLocation=\"1, 0, 0, 0, 1, 0, 0, 0, 1, 1.5, 0, 0\"/>\n</RigDefinition>\n",
                              uid));
}

TEST(XmlRigPacker, NestsAsTheSkeletonDoes)
{
    const std::tuple<const char*, ZAnimationRig, const char*> cases[] = {
        {"children by index, not by name", MakeRig({{"r", -1}, {"z", 0}, {"a", 0}, {"k", 1}, {"b", 0}, {"j", 1}}),
         "r(z(k j) a b)"},
        {"a child may stand before its parent", MakeRig({{"r", -1}, {"c", 2}, {"p", 0}}), "r(p(c))"},
        {"the tree of bone 0 alone", MakeRig({{"r", -1}, {"s", -1}, {"a", 0}, {"b", 1}}), "r(a)"},
        {"bone 0 need not be a root", MakeRig({{"a", 1}, {"r", -1}, {"b", 0}}), "a(b)"},
        {"what XML reserves", MakeRig({{"<&\"'>", -1}, {"b", 0}}), "<&\"'>(b)"},
    };
    for (const auto& [szLabel, rig, szSkeleton] : cases)
        EXPECT_EQ(Skeleton(GetDocumentElement(Parse(XmlOf(rig)))), szSkeleton) << szLabel;
}

/// A posed arm, in the runtime's sense: the forearm, turned a quarter about z at the shoulder, points along -y.
TEST(XmlRigPacker, LocationsAreAbsolute)
{
    const float h = std::sqrt(0.5f);
    TArray<SQV> bind;
    bind.Add({SQuaternion{0, 0, h, h}, {1, 0, 0, 1}});
    bind.Add({SQuaternion{}, {2, 0, 0, 1}});
    const SBoneId parents[] = {SBoneId(-1), SBoneId(0)}, roots[] = {SBoneId(0)};
    const uint32_t uids[] = {1, 2};
    const ZString names[] = {"shoulder", "elbow"};
    const auto document = Parse(XmlOf({SBoneId(), TArrayRef<const SBoneId>(roots), TArrayRef<const SBoneId>(parents),
                                       TArrayRef<const uint32_t>(uids), bind.Ref(), TArrayRef<const ZString>(names)}));
    const TArray<ZString> numbers =
        GetOptionalAttribute(SelectNodes(document, "//Bone/Bone")[0], "AbsoluteLocation", "").Split(',');
    const double expected[] = {0, -1, 0, 1, 0, 0, 0, 0, 1, 1, -2, 0};
    ASSERT_EQ(numbers.Size(), 12u);
    for (size_t i = 0; i < 12; ++i)
        EXPECT_NEAR(std::atof(numbers[i].ToCString()), expected[i], 1e-6) << i;
}

TEST(XmlRigPacker, ALongChainIsNoDeepRecursion)
{
    TArray<SBoneId> parents;
    TArray<uint32_t> uids;
    TArray<SQV> bind;
    TArray<ZString> names;
    for (uint32_t i = 0; i < 65000; ++i)
    {
        parents.Add(SBoneId(static_cast<int32_t>(i) - 1));
        uids.Add(i);
        bind.Add(SQV());
        names.Add("b");
    }
    const ZString text = XmlOf({SBoneId(), {}, parents.Ref(), uids.Ref(), bind.Ref(), names.Ref()});
    EXPECT_LT(text.Length(), 65000u * 260u);
    EXPECT_TRUE(text.EndsWith("</Bone>\n</RigDefinition>\n"));
}

TEST(XmlRigPacker, FailuresEndTheUpdate)
{
    ImportSystemAnimationModule();
    ZPackerHost host;
    EXPECT_FALSE(host.Pack<ZXmlRigPacker>(SOURCE, TARGET)) << "no rig";
    AddPackedRig(host, SOURCE, MakeRig({{"a", -1}}));
    host.Database().SetOutputFault(ZMemoryResourceDatabase::EOutputFault::eTakesNothing);
    EXPECT_FALSE(host.Pack<ZXmlRigPacker>(SOURCE, TARGET));
    EXPECT_EQ(host.Database().OpenUpdates(), 0u);
    EXPECT_EQ(host.Database().CountCalls("EndResourceUpdate"), 2u);
    // An output that can't be opened at all is not asked for; the write to it stops there.
    host.Database().SetOutputFault(ZMemoryResourceDatabase::EOutputFault::eNull);
    ZAssertTrap trap;
    EXPECT_THROW(host.Pack<ZXmlRigPacker>(SOURCE, TARGET), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "m_pComponent != nullptr");
}

} // namespace
