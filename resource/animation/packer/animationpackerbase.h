#pragma once

#include "base/collections/tarray.h"
#include "base/misc/endian.h"
#include "base/pointers/tuniqueptr.h"
#include "resource/animation/packer/packerbinding.h"
#include "system/animation/animationrig.h"

namespace ResourceAnimation
{

/// What the packers share: the host's one entry, the binding to its context, the target platform, the references of the
/// resource being packed, loading of packed rigs, delivery of messages.
///
/// One object serves one host call: create, Pack, Release. Virtual operations stand in this order after those of
/// IComponentInterface: Pack, PackResource, Initialize, GetTargetPlatform.
class ZAnimationPackerBase : public IResourcePacker, protected ZPackerBinding
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

    /// Both identifiers are lower-cased before anything else sees them. False without a call of PackResource when
    /// Initialize fails. Catches nothing.
    bool Pack(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
              const ZVariantRef& extra) override;

protected:
    /// True on success. `extra` is carried through for the host.
    virtual bool PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                              const ZVariantRef& extra) = 0;
    /// Binds the context and checks that a platform was given. Misuse by the host is traced.
    virtual bool Initialize(IResourcePackerContext* pContext, const ZVariantRef&) { return Bind(pContext); }
    /// Value of the option "t". Assertion: "bSuccess".
    virtual ZString GetTargetPlatform() { return ReadTargetPlatform(); }

    /// Position of a derived resource among the references, which it joins when it is new. ZAnimationPackerException
    /// for an identifier that is not valid or not derived.
    int AddReference(const ZResourceID& id);

    /// A packed rig; the host packs it first if it has to. ZAnimationPackerException when there is none or it is
    /// damaged.
    static TUniquePtr<ZAnimationRig> LoadRig(const ZResourceID& id, EEndian ePlatformClass);

    /// To the context: 0 an error, 1 a warning, 2 an information. Any other severity raises zhalt_exception.
    void ReportMessage(const ZString& text, int nSeverity);

    /// Name of a take or rig in a source's root parameters: without slashes in front and extension behind, lower case.
    static ZString SubResourceName(const ZResourceID& source);

    TArray<ZResourceID> m_references; ///< in first-use order: the position is the number that packed data store
};

} // namespace ResourceAnimation
