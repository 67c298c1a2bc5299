#pragma once

#include "fbx/scene/fbxmanager.h"
#include "fbx/scene/fbxproperty.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
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
    /// The property of exactly this name, whatever its type; where the object has none, a new user property of the type
    /// with a value of zero, "" or the identity. Invalid for types that only files make: enumerations, times, blobs and
    /// the rarer widths.
    FbxProperty CreateProperty(std::string_view name, EFbxType eType);

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

    /// A curve node that the current stack uses for a property, in the layer of that place in the stack.
    struct SActiveLink
    {
        std::string_view property;
        uint32_t nLayer;
        FbxAnimCurveNode* pCurveNode;
    };

    void MarkOverridden() const;
    /// Those of one property, lowest layer first; an empty range where it is not animated.
    std::pair<const SActiveLink*, const SActiveLink*> ActiveLinks(std::string_view property) const;
    SFbxPropertyData& EditProperty(std::string_view name, EFbxType eType, std::string_view typeName);

    [[no_unique_address]] SFbxLiveCount m_live;
    FbxScene* m_pScene;
    std::string m_sName;
    std::string m_sTypeText;
    int64_t m_nId = 0;
    const SFbxPropertyTemplate* m_pTemplate = nullptr;
    std::vector<SFbxPropertyData> m_properties;
    std::vector<SCurveNodeLink> m_curveNodes;   ///< in file order, over all stacks
    std::vector<SActiveLink> m_activeLinks;     ///< by property, then layer; made by the evaluator
    mutable std::vector<uint64_t> m_overridden; ///< a bit for each property of the template
    mutable size_t m_nTemplateOnly = 0;
    mutable bool m_bMarked = false;
};
