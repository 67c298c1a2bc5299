#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "base/typeinfo/zvariant.h"
#include "system/serializer/binarydeserializerimpl.h"
#include "system/serializer/binaryserializerimpl.h"

#include <mutex>

namespace
{

class ZSystemSerializerModule final : public ZSimpleModuleBase
{
public:
    ZSystemSerializerModule() : ZSimpleModuleBase("System.Serializer") {}

    void RegisterComponents() override
    {
        RegisterComponent<TArgumentComponentInfo<ZBinarySerializerImpl, IBinarySerializer>>(BINARY_SERIALIZER);
        RegisterComponent<TArgumentComponentInfo<ZBinaryDeserializerImpl, ZBinaryDeserializer>>(BINARY_DESERIALIZER);
    }
};

const TTypeIDTable<IInputStream, IOutputStream, IBinarySerializer, ZBinaryDeserializer, IOutputStream*, EEndian,
                   STypeID*, ZVariant>
    g_typeIDs;

} // namespace

void ImportSystemSerializerModule()
{
    static std::once_flag s_once;
    std::call_once(s_once,
                   []
                   {
                       static ZSystemSerializerModule s_module;
                       s_module.Initialize();
                       GetComponentManager()->RegisterModule(&s_module);
                   });
}
