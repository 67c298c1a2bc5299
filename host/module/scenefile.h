#pragma once

#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxscene.h"

#include <memory>
#include <string>

namespace Host
{

/// One scene file as the pipeline sees it: read, turned to the pipeline's axes, of the old layout rewritten.
class ZSceneFile
{
public:
    ZSceneFile();

    struct SPlace
    {
        std::string sModule; ///< path of the module, which rewrites the old layout
        std::string sAssets; ///< folder of the asset tree
        std::string sSource; ///< the word for the file: a path or an identifier
    };
    /// False with Error(). pStack is a name: that stack becomes the current one, and of a scene of the old layout the
    /// file's own stacks are kept if it is one of these.
    bool Load(const SPlace& place, const std::string* pStack);
    const std::string& Error() const { return m_sError; }

    FbxScene& Scene() const { return *m_pScene; }
    const FbxImporter& Importer() const { return *m_pImporter; }
    /// The file's own axes, before they were turned.
    const FbxAxisSystem& OriginalAxes() const { return m_originalAxes; }

private:
    FbxManagerPtr m_pManager;
    FbxScene* m_pScene;
    FbxImporter* m_pImporter;
    FbxAxisSystem m_originalAxes;
    std::string m_sError;
};

} // namespace Host
