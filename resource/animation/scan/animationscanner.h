#pragma once

#include "resource/animation/fbximport/fbxanimationscenereader.h"
#include "resource/core/iresourcefactory.h"

struct SResourceScanData;

namespace ResourceAnimation
{

/// Component "AnimationScanner": tells which takes and rigs an FBX source holds, and how the root of each take moves.
class ZAnimationScanner final : public IResourceFactory
{
public:
    ZObjectRef GetVariantRef() override;
    /// Counts nothing: one Release() ends the object.
    size_t AddRef() override { return static_cast<size_t>(-1); }
    size_t Release() override
    {
        delete this;
        return 0;
    }
    void* QueryInterface(STypeID* pInterface) override;

    /// Not supported: the assertion "false", and null.
    void* LoadResource(IInputStream* pStream, STypeID* pTypeID, const ZResourceID& id,
                       const ZString& subResourceName) override;
    /// Take entries stand before rig entries. The stream is only asked whether it is open: the scene is read from the
    /// source's path. An invalid stream gives false and leaves the last message.
    bool ScanResource(const ZResourceID& id, IInputStream* pStream, SResourceScanData& result) override;
    ZString GetLastErrorMessage() const override { return m_sLastError; }

private:
    static void ScanTakes(const ZResourceID& id, ZFbxSceneReader& reader, SResourceScanData& result);
    static void ScanRigs(const ZResourceID& id, ZFbxSceneReader& reader, SResourceScanData& result);

    ZString m_sLastError;
};

} // namespace ResourceAnimation
