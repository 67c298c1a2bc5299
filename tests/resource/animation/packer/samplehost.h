#pragma once

#include "resource/_shared/resourceheader.h"
#include "resource/animation/packer/animationpacker.h"
#include "resource/animation/packer/rigpacker.h"
#include "system/animation/animationmodule.h"
#include "system/animation/animationresourcedata.h"
#include "system/serializer/deserializedblock.h"
#include "tests/support/memorystreams.h"
#include "tests/support/packerhost.h"

/// A host over the repository's sample tree: packs rigs on demand, as takes open them.
class ZSampleHost : public ZPackerHost
{
public:
    explicit ZSampleHost(const ZString& platform = "pc", const char* szTree = "assembly")
        : ZPackerHost(platform), m_platform(platform)
    {
        ImportSystemAnimationModule();
        Database().Mount(ZString::Format("{0}/samples/{1}", Z_SOURCE_DIR, szTree));
        Database().SetMaker(
            [this](const ZResourceID& derived)
            {
                return derived.GetExtension() == "animationrig" &&
                       Pack<ResourceAnimation::ZRigPacker>(derived.GetSourceResourceID(), derived);
            });
    }

    /// Identifier of the packed take, whether or not packing it succeeded.
    ZResourceID PackTake(const ZString& source, const ZString& parameters = ZString())
    {
        const ZResourceID id(source);
        const ZResourceID target = id.CreateDerivedResourceID("animation", parameters, m_platform);
        m_bPacked = Pack<ResourceAnimation::ZAnimationPacker>(id, target);
        return ZResourceID(target.ToString().CopyToLower());
    }
    ZResourceID PackRig(const ZString& source)
    {
        const ZResourceID id(source);
        const ZResourceID target = id.CreateDerivedResourceID("animationrig", "", m_platform);
        m_bPacked = Pack<ResourceAnimation::ZRigPacker>(id, target);
        return ZResourceID(target.ToString().CopyToLower());
    }
    bool Packed() const { return m_bPacked; }

    EEndian Order() const { return m_platform == "pc" ? eEndian_Little : eEndian_Big; }

private:
    ZString m_platform;
    bool m_bPacked = false;
};

/// One packed resource, read as a reader would.
template <class T>
struct TPacked
{
    TPacked(ZSampleHost& host, const ZResourceID& id)
    {
        const TArray<uint8_t> bytes = host.Database().Output(id);
        const auto stream = OpenBytes(bytes.Ref());
        nBytes = bytes.Size();
        bRead = header.Read(stream.Get(), host.Order()) && block.Read(stream.Get(), true);
    }
    const T* operator->() const { return block.Get(); }
    const T& operator*() const { return *block.Get(); }

    ZResourceHeader header;
    TDeserializedBlock<T> block;
    size_t nBytes;
    bool bRead;
};
