#include "tests/support/packerhost.h"

#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "system/serializer/binaryserializer.h"

#include <mutex>

namespace
{

TMap<ZString, ZString> g_options;

class ZTestPackerUtility final : public TCountedComponent<ZTestPackerUtility, IPackerUtility>
{
public:
    bool SetContext(IResourcePackerContext*) override { return true; }
    bool GetOption(const ZString& name, ZString& value) override
    {
        const ZString* pValue = g_options.Find(name);
        if (pValue == nullptr)
            return false;
        value = *pValue;
        return true;
    }
};

class ZTestHostModule final : public ZSimpleModuleBase
{
public:
    ZTestHostModule() : ZSimpleModuleBase("TestHost") {}
    void RegisterComponents() override
    {
        RegisterComponent<TComponentInfo<ZTestPackerUtility, IPackerUtility>>(PACKER_UTILITY);
    }
};

void ImportModules()
{
    static std::once_flag s_once;
    std::call_once(s_once,
                   []
                   {
                       ImportSystemIOModule();
                       ImportSystemSerializerModule();
                       static ZTestHostModule s_module;
                       s_module.Initialize();
                       GetComponentManager()->RegisterModule(&s_module);
                   });
}

} // namespace

ZPackerHost::ZPackerHost(const ZString& platform)
{
    ImportModules();
    g_options.Clear();
    if (!platform.IsEmpty())
        g_options["t"] = platform;
}

ZPackerHost::~ZPackerHost()
{
    g_options.Clear();
}
