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

    struct SChannel
    {
        const FbxAnimCurve* pCurve = nullptr;
        double fDefault = 0.0;
        double fFactor = 1.0; ///< on the curve's values: -1 where the axis conversion turned it about
        bool bHasDefault = false;

        /// A curve without keys is none.
        bool IsAnimated() const;
    };

    /// One more than the last that was set.
    size_t GetChannelCount() const { return m_nChannels; }
    /// Of a channel that was not set: no curve, and no value of its own. nChannel is below kMaxChannels.
    const SChannel& GetChannel(size_t nChannel) const { return m_channels[nChannel]; }
    void SetChannel(size_t nChannel, const SChannel& channel);
    /// Null when the channel has no curve.
    const FbxAnimCurve* GetCurve(size_t nChannel) const { return m_channels[nChannel].pCurve; }

    /// True when a curve of it has keys.
    bool IsAnimated() const;
    /// First and last key over all channels; false when there are no keys.
    bool GetAnimationInterval(FbxTimeSpan& span) const;

    /// A layer may hold the node with others: a curve node that serves two takes is in a layer of each.
    bool IsInLayer(const FbxAnimLayer* pLayer) const;
    const std::vector<const FbxAnimLayer*>& GetLayers() const { return m_layers; }
    void ConnectLayer(const FbxAnimLayer* pLayer);

private:
    friend class FbxObject;

    std::array<SChannel, kMaxChannels> m_channels;
    size_t m_nChannels = 0;
    uint32_t m_nProperties = 0; ///< that it is connected to
    std::vector<const FbxAnimLayer*> m_layers;
};

/// How a layer joins those below it.
enum class EFbxBlendMode : int
{
    eAdditive = 0,
    eOverride = 1,
    eOverridePassthrough = 2
};

struct SFbxLayerSettings
{
    double fWeight = 100.0; ///< 0 to 100
    EFbxBlendMode eBlendMode = EFbxBlendMode::eAdditive;
    bool bMixesRotations = true; ///< angles mix as the rotations they make; else channel by channel
    bool bMixesScales = true;    ///< scales mix as factors; else channel by channel
    bool bMute = false;
    bool bSolo = false;
};

class FbxAnimLayer : public FbxObject
{
public:
    using FbxObject::FbxObject;

    const SFbxLayerSettings& GetSettings() const { return m_settings; }
    void SetSettings(const SFbxLayerSettings& settings);

private:
    SFbxLayerSettings m_settings;
};

/// One animation of a scene: its layers, lowest first.
class FbxAnimStack : public FbxObject
{
public:
    using FbxObject::FbxObject;

    /// A stack without layers that the scene owns and does not list: see FbxScene::ConnectAnimStack.
    static FbxAnimStack* Create(FbxScene* pScene, std::string_view name);

    size_t GetLayerCount() const { return m_layers.size(); }
    FbxAnimLayer* GetLayer(size_t nIndex) const { return m_layers[nIndex]; }
    /// Above the layers that it has. A layer of another stack is shared with that one.
    void ConnectLayer(FbxAnimLayer* pLayer);
    FbxTimeSpan GetLocalTimeSpan() const { return m_span; }
    void SetLocalTimeSpan(const FbxTimeSpan& span) { m_span = span; }

private:
    friend class FbxScene;

    std::vector<FbxAnimLayer*> m_layers;
    FbxTimeSpan m_span;
    bool m_bListed = false; ///< among the scene's stacks
};
