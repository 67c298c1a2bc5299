#pragma once

#include "resource/animation/import/animatedproperty.h"
#include "resource/animation/import/bonetransform.h"

namespace ResourceAnimation::Import
{

/// The keys of one bone, a rotation and a translation a frame, with its property tracks. Held by TSharedPtr.
///
/// Rotations are in the import model's sense until the packer conjugates them in place.
class ZAnimatedBone
{
public:
    using TRotations = TArray<SQuaternion>;
    using TTranslations = TArray<SVector3>;
    using TProperties = TArray<TSharedPtr<ZAnimatedProperty>>;

    /// Assertion: "rotations.Size() == translations.Size()".
    ZAnimatedBone(const ZString& name, float fFrameRate, TArrayRef<const SQuaternion> rotations,
                  TArrayRef<const SVector3> translations, TArrayRef<const TSharedPtr<ZAnimatedProperty>> properties,
                  bool bExported);
    /// The same, taking over the keys.
    ZAnimatedBone(const ZString& name, float fFrameRate, TRotations&& rotations, TTranslations&& translations,
                  TArrayRef<const TSharedPtr<ZAnimatedProperty>> properties, bool bExported);

    const ZString& Name() const { return m_name; }
    uint32_t Uid() const { return m_uid; }
    float FrameRate() const { return m_frameRate; }
    uint32_t FrameCount() const { return m_rotations.Size(); }
    const TRotations& Rotations() const { return m_rotations; }
    const TTranslations& Translations() const { return m_translations; }
    const TProperties& Properties() const { return m_properties; }
    bool IsExported() const { return m_bExported; }

    SBoneTransform Key(size_t nFrame) const { return {m_translations[nFrame], m_rotations[nFrame]}; }

    // In place; everything else here makes new bones.
    void SetKeys(TRotations&& rotations, TTranslations&& translations);
    void ConjugateRotations();
    void SetExported(bool bExported) { m_bExported = bExported; }
    void AddProperty(const TSharedPtr<ZAnimatedProperty>& pProperty) { m_properties.Add(pProperty); }

    static TSharedPtr<ZAnimatedBone> CloneWithName(const ZAnimatedBone& bone, const ZString& newName);
    static TSharedPtr<ZAnimatedBone> CloneWithKeys(const ZAnimatedBone& bone, TRotations&& rotations,
                                                   TTranslations&& translations);
    static TSharedPtr<ZAnimatedBone> CloneWithProperties(const ZAnimatedBone& bone, const TProperties& properties);

    /// The child's keys moved by the parent's, frame by frame. Assertion: "frameCount == pChildbone->FrameCount()".
    static TSharedPtr<ZAnimatedBone> ComposeWithChild(const ZAnimatedBone& parentBone, const ZAnimatedBone& childBone);

    /// Null for null; a bone of two frames or fewer as it is.
    static TSharedPtr<ZAnimatedBone> Resample(const TSharedPtr<ZAnimatedBone>& pBone, int newFrameCount);

private:
    ZString m_name;
    float m_frameRate;
    TRotations m_rotations;
    TTranslations m_translations;
    TProperties m_properties;
    uint32_t m_uid;
    bool m_bExported;
};

} // namespace ResourceAnimation::Import
