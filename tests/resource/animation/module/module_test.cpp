#include "resource/animation/resourceanimationmodule.h"

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "resource/animation/frame/animationresourceids.h"
#include "resource/core/iresourcefactory.h"
#include "resource/core/iresourcepacker.h"
#include "tests/support/packerhost.h"

#include <gtest/gtest.h>

namespace
{

TEST(Module, GivesEachComponentUnderItsInterface)
{
    const ZPackerHost host;
    EXPECT_EQ(GetDllModule(), GetDllModule());
    EXPECT_EQ(GetDllModule()->Name(), "Resource.Animation");
    ZComponentCreateInfo info;
    EXPECT_EQ(GetDllModule()->CreateComponent("RigPacker", GetTypeID<IResourcePacker>(), info), nullptr)
        << "the host has not initialised it";
    ImportZResourceAnimationModule();
    GetDllModule()->Initialize();
    const struct
    {
        ZString name;
        STypeID* pInterface;
        STypeID* pOther;
    } cases[] = {
        {"AnimationDatabaseFactory", GetTypeID<IResourceFactory>(), GetTypeID<IResourcePacker>()},
        {"AnimationDatabasePacker", GetTypeID<IResourcePacker>(), GetTypeID<IResourceFactory>()},
        {"AnimationPacker", GetTypeID<IResourcePacker>(), GetTypeID<IResourceFactory>()},
        {"RigPacker", GetTypeID<IResourcePacker>(), GetTypeID<IResourceFactory>()},
        {"XmlRigPacker", GetTypeID<IResourcePacker>(), GetTypeID<IResourceFactory>()},
        {"MetaRigPacker", GetTypeID<IResourcePacker>(), GetTypeID<IResourceFactory>()},
        {"AnimationScanner", GetTypeID<IResourceFactory>(), GetTypeID<IResourcePacker>()},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name.ToCString());
        const auto create = [&c, &info](STypeID* pInterface)
        {
            return TComponentScope<IComponentInterface>(
                static_cast<IComponentInterface*>(GetComponentManager()->CreateComponent(c.name, pInterface, info)));
        };
        const auto first = create(c.pInterface), second = create(c.pInterface);
        ASSERT_TRUE(first && second);
        EXPECT_NE(first.Get(), second.Get());
        EXPECT_EQ(first->QueryInterface(c.pInterface), first.Get());
        EXPECT_EQ(first->QueryInterface(GetTypeID<IComponentInterface>()), first.Get());
        EXPECT_EQ(first->QueryInterface(c.pOther), nullptr);
        EXPECT_EQ(first->GetVariantRef().GetTypeID(), c.pInterface);
        EXPECT_EQ(first->AddRef(), static_cast<size_t>(-1)) << "one Release ends it";
        EXPECT_FALSE(create(c.pOther));
    }
    EXPECT_EQ(GetComponentManager()->CreateComponent("animationpacker", GetTypeID<IResourcePacker>(), info), nullptr);
}

TEST(Module, SpellsIdentifiersForOthers)
{
    EXPECT_EQ(GenerateFbxTakeResourceID(ZResourceID("assembly:/a/b.fbx"), "Run"),
              ZResourceID("assembly:/a/b.fbx?/Run.take"));
    EXPECT_EQ(GenerateFbxRigResourceID(ZResourceID("assembly:/a/b.fbx?/old.take"), "hero"),
              ZResourceID("assembly:/a/b.fbx?/hero.rig"));
    EXPECT_EQ(ANIMATION_DERIVED_RESOURCE_EXTENSION, "animation");
    EXPECT_EQ(EVENT_TRACK_SUBRESOURCE_EXTENSION, "eventtracks");
    EXPECT_EQ(FBX_RIG_SUBRESOURCE_EXTENSION, "rig");
    EXPECT_EQ(FBX_TAKE_SUBRESOURCE_EXTENSION, "take");
    EXPECT_TRUE(FBX_TAKE_SUBRESOURCE_EXTENSION.IsBorrowed());
}

} // namespace
