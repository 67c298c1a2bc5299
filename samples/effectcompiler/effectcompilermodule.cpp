#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "samples/effectcompiler/sampleeffectcompiler.h"

namespace
{

class ZSampleEffectCompilerModule final : public ZSimpleModuleBase
{
public:
    ZSampleEffectCompilerModule() : ZSimpleModuleBase("Samples.EffectCompiler") {}
    void RegisterComponents() override
    {
        RegisterComponent<TComponentInfo<Samples::ZSampleEffectCompiler, IFXCompiler>>(FX_COMPILER_COMPONENT);
    }
};

const TTypeIDTable<IFXCompiler, ICompiledEffect> g_typeIDs;

} // namespace

/// The host's single entry; it then drives Initialize and Activate.
extern "C" Z_EXPORT void ImportZEffectCompilerModule()
{
    static ZSampleEffectCompilerModule s_module;
    GetComponentManager()->RegisterModule(&s_module);
}
