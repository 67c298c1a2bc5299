#pragma once

#include "fbx/load/fbxfiletime.h"
#include "fbx/scene/fbxscene.h"

#include <map>
#include <string_view>

/// Default properties of objects by class: what the file's definitions say, completed by what objects of the class
/// have in any case. Made in the scene when first asked for.
class FbxClassTemplates
{
public:
    explicit FbxClassTemplates(FbxScene& scene) : m_scene(scene) {}

    /// The definitions of files from version 7 on; of equal classes the first counts.
    void Read(const SFbxRecord& root, const FbxFileTime& fileTime);

    /// By the definitions' names: "FbxNode", "FbxCamera", "FbxAnimLayer".
    const SFbxPropertyTemplate* Of(std::string_view name);

private:
    struct SClass
    {
        const SFbxRecord* pProperties = nullptr;
        const SFbxPropertyTemplate* pTemplate = nullptr;
    };
    const SFbxPropertyTemplate* Make(std::string_view name, const SFbxRecord* pProperties);

    FbxScene& m_scene;
    FbxFileTime m_fileTime;
    std::map<std::string_view, SClass> m_classes; ///< of the file
    SClass m_plain[3];                            ///< of classes that the file has none for: node, camera, others
};
