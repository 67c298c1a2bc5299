#include "resource/animation/fbximport/fbxsequenceorigin.h"

#include "resource/animation/fbximport/fbxanimationutils.h"

namespace ResourceAnimation
{

SQV ReadNodeSequenceOrigin(const FbxNode* pNode)
{
    SVector3 t;
    SQV origin;
    GetGlobalBoneTransform(pNode, FbxTime::Infinite(), &t, &origin.rotation, nullptr);
    origin.translation = {t.x, t.y, t.z, 1.0f};
    return origin;
}

bool ReadTakeSequenceOrigin(const FbxNode* pTakeNode, SQV& origin)
{
    const FbxProperty property = pTakeNode->FindProperty("TakeSequenceOrigin");
    if (!property.IsValid())
        return false;
    FbxTransform transform;
    FbxVector3 shear;
    double fSign;
    property.GetMatrix().Decompose(transform, shear, fSign);
    origin.rotation = Normalize({static_cast<float>(transform.q.x), static_cast<float>(transform.q.y),
                                 static_cast<float>(transform.q.z), static_cast<float>(transform.q.w)});
    origin.translation = {static_cast<float>(transform.t.x), static_cast<float>(transform.t.y),
                          static_cast<float>(transform.t.z), 1.0f};
    return true;
}

SQV RelativeToOrigin(const SQV& origin, const SVector3& translation, const SQuaternion& rotation)
{
    const SQuaternion inverse = origin.rotation.GetConjugate();
    const SQuaternion q = inverse * rotation;
    const float4 unit = WVectorNormalize4Exact({q.x, q.y, q.z, q.w});
    const SVector3 to{origin.translation.x, origin.translation.y, origin.translation.z};
    const SVector3 t = Rotate(inverse, translation - to);
    return {{unit.x, unit.y, unit.z, unit.w}, {t.x, t.y, t.z, 1.0f}};
}

} // namespace ResourceAnimation
