#pragma once

#include "fbx/file/fbxdocument.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// The objects of a document, to be marked: user properties set, nodes added. Touches nothing else; what is added
/// stands behind what is there. Files of version 6 name their objects where later ones number them, and have no
/// attributes.
class FbxDocumentEdit
{
public:
    explicit FbxDocumentEdit(FbxDocument& document);

    /// The first node of exactly this name; null when there is none.
    SFbxRecord* FindNode(std::string_view name) const;
    size_t CountNodes(std::string_view name) const;
    /// The name of a node that somebody may have meant: the same but for case and namespace, or a few letters apart.
    /// Empty when none is near.
    std::string NearestNode(std::string_view name) const;
    /// Children of a node, in the order of the connections.
    std::vector<SFbxRecord*> Children(const SFbxRecord& node) const;

    std::string NameOf(const SFbxRecord& node) const;
    /// "Null", "LimbNode", "Camera": the word of the object.
    std::string_view KindOf(const SFbxRecord& node) const { return node.Text(m_bNamed ? 1 : 2); }

    /// The record of a property, case ignored as takes and grounds are looked up; null when there is none.
    const SFbxRecord* FindProperty(const SFbxRecord& object, std::string_view name) const;
    /// Whether it is there, and its first value is a number other than zero.
    bool IsTrue(const SFbxRecord& object, std::string_view name) const;
    /// Replaces a property of that name, or adds it. Type and label as files write them: "int", "Integer".
    void SetProperty(SFbxRecord& object, std::string_view name, std::string_view typeName, std::string_view label,
                     std::string_view flags, const std::vector<SFbxValue>& values);
    /// False when there was none.
    bool RemoveProperty(SFbxRecord& object, std::string_view name);

    /// A node without a transform, the last child of its parent, with an attribute as exporters give it.
    SFbxRecord* AddNull(SFbxRecord& parent, std::string_view name);

    /// Names of the anim stacks, or takes of old files, in file order.
    std::vector<std::string> StackNames() const;
    /// The stack that a reader plays when it is not told another.
    void SetCurrentStack(std::string_view name);

    /// Writes the numbers of objects into the definitions, when nodes were added.
    void Finish();

private:
    const char* PropertiesName() const { return m_bNamed ? "Properties60" : "Properties70"; }
    SFbxRecord* PropertiesOf(const SFbxRecord& object) const { return Find(object, PropertiesName()); }
    /// An object's number. In a file that has none the whole name stands for one.
    int64_t IdOf(const SFbxRecord& object) const { return m_bNamed ? IdOf(object.Text(0)) : object.Int(0); }
    int64_t IdOf(std::string_view wholeName) const;
    int64_t NewId();
    void Connect(const SFbxValue& source, const SFbxValue& target);
    SFbxRecord* NewNode(const SFbxValue* pId, std::string_view name);
    void CountUp(SFbxRecord& definitions, std::string_view type, int32_t nAdded);
    static SFbxRecord* Find(const SFbxRecord& parent, std::string_view name);
    SFbxRecord& Section(std::string_view name);
    SFbxRecord& Part(SFbxRecord& parent, std::string_view name, std::initializer_list<SFbxValue> values = {});

    FbxDocument& m_document;
    bool m_bNamed; ///< before version 7
    SFbxRecord& m_objectsRecord;
    SFbxRecord& m_connectionsRecord;
    FbxRecordList m_objects;
    FbxRecordList m_connections;
    std::vector<std::string> m_names; ///< of nodes, in file order
    std::unordered_map<std::string, std::vector<SFbxRecord*>> m_nodes;
    mutable std::unordered_map<std::string, int64_t> m_idsByName;
    std::unordered_map<int64_t, SFbxRecord*> m_nodesById;
    std::unordered_map<int64_t, std::vector<SFbxRecord*>> m_children;
    std::unordered_set<int64_t> m_ids;
    int64_t m_nNextId = 1000000;
    int32_t m_nAdded = 0;
};
