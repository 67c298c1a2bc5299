#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "system/io/binarywriter.h"
#include "system/io/memorystreams.h"

#include <mutex>

namespace
{

class ZSystemIOModule final : public ZSimpleModuleBase
{
public:
    ZSystemIOModule() : ZSimpleModuleBase("System.IO") {}

    void RegisterComponents() override
    {
        RegisterComponent<TArgumentComponentInfo<ZMemoryInputStream, IInputStream>>(MEMORY_INPUT_STREAM);
        RegisterComponent<TArgumentComponentInfo<ZMemoryOutputStream, IOutputStream>>(MEMORY_OUTPUT_STREAM);
        RegisterComponent<TArgumentComponentInfo<ZBinaryWriter, IBinaryWriter>>(BINARY_WRITER);
    }
};

const TTypeIDTable<IInputStream, IOutputStream, IBinaryWriter, TArrayRef<const uint8_t>, TArray<uint8_t>*,
                   IOutputStream*, bool>
    g_typeIDs;

} // namespace

void ImportSystemIOModule()
{
    static std::once_flag s_once;
    std::call_once(s_once,
                   []
                   {
                       static ZSystemIOModule s_module;
                       s_module.Initialize();
                       GetComponentManager()->RegisterModule(&s_module);
                   });
}
