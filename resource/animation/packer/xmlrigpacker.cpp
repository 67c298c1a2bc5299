#include "resource/animation/packer/xmlrigpacker.h"

#include "resource/animation/frame/animationexception.h"
#include "resource/core/iresourcedatabase.h"
#include "system/animation/animposebuffer.h"
#include "system/serializer/xmlwriter.h"

namespace ResourceAnimation
{

namespace
{

void WriteAttribute(ZXMLWriter& writer, const ZString& name, const ZString& value)
{
    // The value alone is remapped: the quotes around it are the document's own.
    writer.WriteString(ZString::Format(" {0}=\"{1}\"", name, ZXMLWriter::RemapString(value)));
}

void StartBone(ZXMLWriter& writer, const ZAnimationRig& rig, uint32_t nBone, const SQV& absolute)
{
    SMatrix43 matrix = MatrixFromQuaternion(absolute.rotation);
    matrix.m[3][0] = absolute.translation.x;
    matrix.m[3][1] = absolute.translation.y;
    matrix.m[3][2] = absolute.translation.z;
    writer.StartTag("Bone");
    WriteAttribute(writer, "Name", rig.Name(nBone));
    WriteAttribute(writer, "UniqueId", ZString::Format("{0}", rig.UniqueId(nBone)));
    WriteAttribute(writer, "Index", ZString::Format("{0}", static_cast<uint16_t>(nBone)));
    WriteAttribute(writer, "AbsoluteLocation", matrix.ToString());
}

/// The tree below bone 0. A loop, since a rig may be one chain of as many bones as it has.
void WriteBones(ZXMLWriter& writer, const ZAnimationRig& rig)
{
    const auto pPose = ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(rig));
    pPose->CompleteWithBindPose();
    pPose->ToCharacterSpace();
    const TArrayRef<const SQV> absolute = pPose->Transforms();

    TArray<TArray<uint32_t>> children;
    children.Resize(rig.BoneCount());
    for (uint32_t i = 0; i < rig.BoneCount(); ++i)
        if (rig.ParentId(i).IsValid())
            children[rig.ParentId(i)].Add(i);

    struct SOpenBone
    {
        uint32_t nBone;
        uint32_t nNextChild;
    };
    TArray<SOpenBone> open{{0, 0}};
    StartBone(writer, rig, 0, absolute[0]);
    while (!open.IsEmpty())
    {
        SOpenBone& bone = open.Last();
        if (bone.nNextChild == children[bone.nBone].Size())
        {
            writer.EndTag();
            open.RemoveAt(open.Size() - 1);
            continue;
        }
        const uint32_t nChild = children[bone.nBone][bone.nNextChild++];
        StartBone(writer, rig, nChild, absolute[nChild]);
        open.Add({nChild, 0});
    }
}

void WriteRigXml(const ZAnimationRig& rig, const ZResourceID& target)
{
    ZXMLWriter writer(TComponentSharedPtr<IOutputStream>::Adopt(GetResourceDatabase()->OpenOutputStream(target)));
    writer.StartTag("RigDefinition");
    if (rig.BoneCount() != 0)
        WriteBones(writer, rig);
    writer.EndTag();
    if (!writer.Finish())
        throw ZRigPackerException("Failed to write the document.");
}

} // namespace

bool ZXmlRigPacker::PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                                 const ZVariantRef&)
{
    const bool bUpdate = GetResourceDatabase()->BeginResourceUpdate(target, 0);
    bool bPacked = false;
    try
    {
        WriteRigXml(*LoadRig(source, eEndian_Little), target);
        bPacked = true;
    }
    catch (const ZAnimationException& e)
    {
        pContext->Error(ZString::Format("Error when packing rig: {0}", e.Message()));
    }
    if (bUpdate)
        GetResourceDatabase()->EndResourceUpdate(0);
    return bPacked;
}

} // namespace ResourceAnimation
