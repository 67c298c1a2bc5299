#include "fbx/evaluate/fbxlayermix.h"

#include "fbx/scene/fbxnode.h"

#include <cmath>

namespace
{

/// A power that keeps the sign, so that mirrored scales mix too.
double SignedPower(double fBase, double fExponent)
{
    if (fExponent <= 0.0)
        return 1.0;
    if (fExponent >= 1.0 || fBase == 1.0)
        return fBase;
    const double f = std::fabs(fBase);
    const double fPower = f > 0.0 ? FbxExp(FbxLog(f) * fExponent) : 0.0;
    return fBase < 0.0 ? -fPower : fPower;
}

FbxVector3 VectorOf(const double* p)
{
    return {p[0], p[1], p[2]};
}

double Mixed(const SFbxLayerMix& mix, double fBelow, double fValue, double fWeight)
{
    const bool bAdds = mix.eHow == SFbxLayerMix::eAdd;
    if (mix.eAs == SFbxLayerMix::eFactors)
        return (bAdds ? fBelow : SignedPower(fBelow, 1.0 - fWeight)) * SignedPower(fValue, fWeight);
    return (bAdds ? fBelow : fBelow * (1.0 - fWeight)) + fValue * fWeight;
}

void MixRotations(const SFbxLayerMix& mix, double fWeight, const double* pValues, FbxMixedValues& mixed)
{
    if (mix.eHow == SFbxLayerMix::eAdd)
    {
        const FbxQuaternion q = FbxQuaternion::FromEuler(VectorOf(pValues), mix.eOrder);
        const FbxQuaternion part = fWeight < 1.0 ? FbxPartOf(q, fWeight) : q;
        mixed.SetRotation(mixed.Rotation(mix.eOrder) * part, mix.eOrder);
        return;
    }
    // Blended angles are taken for ones of the order XYZ or its reverse, whichever turns the way the object's does,
    // and serve as angles of the object's order.
    const bool bTurnsBack = static_cast<int>(mix.eOrder) % 2 != 0;
    const EFbxRotationOrder eOrder = bTurnsBack ? EFbxRotationOrder::eZYX : EFbxRotationOrder::eXYZ;
    const FbxQuaternion q = FbxQuaternion::FromEuler(VectorOf(pValues), eOrder);
    mixed.SetRotation(FbxSlerp(mixed.Rotation(eOrder), q, fWeight), eOrder);
}

} // namespace

const double* FbxMixedValues::Values()
{
    if (m_bRotation)
    {
        const FbxVector3 angles = FbxToEuler(m_rotation, m_eOrder);
        m_values[0] = angles.x;
        m_values[1] = angles.y;
        m_values[2] = angles.z;
        m_bRotation = false;
    }
    return m_values;
}

void FbxMixedValues::Set(const double* pValues, unsigned nPresent)
{
    const unsigned nAll = (1u << m_nChannels) - 1;
    if ((nPresent & nAll) != nAll)
        Values();
    m_bRotation = false;
    for (int n = 0; n < m_nChannels; ++n)
        if (nPresent >> n & 1)
            m_values[n] = pValues[n];
}

FbxQuaternion FbxMixedValues::Rotation(EFbxRotationOrder eOrder)
{
    if (m_bRotation && m_eOrder == eOrder)
        return m_rotation;
    return FbxQuaternion::FromEuler(VectorOf(Values()), eOrder);
}

SFbxLayerMix SFbxLayerMix::Of(const SFbxLayerSettings& layer, bool bLowest, const FbxObject& object,
                              std::string_view property)
{
    SFbxLayerMix mix;
    if (!bLowest && layer.eBlendMode != EFbxBlendMode::eOverride)
        mix.eHow = layer.eBlendMode == EFbxBlendMode::eAdditive ? eAdd : eBlend;
    if (property == "Lcl Rotation" && layer.bMixesRotations)
    {
        mix.eAs = eRotation;
        const auto* pNode = dynamic_cast<const FbxNode*>(&object);
        const int64_t n = pNode ? pNode->GetLayerOrder() : 0;
        mix.eOrder = n >= 0 && n <= 5 ? static_cast<EFbxRotationOrder>(n) : EFbxRotationOrder::eXYZ;
    }
    else if (property == "Lcl Scaling" && layer.bMixesScales)
        mix.eAs = eFactors;
    return mix;
}

void FbxMixLayer(const SFbxLayerMix& mix, double fWeight, const double* pValues, unsigned nPresent,
                 FbxMixedValues& mixed)
{
    const bool bAdds = mix.eHow == SFbxLayerMix::eAdd;
    if (mix.eHow == SFbxLayerMix::eReplace || (!bAdds && fWeight >= 1.0))
    {
        mixed.Set(pValues, nPresent);
        return;
    }
    if (fWeight <= 0.0)
        return;
    const int nChannels = mixed.ChannelCount();
    double values[4];
    if (mix.eAs == SFbxLayerMix::eRotation && nChannels == 3)
    {
        for (int n = 0; n < 3; ++n)
            values[n] = nPresent >> n & 1 ? pValues[n] : bAdds ? 0.0 : mixed.Values()[n];
        MixRotations(mix, fWeight, values, mixed);
        return;
    }
    for (int n = 0; n < nChannels; ++n)
        if (nPresent >> n & 1)
            values[n] = Mixed(mix, mixed.Values()[n], pValues[n], fWeight);
    mixed.Set(values, nPresent);
}
