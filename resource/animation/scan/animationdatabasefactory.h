#pragma once

#include "resource/animation/scan/charactertype.h"
#include "resource/core/iresourcefactory.h"

namespace ResourceAnimation
{

/// Component "AnimationDatabaseFactory": the characters of an animation database, an XML source.
///
///   AnimationDatabase > Character name rig > Animation name take, Character...
///
/// Exactly one character stands at the top and names every animation; those below it override entries of the characters
/// around them. The document is checked as a whole before anything is taken from it.
class ZAnimationDatabaseFactory final : public IResourceFactory
{
public:
    /// Resources that the characters of one database may refer to, each character counted with all it inherits.
    static constexpr uint64_t MAX_REFERENCES = uint64_t{1} << 21;

    ZObjectRef GetVariantRef() override;
    /// Counts nothing: one Release() ends the object.
    size_t AddRef() override { return static_cast<size_t>(-1); }
    size_t Release() override
    {
        delete this;
        return 0;
    }
    void* QueryInterface(STypeID* pInterface) override;

    /// A new ZCharacterType, found by its name in "/NAME.chartype", case ignored. ZAnimationDatabaseFactoryException on
    /// every failure, also for any other type asked for.
    void* LoadResource(IInputStream* pStream, STypeID* pTypeID, const ZResourceID& id,
                       const ZString& subResourceName) override;
    /// One entry a character, each before those inside it, with the resources it refers to.
    bool ScanResource(const ZResourceID& id, IInputStream* pStream, SResourceScanData& result) override;
    ZString GetLastErrorMessage() const override { return m_sLastError; }

private:
    ZString m_sLastError;
};

} // namespace ResourceAnimation
