#include "resource/animation/resourceanimationmodule.h"

#include "resource/core/iresourcefactory.h"
#include "resource/core/iresourcepacker.h"
#include "tests/support/packerhost.h"
#include "tests/support/testing.h"

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
    STypeID *const pFactory = GetTypeID<IResourceFactory>(), *const pPacker = GetTypeID<IResourcePacker>();
    const auto create = [&info](const ZString& name, STypeID* pInterface)
    {
        return TComponentScope<IComponentInterface>(
            static_cast<IComponentInterface*>(GetComponentManager()->CreateComponent(name, pInterface, info)));
    };
    for (const char* szName : {"AnimationDatabaseFactory", "AnimationScanner", "AnimationDatabasePacker",
                               "AnimationPacker", "RigPacker", "XmlRigPacker", "MetaRigPacker"})
    {
        SCOPED_TRACE(szName);
        const ZString name = ZString::ReferenceCString(szName);
        const bool bPacker = name.EndsWith("Packer");
        STypeID *const pInterface = bPacker ? pPacker : pFactory, *const pOther = bPacker ? pFactory : pPacker;
        const auto first = create(name, pInterface), second = create(name, pInterface);
        ASSERT_TRUE(first && second);
        EXPECT_NE(first.Get(), second.Get());
        EXPECT_EQ(first->QueryInterface(pInterface), first.Get());
        EXPECT_EQ(first->QueryInterface(GetTypeID<IComponentInterface>()), first.Get());
        EXPECT_EQ(first->QueryInterface(pOther), nullptr);
        EXPECT_EQ(first->GetVariantRef().GetTypeID(), pInterface);
        EXPECT_EQ(first->AddRef(), static_cast<size_t>(-1)) << "one Release ends it";
        EXPECT_FALSE(create(name, pOther));
    }
    EXPECT_EQ(GetComponentManager()->CreateComponent("animationpacker", GetTypeID<IResourcePacker>(), info), nullptr);
}

} // namespace
