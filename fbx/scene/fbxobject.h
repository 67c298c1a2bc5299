#pragma once

#include "fbx/scene/fbxmanager.h"
#include "fbx/scene/fbxproperty.h"

#include <cstddef>
#include <cstdint>
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

/// What an object is made with; texts are copied.
struct SFbxIdentity
{
    std::string_view name = {};
    std::string_view type = {}; ///< the file's word for the kind of object
    const SFbxPropertyTemplate* pTemplate = nullptr;
    int64_t nId = 0;
};

/// Whatever has a name and properties in a scene. Owned by its scene.
class FbxObject
{
public:
    FbxObject(FbxScene* pScene, const SFbxIdentity& identity);
    virtual ~FbxObject();
    FbxObject(const FbxObject&) = delete;
    FbxObject& operator=(const FbxObject&) = delete;

    /// Without the class prefix of files; UTF-8.
    const char* GetName() const { return m_sName.c_str(); }
    FbxScene* GetScene() const { return m_pScene; }
    /// The file's word for the kind of object: "LimbNode", "Camera", "Null", "Mesh"; empty when it has none.
    const char* GetTypeText() const { return m_sTypeText.c_str(); }
    int64_t GetId() const { return m_nId; }
    const SFbxPropertyTemplate* GetTemplate() const { return m_pTemplate; }
    void SetTemplate(const SFbxPropertyTemplate* pTemplate) { m_pTemplate = pTemplate; }
    /// Index among the objects that the scene owns; -1 for the scene itself and its settings.
    int GetObjectIndex() const { return m_nObject; }

    /// Invalid when there is none. Properties that are written win over those of the class's template.
    FbxProperty FindProperty(std::string_view name, bool bCaseSensitive = true) const;
    /// Written properties in file order, then those that only the class's template has.
    size_t GetPropertyCount() const;
    FbxProperty GetProperty(size_t nIndex) const;
    /// The property of exactly this name, whatever its type; where the object has none, a new user property of the type
    /// with a value of zero, "" or the identity. Invalid for types that only files make: enumerations, times, blobs and
    /// the rarer widths.
    FbxProperty CreateProperty(std::string_view name, EFbxType eType);
    /// The property of this name as the object's own, to be set: a copy of the template's where only that has it; where
    /// there is none a new one of the type that files give this name, which one of another shape becomes too.
    FbxProperty OwnProperty(std::string_view name, std::string_view typeName);
    /// Behind those that were written before; names and texts in the scene's memory.
    void AddProperties(const SFbxPropertyData* pFirst, size_t nCount);
    /// Whether it was written for this object, whatever its template has.
    bool HasOwnProperty(std::string_view name) const;

    /// A property's animation, in whatever stacks and layers the curve node is.
    struct SCurveNodeLink
    {
        std::string_view property;
        FbxAnimCurveNode* pCurveNode;
    };
    /// In the order in which they were connected.
    const std::vector<SCurveNodeLink>& GetCurveNodes() const { return m_curveNodes; }
    void ConnectCurveNode(std::string_view property, FbxAnimCurveNode* pCurveNode);
    /// Whether any stack may animate the property.
    bool HasCurveNode(std::string_view property) const;
    void DisconnectCurveNodes(std::string_view property);
    /// The curve node of a link for this property alone, to be changed: a copy where it serves others as well.
    FbxAnimCurveNode& OwnCurveNode(size_t nLink);

private:
    friend class FbxProperty;
    friend class FbxScene;

    void MarkOverridden() const;
    SFbxPropertyData& EditProperty(std::string_view name, std::string_view typeName);

    [[no_unique_address]] SFbxLiveCount m_live;
    FbxScene* m_pScene;
    std::string m_sName;
    std::string m_sTypeText;
    int64_t m_nId;
    int m_nObject = -1;
    const SFbxPropertyTemplate* m_pTemplate;
    std::vector<SFbxPropertyData> m_properties;
    std::vector<SCurveNodeLink> m_curveNodes;
    mutable std::vector<uint64_t> m_overridden; ///< a bit for each property of the template
    mutable size_t m_nTemplateOnly = 0;
    mutable bool m_bMarked = false;
};
