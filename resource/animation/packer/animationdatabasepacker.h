#pragma once

#include "base/misc/endian.h"
#include "resource/animation/packer/packerbinding.h"
#include "resource/animation/scan/charactertype.h"

namespace ResourceAnimation
{

/// Component "AnimationDatabasePacker": one character of an animation database becomes a lookup from lower-case
/// animation names to packed resources, which the header refers to.
///
///   offset    size field                         n animations; every number 32 bits in the target's byte order
///        0       4 n
///        4     4 n position of each animation's resource among the references
///   4 + 4n       n 1 if it is a blend space, else 0
///   4 + 5n     4 n offset of each name from the start of this table
///   4 + 9n         the names, each in lower case with a zero byte
///
/// The order is that of the names as the document spells them. Nothing is aligned. The header's second size estimates
/// what the resource takes in the runtime.
class ZAnimationDatabasePacker final : public IResourcePacker, private ZPackerBinding
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

    /// Both identifiers are lower-cased before anything else sees them.
    bool Pack(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
              const ZVariantRef& extra) override;

private:
    /// False after one message to the context. The update is ended unless the database can't be read at all.
    virtual bool PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                              const ZVariantRef& extra);
    bool PackCharacter(const ZResourceID& source, const ZResourceID& target);
    bool WriteCharacter(const ZCharacterType& character, const ZString& parameters, const ZResourceID& target);
    bool Fail(const ZString& message);
};

/// What the runtime takes for a resource of so many bytes of data, in single precision throughout.
int64_t EstimateDatabaseMemory(uint32_t nDataSize);

} // namespace ResourceAnimation
