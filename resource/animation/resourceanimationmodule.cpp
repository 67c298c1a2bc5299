#include "resource/animation/resourceanimationmodule.h"

#include "base/component/componentmanager.h"
#include "base/typeinfo/ttype.h"
#include "resource/animation/packer/animationpacker.h"
#include "resource/animation/packer/rigpacker.h"
#include "resource/animation/scan/animationscanner.h"
#include "system/animation/animationmodule.h"
#include "system/serializer/binaryserializer.h"

namespace
{

/// Every identity that the module asks for, filled in when the library loads.
const TTypeIDTable<IResourcePacker, IResourceFactory, IPackerUtility, IInputStream, IOutputStream, IBinaryWriter,
                   IBinarySerializer, ZBinaryDeserializer, TArrayRef<const uint8_t>, TArray<uint8_t>*, IOutputStream*,
                   EEndian, bool, int32_t, uint32_t, float, SVector2, SVector3, SVector4, TArray<bool>, TArray<int32_t>,
                   TArray<uint32_t>, TArray<float>, TArray<SVector2>, TArray<SVector3>, TArray<SVector4>, ZAnimationRig,
                   SystemAnimation::SAnimationResourceData>
    g_typeIDs;

} // namespace

void ZResourceAnimationModule::RegisterComponents()
{
    using namespace ResourceAnimation;
    RegisterComponent<TComponentInfo<ZAnimationPacker, IResourcePacker>>("AnimationPacker");
    RegisterComponent<TComponentInfo<ZRigPacker, IResourcePacker>>("RigPacker");
    RegisterComponent<TComponentInfo<ZAnimationScanner, IResourceFactory>>("AnimationScanner");
    // The arrays of property values, and the records that hold them.
    RegisterSystemAnimationTypes();
}

ZResourceAnimationModule* GetDllModule()
{
    static ZResourceAnimationModule s_module("Resource.Animation");
    return &s_module;
}

void ImportZResourceAnimationModule()
{
    GetComponentManager()->RegisterModule(GetDllModule());
}
