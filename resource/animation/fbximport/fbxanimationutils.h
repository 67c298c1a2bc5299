#pragma once

#include "base/math/quaternion.h"
#include "base/misc/zstring.h"
#include "fbx/scene/fbxnode.h"
#include "system/serializer/jsonvalue.h"

namespace ResourceAnimation
{

/// A property by name, case ignored. eUndefined accepts every type; another type than expected raises
/// ZFbxInvalidTypeException. Absent: an invalid property when optional, else ZFbxObjectDoesNotExistException.
FbxProperty FindFbxProperty(const FbxObject* pObject, const ZString& name, EFbxType eExpectedType, bool bOptional);

/// The value of an optional bool property; false when it is absent.
bool ReadOptionalBool(const FbxObject* pObject, const ZString& name);

/// A ground root is also what the takes of a scene are placed against, whatever a property named for that would say.
bool IsSequenceOriginNode(const FbxNode* pNode);
bool IsGroundRootNode(const FbxNode* pNode);
bool IsAttachRootNode(const FbxNode* pNode);
bool IsTakeNode(const FbxNode* pNode);

/// Take nodes, and all below them, are no bones: the property's presence decides, whatever its value.
bool HasTakeNodeProperty(const FbxNode* pNode);

/// What a node's property says in JSON. ZJsonException, naming the property and the node, for anything that read()
/// finds missing or other than it should be.
template <class TRead>
void ReadJson(const FbxNode* pNode, const ZString& name, const FbxProperty& property, TRead read)
{
    try
    {
        read(ZJsonValue(ZString::FromView(property.GetString())));
    }
    catch (const ZJsonException& e)
    {
        throw ZJsonException(ZString::Format("{0} of '{1}': {2}", name, pNode->GetName(), e.Message()));
    }
}

/// Transform of a node at a time: centimetres, and a unit quaternion of the import model's sense. FbxTime::Infinite()
/// gives the rest pose. Outputs that are null are not wanted. ZAnimationException naming the node when its scale is
/// zero in all three axes, or rotation or translation are no numbers.
void GetGlobalBoneTransform(const FbxNode* node, FbxTime time, SVector3* pTranslation, SQuaternion* pRotation,
                            SVector3* pScale);
void GetLocalBoneTransform(const FbxNode* node, FbxTime time, SVector3* pTranslation, SQuaternion* pRotation,
                           SVector3* pScale);

/// Time of a frame of the scene's one timeline: divided in 32-bit floats, then widened.
FbxTime TimeOfFrame(int nFrame, float fFrameRate);

/// More frames than this in one take are a slip of the exporter, not an animation.
constexpr int MAX_TAKE_FRAMES = 1000000;
/// ZAnimationException, naming the take, beyond MAX_TAKE_FRAMES.
void CheckTakeLength(const ZString& takeName, int nFrameCount);

ZString ObjectName(const FbxObject* pObject);

} // namespace ResourceAnimation
