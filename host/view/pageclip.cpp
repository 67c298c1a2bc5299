#include "host/view/pageclip.h"

#include "fbx/file/fbxbase64.h"
#include "host/clip/body.h"
#include "host/clip/cliptext.h"
#include "host/clip/yup.h"

#include <algorithm>
#include <cmath>
#include <libdeflate.h>
#include <memory>
#include <new>

namespace Host
{

namespace
{

// Steps of what the page holds: far below what an eye sees, or a track can.
constexpr double STEPS_PER_METRE = 1e5;
constexpr double STEPS_PER_UNIT = 32767.0;   ///< of a quaternion's component
constexpr double STEPS_PER_MILLIMETRE = 1e3; ///< of errors
constexpr double FURTHEST = 1e5;             ///< millimetres that an error shows as which is no number
constexpr int COMPRESSION = 9;

int32_t Rounded(double f)
{
    constexpr double MOST = 2e9;
    return std::isfinite(f) ? static_cast<int32_t>(std::lround(std::clamp(f, -MOST, MOST))) : 0;
}

/// Whole numbers, each as what it differs from the one before, in planes of bytes: what hardly changes is nearly all
/// zeros, which deflating takes together.
class ZNumberStream
{
public:
    void Begin() { m_nLast = 0; }
    void Add(int32_t n)
    {
        const uint32_t nStep = static_cast<uint32_t>(n) - static_cast<uint32_t>(m_nLast);
        m_nLast = n;
        // Small steps of either sign are small numbers.
        m_numbers.push_back(nStep << 1 ^ (0u - (nStep >> 31)));
    }
    std::string Take() const
    {
        std::string sBytes;
        sBytes.reserve(4 * m_numbers.size());
        for (uint32_t nShift = 0; nShift < 32; nShift += 8)
            for (const uint32_t n : m_numbers)
                sBytes += static_cast<char>(n >> nShift & 255);
        return sBytes;
    }

private:
    std::vector<uint32_t> m_numbers;
    int32_t m_nLast = 0;
};

/// The seven numbers of a bone at a frame.
struct SSteps
{
    std::array<int32_t, 7> n{};
};

SSteps StepsOf(const SBoneKey& packedKey, const SSteps& before)
{
    const SBoneKey key = ToYUp(packedKey);
    SSteps steps;
    for (size_t i = 0; i < 3; ++i)
        steps.n[i] = Rounded(STEPS_PER_METRE * static_cast<double>(key.t[i]));
    for (size_t i = 0; i < 4; ++i)
        steps.n[3 + i] = Rounded(STEPS_PER_UNIT * static_cast<double>(key.q[i]));
    // q and -q are one rotation: the one that is nearer to the frame before.
    int64_t nDot = 0;
    for (size_t i = 3; i < 7; ++i)
        nDot += int64_t{steps.n[i]} * before.n[i];
    for (size_t i = 3; i < 7 && nDot < 0; ++i)
        steps.n[i] = -steps.n[i];
    return steps;
}

/// Bone by bone and number by number, frame after frame: first all packed ones, then what the source's differ from
/// them, then the errors.
std::string PosesOf(const SClip& clip)
{
    ZNumberStream stream;
    const size_t nBones = clip.BoneCount();
    const bool bSource = !clip.source.empty();
    std::vector<SSteps> packed(clip.packed.size()), source(clip.source.size());
    for (size_t n = 0; n < packed.size(); ++n)
        packed[n] = StepsOf(clip.packed[n], n < nBones ? SSteps() : packed[n - nBones]);
    for (size_t n = 0; n < source.size(); ++n)
        source[n] = StepsOf(clip.source[n], packed[n]);
    const auto add = [&](const auto& numberOf)
    {
        for (size_t nBone = 0; nBone < nBones; ++nBone)
            for (size_t i = 0; i < 7; ++i)
            {
                stream.Begin();
                for (size_t n = nBone; n < packed.size(); n += nBones)
                    stream.Add(numberOf(n, i));
            }
    };
    add([&](size_t n, size_t i) { return packed[n].n[i]; });
    if (bSource)
    {
        add(
            [&](size_t n, size_t i) {
                return static_cast<int32_t>(static_cast<uint32_t>(source[n].n[i]) -
                                            static_cast<uint32_t>(packed[n].n[i]));
            });
        for (size_t nBone = 0; nBone < nBones; ++nBone)
        {
            stream.Begin();
            for (size_t n = nBone; n < clip.millimetres.size(); n += nBones)
                stream.Add(Rounded(STEPS_PER_MILLIMETRE * (std::isfinite(clip.millimetres[n])
                                                               ? static_cast<double>(clip.millimetres[n])
                                                               : FURTHEST)));
        }
    }
    return stream.Take();
}

std::string Deflated(const std::string& sBytes)
{
    const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> pCompressor(
        libdeflate_alloc_compressor(COMPRESSION), &libdeflate_free_compressor);
    if (!pCompressor)
        throw std::bad_alloc();
    std::string sOut(libdeflate_zlib_compress_bound(pCompressor.get(), sBytes.size()), '\0');
    sOut.resize(libdeflate_zlib_compress(pCompressor.get(), sBytes.data(), sBytes.size(), sOut.data(), sOut.size()));
    return sOut;
}

std::string RigText(const SClipRig& rig)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", rig.sId);
    json.TextField("name", NameOfId(rig.sId));
    json.IntegerField("ground", rig.nTrajectory < 0 ? 0 : rig.nTrajectory);
    json.ListField("order", rig.order, [&json](uint32_t n) { json.Unsigned(n); });
    json.ListField("bones", rig.bones,
                   [&json](const SClipBone& bone)
                   {
                       json.Open('[');
                       json.Text(bone.sName);
                       json.Integer(bone.nParent);
                       json.Close(']');
                   });
    json.ListField("body", MakeBody(rig),
                   [&json](const SBodyPart& part)
                   {
                       json.Open('[');
                       json.Unsigned(part.nBone);
                       for (const float f : ToYUp(part.tip))
                           json.Number(f);
                       json.Number(part.fRadius);
                       json.Close(']');
                   });
    json.Close('}');
    return json.Take();
}

/// Metres that the ground goes, along its way.
double WayOf(const SClip& clip)
{
    const auto nGround = static_cast<size_t>(std::max(0, clip.rig.nTrajectory));
    double fWay = 0.0;
    for (size_t n = nGround + clip.BoneCount(); n < clip.packed.size(); n += clip.BoneCount())
    {
        double fSquare = 0.0;
        for (size_t i = 0; i < 3; ++i)
        {
            const double d =
                static_cast<double>(clip.packed[n].t[i]) - static_cast<double>(clip.packed[n - clip.BoneCount()].t[i]);
            fSquare += d * d;
        }
        fWay += std::sqrt(fSquare);
    }
    return fWay;
}

void WriteTexts(ZJsonWriter& json, const char* szKey, const std::vector<std::string>& texts)
{
    if (!texts.empty())
        json.ListField(szKey, texts, [&json](const std::string& sText) { json.Text(sText); });
}

std::string RowText(const SClip& clip)
{
    const SVerified& verified = clip.verified;
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", clip.sId);
    json.TextField("platform", clip.sPlatform);
    json.TextField("name", clip.sName);
    json.UnsignedField("frames", clip.nFrames);
    json.Key("rate");
    json.Number(clip.fFrameRate);
    json.Key("way");
    json.Number(static_cast<float>(WayOf(clip)));
    json.UnsignedField("bytes", verified.nBytes);
    if (!verified.sError.empty())
        json.TextField("error", verified.sError);
    else
    {
        json.ObjectField("worst",
                         [&]
                         {
                             json.NumberField("mm", std::isfinite(verified.fMaxMillimetres) ? verified.fMaxMillimetres
                                                                                            : FURTHEST);
                             json.TextField("bone", verified.sWorstBone);
                             json.UnsignedField("frame", verified.nWorstFrame);
                         });
        json.NumberField("mean", verified.fMeanMillimetres);
        json.NumberField("degrees", verified.fMaxDegrees);
        WriteTexts(json, "lost", verified.lostBones);
        if (!verified.lostBones.empty())
            json.NumberField("lostMm", verified.fLostMillimetres);
        WriteTexts(json, "scaled", verified.droppedScale);
    }
    json.Close('}');
    return json.Take();
}

std::string DetailsText(const SClip& clip)
{
    ZJsonWriter json;
    json.Open('{');
    json.ListField("tracks", clip.tracks,
                   [&json](const SClipTracks& tracks)
                   {
                       json.Open('[');
                       json.Text(TrackClassName(tracks.nRotation));
                       json.Text(TrackClassName(tracks.nTranslation));
                       json.Unsigned(tracks.nBytes);
                       json.Close(']');
                   });
    json.ListField("properties", clip.properties,
                   [&](const SClipProperty& property) { WriteProperty(json, clip, property); });
    json.ListField("events", clip.events, [&](const SClipEvent& event) { WriteEvent(json, clip, event); });
    json.Close('}');
    return json.Take();
}

} // namespace

std::string EncodePageClip(const SClip& clip)
{
    return RigText(clip.rig) + '\n' + RowText(clip) + '\n' + DetailsText(clip) + '\n' +
           FbxToBase64(Deflated(PosesOf(clip)));
}

bool DecodePageClip(const std::string& sText, SPageClip& clip)
{
    const size_t nRow = sText.find('\n');
    const size_t nDetails = nRow == std::string::npos ? nRow : sText.find('\n', nRow + 1);
    const size_t nPoses = nDetails == std::string::npos ? nDetails : sText.find('\n', nDetails + 1);
    if (nPoses == std::string::npos)
        return false;
    clip = {sText.substr(0, nRow), sText.substr(nRow + 1, nDetails - nRow - 1),
            sText.substr(nDetails + 1, nPoses - nDetails - 1), sText.substr(nPoses + 1)};
    return true;
}

std::string FailedRow(const std::string& sId, const std::string& sPlatform, const std::string& sError)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", sId);
    json.TextField("platform", sPlatform);
    json.TextField("name", NameOfId(sId));
    json.TextField("error", sError);
    json.Close('}');
    return json.Take();
}

} // namespace Host
