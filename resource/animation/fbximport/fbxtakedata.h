#pragma once

#include "base/collections/tarray.h"
#include "base/math/quaternion.h"
#include "base/misc/zstring.h"

class FbxNode;
class ZJsonValue;

namespace ResourceAnimation
{

class ZFbxGround;

/// One take of a ground: a range of frames on the scene's one timeline, both ends included.
class ZFbxTakeData
{
public:
    /// Reads a take node. ZFbxException and ZJsonException as its property "TakeData" deserves; a description without
    /// "partialList" raises zhalt_exception.
    explicit ZFbxTakeData(const FbxNode* pNode);

    ZFbxGround* m_pGround = nullptr;
    bool m_bFieldOfViewAnimated = false; ///< the ground's camera has field-of-view animation in the take
    bool m_bHasSequenceOrigin = false;   ///< the take has its own origin
    SQV m_sequenceOrigin;                ///< the take's own origin
    SQV m_sequenceOffset;                ///< ground at the take's start, relative to the origin in force; centimetres
    int32_t m_startFrame = 0;
    int32_t m_endFrame = 0;
    int32_t m_frameCount = 0; ///< zero or less when the end stands before the start
    float m_frameRate = 0.0f; ///< of the whole scene
    ZString m_name;
    TArray<ZString> m_partialList; ///< selected bones; none means all

private:
    void ReadDescription(const ZJsonValue& description, const FbxNode* pNode);
};

} // namespace ResourceAnimation
