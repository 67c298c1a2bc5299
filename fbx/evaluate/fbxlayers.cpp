#include "fbx/evaluate/fbxsceneevaluator.h"

#include <cmath>

namespace
{

/// A power that keeps the sign, so that mirrored scales mix too.
double SignedPower(double fBase, double fExponent)
{
    if (fExponent <= 0.0)
        return 1.0;
    if (fExponent >= 1.0)
        return fBase;
    const double f = std::fabs(fBase);
    const double fPower = f > 0.0 ? FbxExp(FbxLog(f) * fExponent) : 0.0;
    return fBase < 0.0 ? -fPower : fPower;
}

EFbxRotationOrder OrderOf(const FbxObject& object)
{
    const int64_t n = object.FindProperty("RotationOrder").GetInt64();
    return n >= 0 && n <= 5 ? static_cast<EFbxRotationOrder>(n) : EFbxRotationOrder::eXYZ;
}

FbxVector3 VectorOf(const double* p)
{
    return {p[0], p[1], p[2]};
}

} // namespace

double FbxSceneEvaluator::EvaluateWeight(const FbxAnimLayer& layer)
{
    // The weight's own curve is taken as it is, in whatever layer it lies: weights of weights have no end.
    double fWeight = layer.GetSettings().fWeight;
    const auto [pFirst, pLast] = ActiveLinks(layer, "Weight");
    if (pFirst != pLast)
    {
        const FbxAnimCurveNode::SChannel& channel = pFirst->pCurveNode->GetChannel(0);
        if (channel.IsAnimated())
            fWeight = Evaluate(*channel.pCurve);
    }
    const double f = fWeight / 100.0;
    return f < 0.0 ? 0.0 : f > 0.99999 ? 1.0 : f;
}

void FbxSceneEvaluator::EvaluateLayers(const FbxObject& object, std::string_view property, double* pChannels,
                                       int nChannels)
{
    const bool bRotation = property == "Lcl Rotation";
    const bool bScale = property == "Lcl Scaling";
    const auto [pFirst, pLast] = ActiveLinks(object, property);
    for (const SFbxActiveLink* pLink = pFirst; pLink != pLast; ++pLink)
    {
        const FbxAnimLayer* pLayer = layers[pLink->nLayer];
        const FbxAnimCurveNode* pNode = pLink->pCurveNode;
        double values[4] = {};
        bool bPresent[4] = {};
        for (int n = 0; n < nChannels; ++n)
        {
            const FbxAnimCurveNode::SChannel& channel = pNode->GetChannel(static_cast<size_t>(n));
            bPresent[n] = true;
            if (channel.IsAnimated())
                values[n] = channel.fFactor * Evaluate(*channel.pCurve);
            else if (channel.bHasDefault)
                values[n] = channel.fDefault;
            else
                bPresent[n] = false;
        }

        // The lowest layer is the ground the others stand on, whatever its mode says.
        if (pLayer == pBaseLayer)
        {
            for (int n = 0; n < nChannels; ++n)
                if (bPresent[n])
                    pChannels[n] = values[n];
            continue;
        }
        const double fWeight = EvaluateWeight(*pLayer);
        const SFbxLayerSettings& settings = pLayer->GetSettings();
        const bool bAsRotation = bRotation && settings.bMixesRotations && nChannels == 3;
        const bool bAsFactor = bScale && settings.bMixesScales;
        if (settings.eBlendMode == EFbxBlendMode::eAdditive)
        {
            for (int n = 0; n < nChannels; ++n)
                values[n] = bPresent[n] ? values[n] : bAsFactor ? 1.0 : 0.0;
            if (bAsRotation)
            {
                const EFbxRotationOrder eOrder = OrderOf(object);
                const FbxQuaternion a = FbxQuaternion::FromEuler(VectorOf(pChannels), eOrder);
                const FbxQuaternion b = FbxQuaternion::FromEuler(VectorOf(values), eOrder);
                const FbxVector3 r = FbxToEuler(a * FbxSlerp(FbxQuaternion(), b, fWeight), eOrder);
                pChannels[0] = r.x;
                pChannels[1] = r.y;
                pChannels[2] = r.z;
                continue;
            }
            for (int n = 0; n < nChannels; ++n)
                pChannels[n] =
                    bAsFactor ? pChannels[n] * SignedPower(values[n], fWeight) : pChannels[n] + values[n] * fWeight;
            continue;
        }
        for (int n = 0; n < nChannels; ++n)
            values[n] = bPresent[n] ? values[n] : pChannels[n];
        // A plain override replaces, whatever its weight; the one that lets through blends by it.
        if (settings.eBlendMode == EFbxBlendMode::eOverride)
        {
            for (int n = 0; n < nChannels; ++n)
                pChannels[n] = values[n];
            continue;
        }
        if (bAsRotation)
        {
            const EFbxRotationOrder eOrder = OrderOf(object);
            const FbxQuaternion a = FbxQuaternion::FromEuler(VectorOf(pChannels), eOrder);
            const FbxQuaternion b = FbxQuaternion::FromEuler(VectorOf(values), eOrder);
            const FbxVector3 r = FbxToEuler(FbxSlerp(a, b, fWeight), eOrder);
            pChannels[0] = r.x;
            pChannels[1] = r.y;
            pChannels[2] = r.z;
            continue;
        }
        for (int n = 0; n < nChannels; ++n)
            pChannels[n] = bAsFactor ? SignedPower(pChannels[n], 1.0 - fWeight) * SignedPower(values[n], fWeight)
                                     : pChannels[n] * (1.0 - fWeight) + values[n] * fWeight;
    }
}
