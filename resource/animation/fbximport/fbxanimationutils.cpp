#include "resource/animation/fbximport/fbxanimationutils.h"

#include "resource/animation/frame/animationexception.h"

#include <cmath>

namespace ResourceAnimation
{

namespace
{

bool IsFinite(float x, float y, float z, float w)
{
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(z) && std::isfinite(w);
}

void StoreTransform(const FbxNode* node, const FbxTransform& transform, SVector3* pTranslation, SQuaternion* pRotation,
                    SVector3* pScale)
{
    const SQuaternion q{static_cast<float>(transform.q.x), static_cast<float>(transform.q.y),
                        static_cast<float>(transform.q.z), static_cast<float>(transform.q.w)};
    const SVector3 t{static_cast<float>(transform.t.x), static_cast<float>(transform.t.y),
                     static_cast<float>(transform.t.z)};
    const bool bNoScale = transform.s.x == 0.0 && transform.s.y == 0.0 && transform.s.z == 0.0;
    if (bNoScale || !IsFinite(q.x, q.y, q.z, q.w) || !IsFinite(t.x, t.y, t.z, 1.0f))
        throw ZAnimationException(
            ZString::Format("Invalid scale, rotation or translation in transform data of bone {0}", node->GetName()));
    if (pTranslation != nullptr)
        *pTranslation = t;
    if (pRotation != nullptr)
        *pRotation = Normalize(q);
    if (pScale != nullptr)
        *pScale = {static_cast<float>(transform.s.x), static_cast<float>(transform.s.y),
                   static_cast<float>(transform.s.z)};
}

} // namespace

FbxProperty FindFbxProperty(const FbxObject* pObject, const ZString& name, EFbxType eExpectedType, bool bOptional)
{
    const FbxProperty property = pObject->FindProperty(name.View(), false);
    if (!property.IsValid())
    {
        if (bOptional)
            return property;
        throw ZFbxObjectDoesNotExistException(ZString::Format(
            "'{0}' was expected to have FbxProperty '{1}', but it does not exist", pObject->GetName(), name));
    }
    if (eExpectedType != EFbxType::eUndefined && property.GetType() != eExpectedType)
        throw ZFbxInvalidTypeException(
            ZString::Format("FbxProperty '{0}', in '{1}', was expected to be of type '{2}', but is '{3}'", name,
                            pObject->GetName(), FbxTypeName(eExpectedType), FbxTypeName(property.GetType())));
    return property;
}

bool ReadOptionalBool(const FbxObject* pObject, const ZString& name)
{
    return FindFbxProperty(pObject, name, EFbxType::eBool, true).GetBool();
}

bool IsSequenceOriginNode(const FbxNode* pNode)
{
    ZASSERT_OR_HALT(pNode != nullptr);
    return ReadOptionalBool(pNode, "IsGroundRoot");
}

bool IsGroundRootNode(const FbxNode* pNode)
{
    return ReadOptionalBool(pNode, "IsGroundRoot");
}

bool IsAttachRootNode(const FbxNode* pNode)
{
    return ReadOptionalBool(pNode, "IsAttachRoot");
}

bool IsTakeNode(const FbxNode* pNode)
{
    return ReadOptionalBool(pNode, "IsTakeNode");
}

bool HasTakeNodeProperty(const FbxNode* pNode)
{
    ZASSERT_OR_HALT(pNode != nullptr);
    return pNode->FindProperty("IsTakeNode").IsValid();
}

void GetGlobalBoneTransform(const FbxNode* node, FbxTime time, SVector3* pTranslation, SQuaternion* pRotation,
                            SVector3* pScale)
{
    ZASSERT_OR_HALT(node != nullptr);
    StoreTransform(node, node->EvaluateGlobalTransform(time), pTranslation, pRotation, pScale);
}

void GetLocalBoneTransform(const FbxNode* node, FbxTime time, SVector3* pTranslation, SQuaternion* pRotation,
                           SVector3* pScale)
{
    ZASSERT_OR_HALT(node != nullptr);
    StoreTransform(node, node->EvaluateLocalTransform(time), pTranslation, pRotation, pScale);
}

FbxTime TimeOfFrame(int nFrame, float fFrameRate)
{
    FbxTime time;
    time.SetSecondDouble(static_cast<double>(static_cast<float>(nFrame) / fFrameRate));
    return time;
}

void CheckTakeLength(const ZString& takeName, int nFrameCount)
{
    if (nFrameCount > MAX_TAKE_FRAMES)
        throw ZAnimationException(ZString::Format("Take '{0}' asks for {1} frames; a take has at most {2}", takeName,
                                                  nFrameCount, MAX_TAKE_FRAMES));
}

ZString ObjectName(const FbxObject* pObject)
{
    return ZString::AllocateFromCString(pObject->GetName());
}

} // namespace ResourceAnimation
