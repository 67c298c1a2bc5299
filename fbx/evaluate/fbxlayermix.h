#pragma once

#include "fbx/scene/fbxanim.h"
#include "fbx/scene/fbxmath.h"

/// Up to four numbers that layers are mixed into, from the lowest up. A mix of rotations stays a rotation until
/// somebody asks for its angles.
class FbxMixedValues
{
public:
    explicit FbxMixedValues(const double* pValues, int nChannels) : m_nChannels(nChannels)
    {
        for (int n = 0; n < nChannels; ++n)
            m_values[n] = pValues[n];
    }

    /// Angles for what was mixed as a rotation.
    const double* Values();
    /// The rotation of three angles in degrees of this order.
    FbxQuaternion Rotation(EFbxRotationOrder eOrder);
    void SetRotation(const FbxQuaternion& q, EFbxRotationOrder eOrder)
    {
        m_rotation = q;
        m_eOrder = eOrder;
        m_bRotation = true;
    }
    /// Bit n of nPresent says that value n is set.
    void Set(const double* pValues, unsigned nPresent);
    int ChannelCount() const { return m_nChannels; }

private:
    double m_values[4] = {};
    FbxQuaternion m_rotation;
    EFbxRotationOrder m_eOrder = EFbxRotationOrder::eXYZ;
    bool m_bRotation = false; ///< the values are the angles of the rotation, and were not worked out
    int m_nChannels;
};

/// How the values of one layer join those below.
struct SFbxLayerMix
{
    enum EHow : uint8_t
    {
        eReplace, ///< whatever the weight
        eAdd,
        eBlend ///< from what is below at a weight of zero to the layer's at one
    };
    enum EAs : uint8_t
    {
        eNumbers,
        eFactors,  ///< scales: multiplied, and weighed as powers
        eRotation, ///< three angles: composed, and weighed along the arc
    };
    EHow eHow = eReplace;
    EAs eAs = eNumbers;
    EFbxRotationOrder eOrder = EFbxRotationOrder::eXYZ; ///< the object's

    /// Of a layer for a property: the lowest layer of a stack is the ground the others stand on, whatever its mode.
    static SFbxLayerMix Of(const SFbxLayerSettings& layer, bool bLowest, const FbxObject& object,
                           std::string_view property);
};

/// fWeight is from 0 to 1; bit n of nPresent says whether the layer has value n.
void FbxMixLayer(const SFbxLayerMix& mix, double fWeight, const double* pValues, unsigned nPresent,
                 FbxMixedValues& mixed);
