#pragma once

#include "fbx/load/fbxscenebuilder.h"

/// A node of files before version 7, with its attribute, which stands in the node's own record there.
struct SFbxOldModel
{
    FbxNode* pNode = nullptr;
    FbxNodeAttribute* pAttribute = nullptr;
    bool bStatic = false; ///< the record says where the node rests
};

/// The animation of files before version 7: channels below channels, by property and axis.
class FbxTakeChannels
{
public:
    FbxTakeChannels(FbxSceneBuilder& builder, int nFileVersion, bool bCurves)
        : m_builder(builder), m_nFileVersion(nFileVersion), m_bCurves(bCurves)
    {
    }

    /// All channels of a record, for a node that is told by them where it rests unless it knows. Without a layer that
    /// is all they do.
    bool Read(const SFbxRecord& owner, const SFbxOldModel& model, FbxAnimLayer* pLayer);

private:
    bool ReadProperty(const SFbxRecord& channel, std::string_view property, const SFbxOldModel& model,
                      FbxAnimLayer* pLayer);

    FbxSceneBuilder& m_builder;
    int m_nFileVersion;
    bool m_bCurves;
};
