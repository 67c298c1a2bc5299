#include "resource/animation/fbximport/fbxanimationscenereader.h"

#include "base/misc/trace.h"
#include "fbx/scene/fbxscene.h"
#include "resource/animation/fbximport/fbxanimationutils.h"
#include "resource/animation/fbximport/fbxconverter.h"
#include "resource/animation/fbximport/fbxsequenceorigin.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/core/iresourcedatabase.h"
#include "system/serializer/jsonvalue.h"

#include <cmath>

namespace ResourceAnimation
{

namespace
{

/// The one place where the scene's and the JSON reader's exceptions end.
template <class TFunction>
void Guarded(TFunction function)
{
    try
    {
        function();
    }
    catch (const ZFbxException& e)
    {
        throw ZAnimationException(ZString::Format("FBX error: {0}", e.Message()));
    }
    catch (const ZJsonException& e)
    {
        throw ZAnimationException(ZString::Format("JSON error: {0}", e.Message()));
    }
}

ZString SourceFilePath(const ZResourceID& id)
{
    const ZFilePath path = GetResourceDatabase()->GetResourceFilePath(id);
    if (path.IsEmpty())
        throw ZFbxImportFailedException(ZString::Format("Failed to initialize FbxImporter: {0}",
                                                        ZString::Format("there is no file for '{0}'", id.GetRoot())));
    return path.ToString();
}

} // namespace

ZFbxSceneReader::ZFbxSceneReader(const ZResourceID& id)
{
    Guarded(
        [&]
        {
            m_pWrapper = TUniquePtr<ZFbxWrapper>(ZNew<ZFbxWrapper>());
            m_pWrapper->Load(SourceFilePath(id));
            m_bConverted = ZFbxConverter::IsOldFormat(Scene());
            if (m_bConverted)
                ZFbxConverter::ConvertToNewPipeline(id, Scene());
            StraightenCameras();
            ReadGrounds();
        });
    // Takes point to their grounds, which have stopped moving now.
    for (ZFbxGround& ground : m_grounds)
        Guarded([&] { CollectTakes(ground); });
    Guarded(
        [&]
        {
            RemoveTakeNodes();
            for (const ZFbxGround& ground : m_grounds)
            {
                m_rigCount += ground.m_bIsRig ? 1 : 0;
                m_takeCount += ground.m_takes.Size();
            }
        });
}

/// Exporters turn cameras by a post-rotation; the pipeline wants them as the axes of the file have them.
void ZFbxSceneReader::StraightenCameras()
{
    for (size_t i = 0; i < Scene()->GetNodeCount(); ++i)
    {
        FbxNode* pNode = Scene()->GetNode(i);
        if (pNode->GetCamera() == nullptr || !pNode->GetRotationActive())
            continue;
        pNode->SetRotationActive(false);
        pNode->SetPostRotation(0, FbxVector3{});
        pNode->SetPostRotation(1, FbxVector3{});
    }
}

void ZFbxSceneReader::ReadGrounds()
{
    for (size_t i = 0; i < Scene()->GetNodeCount(); ++i)
    {
        FbxNode* pNode = Scene()->GetNode(i);
        if (GroundKindOf(pNode) != eGround_None)
            m_grounds.Add(ZFbxGround(pNode));
        if (IsSequenceOriginNode(pNode))
            m_pSequenceOrigin = TUniquePtr<SQV>(ZNew<SQV>(ReadNodeSequenceOrigin(pNode)));
    }
}

void ZFbxSceneReader::CollectTakes(ZFbxGround& ground)
{
    TArray<ZFbxTakeData> takes;
    const FbxNode* pGroundNode = ground.m_pFbxNode;
    for (size_t i = 0; i < pGroundNode->GetChildCount(); ++i)
    {
        const FbxNode* pChild = pGroundNode->GetChild(i);
        ZASSERT_OR_HALT(pChild);
        if (!IsTakeNode(pChild))
            continue;
        ZFbxTakeData take(pChild);
        take.m_pGround = &ground;
        const SQV* pOrigin = take.m_bHasSequenceOrigin ? &take.m_sequenceOrigin : m_pSequenceOrigin.Get();
        if (pOrigin != nullptr)
        {
            SVector3 translation;
            SQuaternion rotation;
            GetGlobalBoneTransform(pGroundNode, TimeOfFrame(take.m_startFrame, take.m_frameRate), &translation,
                                   &rotation, nullptr);
            take.m_sequenceOffset = RelativeToOrigin(*pOrigin, translation, rotation);
            const SQuaternion& q = take.m_sequenceOffset.rotation;
            const SVector4& t = take.m_sequenceOffset.translation;
            if (!std::isfinite(q.x + q.y + q.z + q.w) || !std::isfinite(t.x) || !std::isfinite(t.y) ||
                !std::isfinite(t.z))
                throw ZAnimationException(
                    ZString::Format("Take '{0}' of ground '{1}' has a sequence origin that is no transform",
                                    take.m_name, ground.GetDisplayName()));
        }
        takes.Add(std::move(take));
        m_takeNodeNames.Add(ObjectName(pChild));
    }
    ground.m_takes = std::move(takes);
}

void ZFbxSceneReader::RemoveTakeNodes()
{
    for (const ZString& name : m_takeNodeNames)
    {
        FbxNode* pNode = Scene()->FindNodeByName(name.View());
        if (pNode == nullptr || pNode->GetParent() == nullptr)
            continue;
        if (!HasTakeNodeProperty(pNode))
            ZTRACE(ITraceListener::eTrace_Notice, "ZFbxSceneReader",
                   "The node '{0}' is lost with all below it: it has the name of a take node", name);
        pNode->GetParent()->RemoveChild(pNode);
    }
    m_takeNodeNames.Clear();
}

ZFbxTakeData* ZFbxSceneReader::FindTake(const ZString& name)
{
    for (ZFbxGround& ground : m_grounds)
        for (ZFbxTakeData& take : ground.m_takes)
            if (take.m_name.ICompare(name) == 0)
                return &take;
    return nullptr;
}

ZFbxTakeData* ZFbxSceneReader::GetTakeAt(unsigned int nIndex)
{
    for (ZFbxGround& ground : m_grounds)
    {
        if (nIndex < ground.m_takes.Size())
            return &ground.m_takes[nIndex];
        nIndex -= ground.m_takes.Size();
    }
    return nullptr;
}

ZFbxGround* ZFbxSceneReader::FindGround(const ZString& name)
{
    for (ZFbxGround& ground : m_grounds)
        if (ground.GetDisplayName().ICompare(name) == 0)
            return &ground;
    return nullptr;
}

ZFbxGround* ZFbxSceneReader::GetRigAt(unsigned int nIndex)
{
    for (ZFbxGround& ground : m_grounds)
        if (ground.m_bIsRig && nIndex-- == 0)
            return &ground;
    return nullptr;
}

} // namespace ResourceAnimation
