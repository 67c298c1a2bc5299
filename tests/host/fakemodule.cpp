#include "tests/host/fakemodule.h"

#include "base/component/componentbase.h"
#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "base/misc/trace.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/resourceids.h"
#include "resource/core/iresourcedatabase.h"
#include "resource/core/iresourcepacker.h"

#include <cstdlib>
#include <sstream>
#include <unistd.h>

namespace
{

using Host::ToId;
using Host::ToStd;
using Host::ToZString;

std::string ReadAll(IInputStream* pStream)
{
    std::string sText(pStream->GetSize(), '\0');
    sText.resize(pStream->Read(sText.data(), sText.size()));
    return sText;
}

struct SModulesOwnException
{
};

class ZFakePacker final : public TCountedComponent<ZFakePacker, IResourcePacker>
{
public:
    bool Pack(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
              const ZVariantRef&) override
    {
        IResourceDatabase& database = *GetResourceDatabase();
        const bool bUpdate = database.BeginResourceUpdate(target, 0);
        const TComponentScope<IInputStream> file(OpenResource<IInputStream>(database, source));
        if (!file)
        {
            ZTRACE(ITraceListener::eTrace_Failure, "ZFakePacker", "no source");
            return false;
        }
        IOutputStream* pOutput = database.OpenOutputStream(target);
        const auto write = [pOutput](const std::string& sText) { pOutput->Write(sText.data(), sText.size()); };
        bool bGood = true;
        bool bKeep = false;
        std::istringstream lines(ReadAll(file.Get()));
        for (std::string sOrder, sRest, sLine; bGood && std::getline(lines, sLine);)
        {
            sOrder = sLine.substr(0, sLine.find(' '));
            sRest = sLine.size() > sOrder.size() ? sLine.substr(sOrder.size() + 1) : std::string();
            if (sOrder == "write")
                write(sRest);
            else if (sOrder == "platform")
            {
                const TComponentScope<IPackerUtility> utility(CreateComponent<IPackerUtility>(PACKER_UTILITY));
                ZString platform;
                bGood = utility->SetContext(pContext) && utility->GetOption("t", platform);
                write(ToStd(platform));
            }
            else if (sOrder == "need" || sOrder == "use")
            {
                const TComponentScope<IInputStream> other(OpenResource<IInputStream>(database, ToId(sRest)));
                if (other)
                    write('[' + ReadAll(other.Get()) + ']');
                else if (sOrder == "need")
                {
                    pContext->Error(ToZString("cannot open " + sRest));
                    bGood = false;
                }
            }
            else if (sOrder == "depend")
                database.AddSourceDependency(ToId(sRest));
            else if (sOrder == "info")
                pContext->Info(ToZString(sRest));
            else if (sOrder == "warning")
                pContext->Warning(ToZString(sRest));
            else if (sOrder == "keep-open")
                bKeep = true;
            else
                bGood = Misbehave(sOrder, sRest, pContext);
        }
        if (!bKeep)
            pOutput->Release();
        if (bGood && bUpdate)
            database.EndResourceUpdate(0);
        return bGood;
    }

private:
    static bool Misbehave(const std::string& sOrder, const std::string& sRest, IResourcePackerContext* pContext)
    {
        if (sOrder == "halt")
            throw zhalt_exception();
        if (sOrder == "throw")
            throw SModulesOwnException();
        if (sOrder == "assert")
            ZASSERT_TEXT(false, "pigs > wings");
        if (sOrder == "abort")
            std::abort();
        if (sOrder == "hang")
            for (;;)
                ::pause();
        if (sOrder == "fail" && !sRest.empty())
            pContext->Error(ToZString(sRest));
        return false;
    }
};

class ZFakeModule final : public ZSimpleModuleBase
{
public:
    ZFakeModule() : ZSimpleModuleBase("Fake") {}
    void RegisterComponents() override
    {
        RegisterComponent<TComponentInfo<ZFakePacker, IResourcePacker>>("AnimationPacker");
        RegisterComponent<TComponentInfo<ZFakePacker, IResourcePacker>>("RigPacker");
    }
};

} // namespace

void RegisterFakeModule()
{
    static ZFakeModule s_module;
    static const bool s_bDone = []
    {
        s_module.Initialize();
        GetComponentManager()->RegisterModule(&s_module);
        return true;
    }();
    static_cast<void>(s_bDone);
}
