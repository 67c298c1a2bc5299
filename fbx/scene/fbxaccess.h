#pragma once

#include "fbx/scene/fbxcamera.h"
#include "fbx/scene/fbxcurve.h"
#include "fbx/scene/fbxscene.h"

#include <deque>
#include <memory>
#include <vector>

/// What a scene owns.
struct FbxScene::SStorage
{
    FbxArena arena; ///< names, texts, curves and keys
    std::vector<std::unique_ptr<FbxObject>> objects;
    std::deque<FbxAnimCurveNode> curveNodes;
    std::deque<SFbxPropertyTemplate> templates;
    uint32_t nTimelines = 0;
};

/// The door through which the library's own parts reach the insides of scene objects.
struct FbxAccess
{
    static FbxArena& Arena(FbxScene& scene) { return scene.m_pStorage->arena; }
    static FbxScene::SStorage& Storage(FbxScene& scene) { return *scene.m_pStorage; }
    static std::vector<FbxNode*>& Nodes(FbxScene& scene) { return scene.m_nodes; }
    static std::vector<FbxAnimStack*>& Stacks(FbxScene& scene) { return scene.m_stacks; }

    static void SetName(FbxObject& object, std::string_view name) { object.m_sName = name; }
    static void SetTypeText(FbxObject& object, std::string_view text) { object.m_sTypeText = text; }
    static void SetId(FbxObject& object, int64_t nId) { object.m_nId = nId; }
    static void SetTemplate(FbxObject& object, const SFbxPropertyTemplate* p) { object.m_pTemplate = p; }
    static const SFbxPropertyTemplate* Template(const FbxObject& object) { return object.m_pTemplate; }
    static std::vector<SFbxPropertyData>& Properties(FbxObject& object) { return object.m_properties; }
    static SFbxPropertyData& Edit(FbxObject& object, std::string_view name, EFbxType eType, std::string_view typeName)
    {
        return object.EditProperty(name, eType, typeName);
    }
    using SCurveNodeLink = FbxObject::SCurveNodeLink;
    static std::vector<SCurveNodeLink>& CurveNodes(FbxObject& object) { return object.m_curveNodes; }

    static FbxNode*& Parent(FbxNode& node) { return node.m_pParent; }
    static std::vector<FbxNode*>& Children(FbxNode& node) { return node.m_children; }
    static std::vector<FbxObject*>& Attributes(FbxNode& node) { return node.m_attributes; }
    static int& Index(FbxNode& node) { return node.m_nIndex; }

    using SChannel = FbxAnimCurveNode::SChannel;
    static std::array<SChannel, FbxAnimCurveNode::kMaxChannels>& Channels(FbxAnimCurveNode& node)
    {
        return node.m_channels;
    }
    static size_t& ChannelCount(FbxAnimCurveNode& node) { return node.m_nChannels; }
    static uint32_t& Links(FbxAnimCurveNode& node) { return node.m_nLinks; }
    static std::vector<FbxAnimLayer*>& Layers(FbxAnimCurveNode& node) { return node.m_layers; }

    static std::vector<FbxAnimLayer*>& Layers(FbxAnimStack& stack) { return stack.m_layers; }
    static FbxTimeSpan& Span(FbxAnimStack& stack) { return stack.m_span; }

    static void SetLayer(FbxAnimLayer& layer, double fWeight, int nBlendMode, int nRotationMode, int nScaleMode,
                         bool bMute, bool bSolo)
    {
        layer.m_fWeight = fWeight;
        layer.m_eBlendMode = nBlendMode == 1   ? EFbxBlendMode::eOverride
                             : nBlendMode == 2 ? EFbxBlendMode::eOverridePassthrough
                                               : EFbxBlendMode::eAdditive;
        layer.m_nRotationMode = nRotationMode;
        layer.m_nScaleMode = nScaleMode;
        layer.m_bMute = bMute;
        layer.m_bSolo = bSolo;
    }
    static void SetSettings(FbxGlobalSettings& settings, int nTimeMode, double fCustomFrameRate,
                            double fUnitScaleFactor)
    {
        settings.m_nTimeMode = nTimeMode;
        settings.m_fCustomFrameRate = fCustomFrameRate;
        settings.m_fUnitScaleFactor = fUnitScaleFactor;
    }
};
