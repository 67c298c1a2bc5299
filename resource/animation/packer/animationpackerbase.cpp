#include "resource/animation/packer/animationpackerbase.h"

#include "base/component/componentbase.h"
#include "base/misc/trace.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "resource/_shared/resourceheader.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/frame/messagedelegate.h"
#include "resource/core/iresourcedatabase.h"
#include "system/serializer/deserializedblock.h"

namespace ResourceAnimation
{

ZObjectRef ZAnimationPackerBase::GetVariantRef()
{
    return {this, GetTypeID<IResourcePacker>()};
}

void* ZAnimationPackerBase::QueryInterface(STypeID* pInterface)
{
    return TInterfaceTable<ZAnimationPackerBase, IResourcePacker, IComponentInterface>::Query(this, pInterface);
}

bool ZAnimationPackerBase::Pack(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                                const ZVariantRef& extra)
{
    if (!Initialize(pContext, extra))
    {
        ZTRACE(ITraceListener::eTrace_Failure, "ZAnimationPackerBase", "Failed to initialized packer. Bailing out!\n");
        return false;
    }
    return PackResource(pContext, ZResourceID(source.ToString().CopyToLower()),
                        ZResourceID(target.ToString().CopyToLower()), extra);
}

int ZAnimationPackerBase::AddReference(const ZResourceID& id)
{
    if (!id.IsValid() || !id.IsDerived())
        throw ZAnimationPackerException(ZString::Format("Invalid referenced resource '{0}' encountered.", id));
    for (uint32_t i = 0; i < m_references.Size(); ++i)
        if (m_references[i] == id)
            return static_cast<int>(i);
    m_references.Add(id);
    return static_cast<int>(m_references.Size() - 1);
}

TUniquePtr<ZAnimationRig> ZAnimationPackerBase::LoadRig(const ZResourceID& id, EEndian ePlatformClass)
{
    if (id.IsEmpty())
        throw ZAnimationPackerException("No rig specified!");
    const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(*GetResourceDatabase(), id));
    if (!stream || !stream->IsOpen())
        throw ZAnimationPackerException(ZString::Format("Failed to open packed rig resource '{0}'.", id));
    const auto fail = [&id](const ZString& why)
    { throw ZAnimationPackerException(ZString::Format("Packed rig resource '{0}' is damaged: {1}.", id, why)); };
    ZResourceHeader header;
    if (!header.Read(stream.Get(), ePlatformClass))
        fail("its header contradicts itself");
    TDeserializedBlock<ZAnimationRig> block;
    ZString why;
    if (!block.Read(stream.Get(), false))
        fail(block.Error());
    else if (!block.Get()->IsConsistent(why))
        fail(why);
    // The copy owns what it holds, so the block may go.
    return TUniquePtr<ZAnimationRig>(ZNew<ZAnimationRig>(*block.Get()));
}

void ZAnimationPackerBase::ReportMessage(const ZString& text, int nSeverity)
{
    switch (nSeverity)
    {
    case eMessage_Error:
        return m_pContext->Error(ZString::Format("ERROR: {0}", text));
    case eMessage_Warning:
        return m_pContext->Warning(ZString::Format("WARNING: {0}", text));
    case eMessage_Info:
        return m_pContext->Info(text);
    default:
        throw zhalt_exception();
    }
}

ZString ZAnimationPackerBase::SubResourceName(const ZResourceID& source)
{
    ZString name = source.GetRootParameters();
    if (const size_t nDot = name.LastIndexOf('.'); nDot != ZString::NOT_FOUND)
        name = name.Substring(0, nDot);
    size_t nSlashes = 0;
    while (nSlashes < name.Length() && name[nSlashes] == '/')
        ++nSlashes;
    name.Remove(0, nSlashes);
    name.ToLower();
    return name;
}

} // namespace ResourceAnimation
