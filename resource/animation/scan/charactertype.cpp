#include "resource/animation/scan/charactertype.h"

#include "base/typeinfo/ttype.h"

namespace ResourceAnimation
{

void RegisterCharacterType()
{
    static const TOpaqueType<ZCharacterType::TAnimations> s_animations;
    static const ZTypeRegistration s_animationsRegistration(&s_animations);
    static const TArrayType<ZResourceID> s_rigs;
    static const ZTypeRegistration s_rigsRegistration(&s_rigs);
    // Measured, since offsetof is not for records that hold a map.
    static const ZCharacterType s_sample;
    const auto offsetOf = [](const void* pField)
    { return static_cast<uint32_t>(static_cast<const char*>(pField) - reinterpret_cast<const char*>(&s_sample)); };
    static const STypeField s_fields[] = {
        {"m_animations", offsetOf(&s_sample.m_animations), GetTypeID<ZCharacterType::TAnimations>()},
        {"m_rigs", offsetOf(&s_sample.m_rigs), GetTypeID<TArray<ZResourceID>>()}};
    static const TRecordType<ZCharacterType> s_character(s_fields);
    static const ZTypeRegistration s_characterRegistration(&s_character);
}

} // namespace ResourceAnimation
