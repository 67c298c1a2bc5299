#include "resource/animation/resourceanimationmodule.h"

#include "base/component/componentmanager.h"
#include "base/typeinfo/ttype.h"
#include "resource/_shared/resourcerecords.h"
#include "resource/animation/packer/animationdatabasepacker.h"
#include "resource/animation/packer/animationpacker.h"
#include "resource/animation/packer/metarigpacker.h"
#include "resource/animation/packer/rigpacker.h"
#include "resource/animation/packer/xmlrigpacker.h"
#include "resource/animation/scan/animationdatabasefactory.h"
#include "resource/animation/scan/animationscanner.h"
#include "system/animation/animationmodule.h"
#include "system/serializer/binaryserializer.h"

namespace
{

/// Every identity that the module asks for, filled in when the library loads.
const TTypeIDTable<IResourcePacker, IResourceFactory, IPackerUtility, IInputStream, IOutputStream, IBinaryWriter,
                   IBinarySerializer, ZBinaryDeserializer, TArrayRef<const uint8_t>, TArray<uint8_t>*, IOutputStream*,
                   EEndian, bool, int32_t, uint32_t, float, SVector2, SVector3, SVector4, TArray<bool>, TArray<int32_t>,
                   TArray<uint32_t>, TArray<float>, TArray<SVector2>, TArray<SVector3>, TArray<SVector4>, SQuaternion,
                   TArray<SQuaternion>, ZAnimationRig, SystemAnimation::SAnimationResourceData,
                   ResourceAnimation::ZCharacterType>
    g_typeIDs;

} // namespace

void ZResourceAnimationModule::RegisterComponents()
{
    using namespace ResourceAnimation;
    RegisterCharacterType();
    RegisterComponent<TComponentInfo<ZAnimationDatabaseFactory, IResourceFactory>>("AnimationDatabaseFactory");
    RegisterComponent<TComponentInfo<ZAnimationDatabasePacker, IResourcePacker>>("AnimationDatabasePacker");
    RegisterComponent<TComponentInfo<ZAnimationPacker, IResourcePacker>>("AnimationPacker");
    RegisterComponent<TComponentInfo<ZRigPacker, IResourcePacker>>("RigPacker");
    RegisterComponent<TComponentInfo<ZXmlRigPacker, IResourcePacker>>("XmlRigPacker");
    RegisterComponent<TComponentInfo<ZMetaRigPacker, IResourcePacker>>("MetaRigPacker");
    RegisterComponent<TComponentInfo<ZAnimationScanner, IResourceFactory>>("AnimationScanner");
    // The arrays of property values, and the records that hold them.
    RegisterSystemAnimationTypes();
    // What the host's services exchange with every module.
    RegisterResourceRecords();
}

ZResourceAnimationModule::ZResourceAnimationModule() : ZSimpleModuleBase("Resource.Animation") {}

ZResourceAnimationModule* GetDllModule()
{
    static ZResourceAnimationModule s_module;
    return &s_module;
}

void ImportZResourceAnimationModule()
{
    GetComponentManager()->RegisterModule(GetDllModule());
}
