#pragma once

#include "fbx/file/fbxrecord.h"
#include "fbx/load/fbxarrays.h"
#include "fbx/scene/fbxaccess.h"

#include <string>
#include <string_view>

/// Makes the objects of a scene, whatever layout the file has them in.
class FbxSceneBuilder
{
public:
    FbxSceneBuilder(FbxScene& scene, const SFbxRecordTree& tree, size_t nFileBytes, std::string& sError);

    FbxScene& Scene() { return m_scene; }
    FbxArena& Arena() { return FbxAccess::Arena(m_scene); }
    FbxArrayReader& Arrays() { return m_arrays; }
    /// False, with a text, when the file makes more objects than its size can hold: an honest one spends more than
    /// kBytesPerObject bytes on each.
    bool HasRoom();
    bool Fail(std::string sWhat)
    {
        m_sError = std::move(sWhat);
        return false;
    }

    FbxNode* AddNode(std::string_view name, std::string_view type, const SFbxPropertyTemplate* pTemplate);
    FbxNodeAttribute* AddAttribute(std::string_view name, std::string_view type, const SFbxPropertyTemplate* pTemplate);
    FbxAnimStack* AddStack(std::string_view name, const SFbxPropertyTemplate* pTemplate);
    FbxAnimLayer* AddLayer(std::string_view name, const SFbxPropertyTemplate* pTemplate);
    FbxAnimCurveNode* AddCurveNode();

    /// A template that is the file's properties completed by what objects of the class have in any case.
    const SFbxPropertyTemplate* NodeTemplate(const SFbxRecord* pProperties, bool bLabel);
    const SFbxPropertyTemplate* CameraTemplate(const SFbxRecord* pProperties, bool bLabel);
    const SFbxPropertyTemplate* Template(const SFbxRecord* pProperties, bool bLabel);
    void ReadProperties(FbxObject& object, const SFbxRecord& properties, bool bLabel);

    /// The first parent counts: the tree stays a tree.
    void ConnectNode(FbxNode& child, FbxNode& parent);
    void ConnectAttribute(FbxObject& attribute, FbxNode& node);
    void ConnectLayer(FbxAnimLayer& layer, FbxAnimStack& stack);
    void ConnectCurveNode(FbxAnimCurveNode& curveNode, FbxAnimLayer& layer);
    void ConnectCurveNode(FbxAnimCurveNode& curveNode, FbxObject& object, std::string_view property);

    void SetSpan(FbxAnimStack& stack, int64_t nStart, int64_t nStop);
    void ReadLayer(FbxAnimLayer& layer);
    /// Reads axes, time mode and unit from the settings' properties.
    void ReadSettings();
    /// Nodes that nothing has connected go below the root. False when a node is its own ancestor.
    bool FinishTree();
    /// Picks the current stack.
    void FinishStacks(std::string_view activeName);

private:
    const SFbxPropertyTemplate* MakeTemplate(const SFbxRecord* pProperties, bool bLabel,
                                             const SFbxPropertyData* pBuiltIn, size_t nBuiltIn);

    static constexpr size_t kBytesPerObject = 32;
    static constexpr size_t kObjectsOfAnyFile = 1000;

    FbxScene& m_scene;
    size_t m_nMaxObjects;
    std::string& m_sError;
    FbxArrayReader m_arrays;
};

/// A file's name of an object, apart: "Model::Box" in text, "Box", 0, 1, "Model" in binary files.
struct SFbxObjectName
{
    std::string_view name;
    std::string_view className;
};
SFbxObjectName FbxSplitName(std::string_view text);

/// Cameras that editors put into files for their own views; they are no part of the scene.
bool FbxIsEditorCamera(std::string_view name);

/// Constant when there is no such record.
SFbxExtrapolation FbxReadExtrapolation(const SFbxRecord* pRecord);

bool FbxLoadScene7(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation);
bool FbxLoadScene6(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation);
