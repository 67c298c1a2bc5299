#include "host/module/hostmodule.h"

#include "base/component/componentbase.h"
#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "host/files/resourceids.h"
#include "system/animation/animationmodule.h"
#include "system/serializer/binaryserializer.h"

namespace Host
{

namespace
{

struct SOption
{
    std::string sName;
    std::string sValue;
};
std::vector<SOption> g_options;

class ZPackerUtility final : public TCountedComponent<ZPackerUtility, IPackerUtility>
{
public:
    bool SetContext(IResourcePackerContext* pContext) override { return pContext != nullptr; }

    bool GetOption(const ZString& name, ZString& value) override
    {
        for (size_t n = g_options.size(); n-- > 0;)
            if (g_options[n].sName == name.View())
            {
                value = ToZString(g_options[n].sValue);
                return true;
            }
        return false;
    }
};

class ZHostModule final : public ZSimpleModuleBase
{
public:
    ZHostModule() : ZSimpleModuleBase("Host") {}
    void RegisterComponents() override
    {
        RegisterComponent<TComponentInfo<ZPackerUtility, IPackerUtility>>(PACKER_UTILITY);
    }
};

bool ThrowAssertion(const char*, int, const char* szExpression, bool*, const char* szMessage, const char*)
{
    // The message, where there is one, names the document and the place in it.
    throw SAssertionFailed{*szMessage != '\0' ? std::string(szExpression) + ": " + szMessage : szExpression};
}

} // namespace

void RegisterHostModules()
{
    static bool s_bDone = false;
    if (s_bDone)
        return;
    s_bDone = true;
    SetAssertHandler(&ThrowAssertion);
    ImportSystemIOModule();
    ImportSystemSerializerModule();
    ImportSystemAnimationModule();
    static ZHostModule s_module;
    s_module.Initialize();
    s_module.Activate();
    GetComponentManager()->RegisterModule(&s_module);
}

ZPackerOptionScope::ZPackerOptionScope(const std::string& sName, const std::string& sValue)
{
    g_options.push_back({sName, sValue});
}

ZPackerOptionScope::~ZPackerOptionScope()
{
    g_options.pop_back();
}

void ZTraceCollector::OnTrace(const char*, int, ETraceLevel eLevel, const ZString& channel, const ZString& text)
{
    std::vector<std::string>& lines = eLevel == eTrace_Notice ? m_notices : m_failures;
    if (lines.size() < MOST_LINES)
        lines.push_back(ToStd(channel) + ": " + ToStd(text));
}

} // namespace Host
