#include "host/export/gltfbody.h"

#include "host/clip/body.h"
#include "host/clip/clipbytes.h"
#include "host/clip/yup.h"

#include <algorithm>
#include <cmath>

namespace Host
{

namespace
{

using TVector = std::array<float, 3>;

constexpr size_t CORNERS = 6;
/// Of the octahedron's length, where it is widest.
constexpr float SHOULDER = 0.15f;
/// Faces that are seen from outside: corner 0 is the origin, 5 the tip.
constexpr uint16_t FACES[8][3] = {{0, 2, 1}, {0, 3, 2}, {0, 4, 3}, {0, 1, 4},
                                  {5, 1, 2}, {5, 2, 3}, {5, 3, 4}, {5, 4, 1}};

TVector Cross(const TVector& a, const TVector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

TVector Scaled(const TVector& v, float fLength)
{
    const float f = fLength / std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    return {v[0] * f, v[1] * f, v[2] * f};
}

/// Seen from the bone.
std::array<TVector, CORNERS> CornersOf(const SBodyPart& part)
{
    const TVector& tip = part.tip;
    // Across the part, away from the axis that it runs along most.
    const TVector away = std::fabs(tip[2]) > std::fabs(tip[0]) ? TVector{1.0f, 0.0f, 0.0f} : TVector{0.0f, 0.0f, 1.0f};
    const TVector a = Scaled(Cross(tip, away), part.fRadius);
    const TVector b = Scaled(Cross(tip, a), part.fRadius);
    const auto corner = [&tip](const TVector& side, float fSign)
    {
        TVector at;
        for (size_t i = 0; i < 3; ++i)
            at[i] = SHOULDER * tip[i] + fSign * side[i];
        return at;
    };
    return {TVector{}, corner(a, 1.0f), corner(b, 1.0f), corner(a, -1.0f), corner(b, -1.0f), tip};
}

SBoneKey InverseOf(const SBoneKey& key)
{
    SBoneKey turn;
    turn.q = {0.0f - key.q[0], 0.0f - key.q[1], 0.0f - key.q[2], key.q[3]};
    SBoneKey inverse = Compose(turn, SBoneKey{key.t, {0.0f, 0.0f, 0.0f, 1.0f}});
    inverse.t = {0.0f - inverse.t[0], 0.0f - inverse.t[1], 0.0f - inverse.t[2]};
    return inverse;
}

/// Column by column.
void AppendMatrix(std::string& sBytes, const SBoneKey& key)
{
    for (size_t nAxis = 0; nAxis < 3; ++nAxis)
    {
        SBoneKey axis;
        axis.t[nAxis] = 1.0f;
        const SBoneKey turned = Compose(SBoneKey{{}, key.q}, axis);
        for (const float f : turned.t)
            AppendBytes(sBytes, f);
        AppendBytes(sBytes, 0.0f);
    }
    for (const float f : key.t)
        AppendBytes(sBytes, f);
    AppendBytes(sBytes, 1.0f);
}

} // namespace

std::string BoundsOf(const std::vector<float>& values, size_t nEach)
{
    std::vector<float> low(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(nEach)), high = low;
    for (size_t n = 0; n < values.size(); ++n)
    {
        low[n % nEach] = std::min(low[n % nEach], values[n]);
        high[n % nEach] = std::max(high[n % nEach], values[n]);
    }
    const auto text = [](const std::vector<float>& bounds)
    {
        ZJsonWriter json;
        json.Open('[');
        for (const float f : bounds)
            json.Number(f);
        json.Close(']');
        return json.Take();
    };
    return text(low) + ' ' + text(high);
}

SGltfBody AddBody(const SClipRig& rig, ZGltfBuffer& buffer)
{
    const std::vector<SBoneKey> character = BindPoseOf(rig);
    const bool bWide = rig.bones.size() > 256;
    std::vector<float> positions;
    std::string sPositions, sJoints, sWeights, sIndices, sMatrices;
    uint32_t nCorners = 0, nIndices = 0;
    for (const SBodyPart& part : MakeBody(rig))
    {
        for (const auto& face : FACES)
            for (const uint16_t nCorner : face)
                AppendBytes(sIndices, static_cast<uint32_t>(nCorners + nCorner)), ++nIndices;
        for (const TVector& corner : CornersOf(part))
        {
            const SBoneKey at = Compose(character[part.nBone], SBoneKey{corner, {0.0f, 0.0f, 0.0f, 1.0f}});
            for (const float f : ToYUp(at.t))
            {
                positions.push_back(f);
                AppendBytes(sPositions, f);
            }
            for (const uint32_t nJoint : {part.nBone, 0u, 0u, 0u})
                bWide ? AppendBytes(sJoints, static_cast<uint16_t>(nJoint))
                      : AppendBytes(sJoints, static_cast<uint8_t>(nJoint));
            for (const uint8_t nWeight : std::array<uint8_t, 4>{255, 0, 0, 0})
                AppendBytes(sWeights, nWeight);
            ++nCorners;
        }
    }
    for (const SBoneKey& bone : character)
        AppendMatrix(sMatrices, ToYUp(InverseOf(bone)));

    SGltfBody body;
    buffer.BeginView(ZGltfBuffer::eVertices);
    body.nPositions = buffer.Add(sPositions, {ZGltfBuffer::eFloat, "VEC3", nCorners, false, BoundsOf(positions, 3)});
    buffer.BeginView(ZGltfBuffer::eVertices);
    body.nJoints = buffer.Add(
        sJoints, {bWide ? ZGltfBuffer::eUnsignedShort : ZGltfBuffer::eUnsignedByte, "VEC4", nCorners, false});
    buffer.BeginView(ZGltfBuffer::eVertices);
    body.nWeights = buffer.Add(sWeights, {ZGltfBuffer::eUnsignedByte, "VEC4", nCorners, true});
    buffer.BeginView(ZGltfBuffer::eIndices);
    if (nCorners <= 65535)
    {
        std::string sShort;
        for (size_t n = 0; n < sIndices.size(); n += 4)
            sShort.append(sIndices, n, 2);
        body.nIndices = buffer.Add(sShort, {ZGltfBuffer::eUnsignedShort, "SCALAR", nIndices, false});
    }
    else
        body.nIndices = buffer.Add(sIndices, {ZGltfBuffer::eUnsignedInt, "SCALAR", nIndices, false});
    buffer.BeginView();
    body.nInverseBindMatrices =
        buffer.Add(sMatrices, {ZGltfBuffer::eFloat, "MAT4", static_cast<uint32_t>(character.size()), false});
    return body;
}

float WidthOf(const SClipRig& rig)
{
    float fLow = 0.0f, fHigh = 0.0f;
    for (const SBoneKey& bone : BindPoseOf(rig))
    {
        fLow = std::min(fLow, bone.t[0]);
        fHigh = std::max(fHigh, bone.t[0]);
    }
    return fHigh - fLow;
}

} // namespace Host
