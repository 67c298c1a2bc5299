#pragma once

#include "fbx/fbxmanager.h"
#include "fbx/fbxproperty.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class FbxScene;
class FbxAnimCurveNode;

/// Default properties of all objects of one class: what a file's definitions say, completed by what the class has
/// in any case. Shared by the objects, never changed after loading.
struct SFbxPropertyTemplate
{
    std::vector<SFbxPropertyData> properties;
};

/// Whatever has a name and properties in a scene. Owned by its scene.
class FbxObject
{
public:
    virtual ~FbxObject();
    FbxObject(const FbxObject&) = delete;
    FbxObject& operator=(const FbxObject&) = delete;

    /// Without the class prefix of files; UTF-8.
    const char* GetName() const { return m_sName.c_str(); }
    FbxScene* GetScene() const { return m_pScene; }
    /// The file's word for the kind of object: "LimbNode", "Camera", "Null", "Mesh"; empty when it has none.
    const char* GetTypeText() const { return m_sTypeText.c_str(); }
    int64_t GetId() const { return m_nId; }

    /// Invalid when there is none. Properties that are written win over those of the class's template.
    FbxProperty FindProperty(std::string_view name, bool bCaseSensitive = true) const;
    /// Written properties in file order, then those that only the class's template has.
    size_t GetPropertyCount() const;
    FbxProperty GetProperty(size_t nIndex) const;

protected:
    explicit FbxObject(FbxScene* pScene);

private:
    friend class FbxProperty;
    friend class FbxAnimEvaluator;
    friend struct FbxAccess;

    struct SCurveNodeLink
    {
        std::string_view property;
        FbxAnimCurveNode* pCurveNode;
    };

    void ListTemplateProperties() const;
    SFbxPropertyData& EditProperty(std::string_view name, EFbxType eType, std::string_view typeName);

    [[no_unique_address]] SFbxLiveCount m_live;
    FbxScene* m_pScene;
    std::string m_sName;
    std::string m_sTypeText;
    int64_t m_nId = 0;
    const SFbxPropertyTemplate* m_pTemplate = nullptr;
    std::vector<SFbxPropertyData> m_properties;
    std::vector<SCurveNodeLink> m_curveNodes; ///< in file order, over all stacks
    mutable std::vector<uint32_t> m_templateOnly;
    mutable bool m_bTemplateListed = false;
};
