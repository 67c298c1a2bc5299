#pragma once

#include "fbx/scene/fbxobject.h"
#include "fbx/scene/fbxtime.h"

#include <array>
#include <cstdint>
#include <vector>

class FbxAnimCurve;
class FbxAnimLayer;

/// The animation of one property in one layer: up to four channels, each with a curve or a fixed value.
class FbxAnimCurveNode
{
public:
    static constexpr size_t kMaxChannels = 4;
    static constexpr size_t kMaxLayers = 16; ///< further connections of one node to layers are left out

    size_t GetChannelCount() const { return m_nChannels; }
    /// Null when the channel has no curve.
    const FbxAnimCurve* GetCurve(size_t nChannel) const { return m_channels[nChannel].pCurve; }

    /// True when a curve of it has keys.
    bool IsAnimated() const;
    /// First and last key over all channels; false when there are no keys.
    bool GetAnimationInterval(FbxTimeSpan& span) const;

    /// A layer may hold the node with others: a curve node that serves two takes is in a layer of each.
    bool IsInLayer(const FbxAnimLayer* pLayer) const;

private:
    friend class FbxAnimEvaluator;
    friend struct FbxAccess;

    struct SChannel
    {
        const FbxAnimCurve* pCurve = nullptr;
        double fDefault = 0.0;
        double fFactor = 1.0; ///< on the curve's values: -1 where the axis conversion turned it about
        bool bHasDefault = false;
    };

    std::array<SChannel, kMaxChannels> m_channels;
    size_t m_nChannels = 0;
    uint32_t m_nLinks = 0; ///< properties that it is connected to
    std::vector<FbxAnimLayer*> m_layers;
};

/// How a layer joins those below it.
enum class EFbxBlendMode : int
{
    eAdditive = 0,
    eOverride = 1,
    eOverridePassthrough = 2
};

class FbxAnimLayer : public FbxObject
{
public:
    explicit FbxAnimLayer(FbxScene* pScene) : FbxObject(pScene) {}

    double GetWeight() const { return m_fWeight; } ///< 0 to 100
    EFbxBlendMode GetBlendMode() const { return m_eBlendMode; }
    bool GetMute() const { return m_bMute; }
    bool GetSolo() const { return m_bSolo; }

private:
    friend class FbxAnimEvaluator;
    friend struct FbxAccess;

    double m_fWeight = 100.0;
    EFbxBlendMode m_eBlendMode = EFbxBlendMode::eAdditive;
    int m_nRotationMode = 0; ///< rotations add up 0 by layer (as rotations), 1 by channel
    int m_nScaleMode = 0;    ///< scales 0 multiply, 1 add
    bool m_bMute = false;
    bool m_bSolo = false;
    int m_nPlace = -1; ///< in the current stack, as the evaluator sees it; -1 when it does not count
};

/// One animation of a scene: its layers, lowest first.
class FbxAnimStack : public FbxObject
{
public:
    explicit FbxAnimStack(FbxScene* pScene) : FbxObject(pScene) {}

    /// A stack without layers that the scene owns and does not list: see FbxScene::ConnectAnimStack.
    static FbxAnimStack* Create(FbxScene* pScene, std::string_view name);

    size_t GetLayerCount() const { return m_layers.size(); }
    FbxAnimLayer* GetLayer(size_t nIndex) const { return m_layers[nIndex]; }
    /// Above the layers that it has. A layer of another stack is shared with that one.
    void ConnectLayer(FbxAnimLayer* pLayer);
    FbxTimeSpan GetLocalTimeSpan() const { return m_span; }
    void SetLocalTimeSpan(const FbxTimeSpan& span) { m_span = span; }

private:
    friend class FbxAnimEvaluator;
    friend struct FbxAccess;

    std::vector<FbxAnimLayer*> m_layers;
    FbxTimeSpan m_span;
};
