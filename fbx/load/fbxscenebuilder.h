#pragma once

#include "fbx/file/fbxobjectname.h"
#include "fbx/file/fbxrecord.h"
#include "fbx/load/fbxarrays.h"
#include "fbx/load/fbxclasstemplates.h"

#include <string>
#include <string_view>
#include <vector>

/// Makes the objects of a scene, whatever layout the file has them in.
class FbxSceneBuilder
{
public:
    FbxSceneBuilder(FbxScene& scene, const SFbxRecordTree& tree, size_t nFileBytes, std::string& sError);

    FbxScene& Scene() { return m_scene; }
    FbxArena& Arena() { return m_scene.GetMemory(); }
    FbxArrayReader& Arrays() { return m_arrays; }
    /// False, with a text, when the file makes more objects than its size can hold: an honest one spends more than
    /// kBytesPerObject bytes on each.
    bool HasRoom();
    bool Fail(std::string sWhat)
    {
        m_sError = std::move(sWhat);
        return false;
    }

    /// Made and listed, but not made the current one.
    FbxAnimStack* AddStack(const SFbxIdentity& identity);

    FbxClassTemplates& Templates() { return m_templates; }
    const FbxFileTime& FileTime() const { return m_fileTime; }

    void ReadProperties(FbxObject& object, const SFbxRecord& properties, bool bLabel);
    /// Valid until the next call.
    std::vector<SFbxPropertyData>& ParseProperties(const SFbxRecord& properties, bool bLabel);

    /// Sets a layer as its properties tell.
    void ReadLayer(FbxAnimLayer& layer);
    /// Reads axes, time mode and unit from the settings' properties.
    void ReadSettings();
    /// Nodes that nothing has connected go below the root. False when a node is its own ancestor.
    bool FinishTree();
    /// Picks the current stack.
    void FinishStacks(std::string_view activeName);

private:
    static constexpr size_t kBytesPerObject = 32;
    static constexpr size_t kObjectsOfAnyFile = 1000;

    FbxScene& m_scene;
    size_t m_nMaxObjects;
    std::string& m_sError;
    FbxFileTime m_fileTime;
    FbxClassTemplates m_templates;
    FbxArrayReader m_arrays;
    std::vector<SFbxPropertyData> m_parsed;
};

/// Cameras that editors put into files for their own views; they are no part of the scene.
bool FbxIsEditorCamera(std::string_view name);

bool FbxLoadScene7(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation);
bool FbxLoadScene6(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation);
