#include "base/component/simplemodulebase.h"
#include "base/typeinfo/mathtypes.h"
#include "base/typeinfo/ttype.h"
#include "base/typeinfo/zvariant.h"
#include "tests/support/testing.h"

#include <cmath>
#include <string>

struct SNobody
{
};
Z_TYPE_NAME(SNobody, "test.SNobody");

namespace
{

TEST(TypeInfo, NamesTemplatesAfterTheirArguments)
{
    EXPECT_STREQ(GetTypeID<TArray<float>>()->m_szName, "TArray<float32>");
    EXPECT_STREQ(GetTypeID<TArray<TArray<SVector3>>>()->m_szName, "TArray<TArray<SVector3>>");
    EXPECT_EQ(GetTypeID<const float>(), GetTypeID<float>());
    EXPECT_EQ(FindTypeIDByHash(GetTypeID<SVector2>()->m_nHash), GetTypeID<SVector2>());
    EXPECT_STREQ(ZTypeNameBuilder("TFixed", "int32", 8).Get(), "TFixed<int32,8>");
}

TEST(TypeInfo, ParsesTextByType)
{
    const auto parse = [](STypeID* pTypeID, const char* szText, void* pTo)
    {
        const IType* pType = ZTypeRegistry::GetType(pTypeID);
        return pType->Parser()(pTo, pType, ZString::ReferenceCString(szText));
    };
    float f = 0.0f;
    EXPECT_TRUE(parse(GetTypeID<float>(), " -0.5\n", &f));
    EXPECT_EQ(f, -0.5f);
    for (const char* szNone : {"0.5x", "", "nan", "-NAN", "inf", "+-1", "-+1", "-", "1e39", "1e"})
        EXPECT_FALSE(parse(GetTypeID<float>(), szNone, &f)) << szNone;
    for (const char* szTiny : {"1e-50", "-0.001e-400", "+1E-99999999999999999999", "0e99"})
        EXPECT_TRUE(parse(GetTypeID<float>(), szTiny, &f) && f == 0.0f) << szTiny;
    EXPECT_TRUE(parse(GetTypeID<float>(), "-1e-50", &f) && std::signbit(f));
    EXPECT_TRUE(parse(GetTypeID<float>(), "1e-50", &f) && !std::signbit(f));
    const std::string large = "1" + std::string(60, '0') + "e-20";
    EXPECT_FALSE(parse(GetTypeID<float>(), large.c_str(), &f)) << "forty digits are left";
    double d = 0.0;
    EXPECT_TRUE(parse(GetTypeID<double>(), "1e-50", &d) && d == 1e-50);
    bool b = false;
    EXPECT_TRUE(parse(GetTypeID<bool>(), "True", &b) && b);
    EXPECT_FALSE(parse(GetTypeID<bool>(), "yes", &b));
    SVector3 v;
    EXPECT_TRUE(parse(GetTypeID<SVector3>(), "0.5, -1, 0.25", &v));
    EXPECT_EQ(v, (SVector3{0.5f, -1.0f, 0.25f}));
    EXPECT_FALSE(parse(GetTypeID<SVector3>(), "0.5, -1", &v));
    EXPECT_FALSE(parse(GetTypeID<SVector3>(), "0.5, -1, nan", &v));
    uint32_t n = 0;
    EXPECT_FALSE(parse(GetTypeID<uint32_t>(), "-1", &n));
}

TEST(ZVariant, OwnsItsValueInsideOrOutside)
{
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    {
        const ZVariant small(2.5f), text(ZString("a text of some length")), vector(SVector4{1, 2, 3, 4});
        EXPECT_EQ(small.GetValue<float>(), 2.5f);
        ZVariant copy = text;
        const ZVariant moved = std::move(copy);
        EXPECT_TRUE(moved.GetValue<ZString>() == "a text of some length");
        EXPECT_TRUE(copy.GetTypeID() == nullptr); // NOLINT: what a move leaves is part of the contract
        EXPECT_EQ(vector.GetValue<SVector4>().w, 4.0f);
        EXPECT_FALSE(small.CanConvertTo<double>());
        ZVariant self(SVector4{1, 2, 3, 4});
        self.Set(GetTypeID<SVector4>(), self.Get());
        EXPECT_EQ(self.GetValue<SVector4>().z, 3.0f);
        ZAssertTrap trap;
        self.Set(GetTypeID<SNobody>(), nullptr);
        EXPECT_TRUE(trap.Count() == 1 && self.GetTypeID() == nullptr) << "a type that nobody has registered";
    }
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);
}

class IThing : public IComponentInterface
{
};

class ZThing final : public IThing
{
public:
    ZObjectRef GetVariantRef() override { return {this, GetTypeID<IComponentInterface>()}; }
    size_t AddRef() override { return static_cast<size_t>(-1); }
    size_t Release() override
    {
        delete this;
        return 0;
    }
    void* QueryInterface(STypeID* pInterface) override
    {
        return TInterfaceTable<ZThing, IThing, IComponentInterface>::Query(this, pInterface);
    }
};

} // namespace

Z_TYPE_NAME(IThing, "test.IThing");

namespace
{

/// Fails to be made.
class ZThrower final : public IThing
{
public:
    ZThrower() { throw zhalt_exception(); }
    ZObjectRef GetVariantRef() override { return {}; }
    size_t AddRef() override { return 0; }
    size_t Release() override { return 0; }
    void* QueryInterface(STypeID*) override { return nullptr; }
};

class ZThingModule final : public ZSimpleModuleBase
{
public:
    ZThingModule() : ZSimpleModuleBase("Test.Things") {}
    void RegisterComponents() override
    {
        RegisterComponent<TComponentInfo<ZThing, IThing>>("Thing");
        RegisterComponent<TComponentInfo<ZThing, IThing>>("Thing");
        RegisterComponent<TComponentInfo<ZThrower, IThing>>("Thrower");
    }
};

TEST(Components, AreMadeByNameAndInterface)
{
    static ZThingModule s_module;
    EXPECT_EQ(CreateComponent<IThing>("Thing"), nullptr);
    s_module.Initialize();
    GetComponentManager()->RegisterModule(&s_module);
    IThing* pFirst = CreateComponent<IThing>("Thing");
    IThing* pSecond = CreateComponent<IThing>("Thing");
    ASSERT_TRUE(pFirst != nullptr && pSecond != nullptr);
    EXPECT_NE(pFirst, pSecond);
    EXPECT_EQ(CreateComponent<IComponentInterface>("Thing"), nullptr) << "registered under another interface";
    EXPECT_EQ(CreateComponent<IThing>("thing"), nullptr);
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    EXPECT_THROW(CreateComponent<IThing>("Thrower"), zhalt_exception);
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);

    EXPECT_EQ(pFirst->QueryInterface(GetTypeID<IThing>()), pFirst);
    EXPECT_EQ(pFirst->QueryInterface(GetTypeID<float>()), nullptr);
    pFirst->Release();
    pSecond->Release();
    s_module.Shutdown();
}

} // namespace
