#include "system/animation/animationmodule.h"

#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "base/typeinfo/mathtypes.h"
#include "base/typeinfo/ttype.h"
#include "system/animation/animationresourcedata.h"
#include "system/animation/animationrig.h"

#include <mutex>

using SystemAnimation::SAnimationResourceData;
using SystemAnimation::SPropertyTrack;
using SystemAnimation::STrackGroup;

namespace
{

template <class T>
void RegisterArray()
{
    static const TArrayType<T> s_type;
    static const ZTypeRegistration s_registration(&s_type);
}

template <class T, size_t N>
void RegisterRecord(const STypeField (&fields)[N])
{
    static const TRecordType<T> s_type(fields);
    static const ZTypeRegistration s_registration(&s_type);
}

class ZSystemAnimationModule final : public ZSimpleModuleBase
{
public:
    ZSystemAnimationModule() : ZSimpleModuleBase("System.Animation") {}
    void RegisterComponents() override { RegisterSystemAnimationTypes(); }
};

} // namespace

void RegisterSystemAnimationTypes()
{
    static std::once_flag s_once;
    std::call_once(
        s_once,
        []
        {
            static const TScalarType<SBoneId> s_boneId(sizeof(uint16_t), [](const SBoneId& id, ZString& text)
                                                       { ZVariantRef(id.m_uiId).AppendText(text); });
            static const ZTypeRegistration s_boneIdRegistration(&s_boneId);
            RegisterArray<SBoneId>();
            RegisterArray<uint32_t>();
            RegisterArray<SQV>();
            RegisterArray<ZString>();
            static const STypeField s_rigFields[] = {
                Z_FIELD(ZAnimationRig, m_trajectoryIndex), Z_FIELD(ZAnimationRig, m_rootIndices),
                Z_FIELD(ZAnimationRig, m_parents),         Z_FIELD(ZAnimationRig, m_uniqueIds),
                Z_FIELD(ZAnimationRig, m_bindPose),        Z_FIELD(ZAnimationRig, m_names)};
            RegisterRecord<ZAnimationRig>(s_rigFields);

            RegisterArray<uint8_t>();
            RegisterArray<uint16_t>();
            static const STypeField s_groupFields[] = {Z_FIELD(STrackGroup, type), Z_FIELD(STrackGroup, boneIndices),
                                                       Z_FIELD(STrackGroup, data)};
            RegisterRecord<STrackGroup>(s_groupFields);
            RegisterArray<STrackGroup>();

            // Keys of property tracks.
            RegisterArray<bool>();
            RegisterArray<int>();
            RegisterArray<float>();
            RegisterArray<SVector2>();
            RegisterArray<SVector3>();
            RegisterArray<SVector4>();
            RegisterArray<SQuaternion>();
            static const STypeField s_propertyFields[] = {
                Z_FIELD(SPropertyTrack, boneId), Z_FIELD(SPropertyTrack, name), Z_FIELD(SPropertyTrack, typeId),
                Z_FIELD(SPropertyTrack, flags), Z_FIELD(SPropertyTrack, keys)};
            RegisterRecord<SPropertyTrack>(s_propertyFields);
            RegisterArray<SPropertyTrack>();

            static const STypeField s_animationFields[] = {
                Z_FIELD(SAnimationResourceData, name),           Z_FIELD(SAnimationResourceData, eventTrackReference),
                Z_FIELD(SAnimationResourceData, rigReference),   Z_FIELD(SAnimationResourceData, boneCount),
                Z_FIELD(SAnimationResourceData, frameRate),      Z_FIELD(SAnimationResourceData, frameCount),
                Z_FIELD(SAnimationResourceData, sequenceOffset), Z_FIELD(SAnimationResourceData, trackGroups),
                Z_FIELD(SAnimationResourceData, properties)};
            RegisterRecord<SAnimationResourceData>(s_animationFields);
        });
}

void ImportSystemAnimationModule()
{
    static std::once_flag s_once;
    std::call_once(s_once,
                   []
                   {
                       static ZSystemAnimationModule s_module;
                       s_module.Initialize();
                       GetComponentManager()->RegisterModule(&s_module);
                   });
}

namespace
{
// Whoever links this library can serialise its records from the start.
[[maybe_unused]] const bool g_bRegisteredAtLoad = (RegisterSystemAnimationTypes(), true);
} // namespace
