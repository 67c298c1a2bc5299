#include "host/marking/marking.h"

#include "fbx/file/fbxobjectname.h"
#include "host/text/jsonwriter.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace Host
{

namespace
{

class ZMarker
{
public:
    ZMarker(FbxDocument& document, std::vector<std::string>& warnings)
        : m_document(document), m_edit(document), m_warnings(warnings)
    {
    }

    void ChooseStack(const std::string& sName)
    {
        const std::vector<std::string> names = m_edit.StackNames();
        if (std::find(names.begin(), names.end(), sName) == names.end())
            throw ZMarksError(NoSuchStack(sName, names));
        m_edit.SetCurrentStack(sName);
    }

    void Mark(const SNodeMarks& marks)
    {
        const std::string sPlace = "/nodes" + JsonStep(marks.sNode);
        SFbxRecord& node = NodeOf(marks.sNode, sPlace);
        for (const SPropertyMark& mark : marks.properties)
        {
            if (!mark.bRemove)
                m_edit.SetProperty(node, mark.sName, mark.type, mark.label, mark.sFlags, ValuesOf(mark));
            else if (!m_edit.RemoveProperty(node, mark.sName))
                m_warnings.push_back(sPlace + JsonStep(mark.sName) + ": '" + marks.sNode +
                                     "' has no such property to remove");
        }
    }

    void AddTake(const STakeMark& take)
    {
        const std::string sPlace = "/takes/" + std::to_string(take.nIndex);
        SFbxRecord& ground = NodeOf(take.sGround, sPlace + "/ground");
        if (!IsGround(ground))
            m_warnings.push_back(sPlace + "/ground: '" + take.sGround +
                                 "' is no ground, so its takes are not found: it is no camera, and neither "
                                 "IsGroundRoot nor IsAttachRoot is true on it");
        for (const std::string& sBone : take.partialList)
            if (m_edit.FindNode(sBone) == nullptr)
                m_warnings.push_back(sPlace + "/partialList: there is no node '" + sBone + "'" + Suggestion(sBone));

        SFbxRecord& node = TakeNode(take, ground, sPlace);
        SPropertyMark flag{"IsTakeNode", false, "bool", "", "U", 'I', {1.0}, {}};
        m_edit.SetProperty(node, flag.sName, flag.type, flag.label, flag.sFlags, ValuesOf(flag));
        m_edit.SetProperty(node, "TakeData", "KString", "", "U", {m_document.Text(DataOf(take))});
        m_edit.RemoveProperty(node, "TakeSequenceOrigin");
        if (!take.sequenceOrigin.empty())
        {
            flag.letter = 'D';
            flag.numbers = take.sequenceOrigin;
            m_edit.SetProperty(node, "TakeSequenceOrigin", "matrix4x4", "", "U", ValuesOf(flag));
        }
    }

    void CheckGrounds(const SMarks& marks)
    {
        for (const SNodeMarks& node : marks.nodes)
        {
            const SFbxRecord& record = *m_edit.FindNode(node.sNode);
            if (m_edit.IsTrue(record, "IsGroundRoot") && !m_edit.IsTrue(record, "IsRig") &&
                m_edit.FindProperty(record, "RigResource") == nullptr)
                m_warnings.push_back("/nodes" + JsonStep(node.sNode) + ": '" + node.sNode +
                                     "' is a ground root that is no rig, and names none in RigResource: the file will "
                                     "be refused");
        }
    }

    void Finish() { m_edit.Finish(); }

private:
    std::string Suggestion(const std::string& sName) const
    {
        const std::string sNear = m_edit.NearestNode(sName);
        return sNear.empty() ? std::string() : "; did you mean '" + sNear + "'?";
    }

    SFbxRecord& NodeOf(const std::string& sName, const std::string& sPlace)
    {
        SFbxRecord* pNode = m_edit.FindNode(sName);
        if (pNode == nullptr)
            throw ZMarksError(sPlace + ": there is no node '" + sName + "'" + Suggestion(sName));
        if (const size_t nCount = m_edit.CountNodes(sName); nCount > 1)
            m_warnings.push_back(sPlace + ": there are " + std::to_string(nCount) + " nodes '" + sName +
                                 "'; the first one is marked");
        return *pNode;
    }

    std::vector<SFbxValue> ValuesOf(const SPropertyMark& mark)
    {
        std::vector<SFbxValue> values;
        if (mark.letter == 'S')
            values.push_back(m_document.Text(mark.sText));
        for (const double f : mark.numbers)
            values.push_back(mark.letter == 'I' ? FbxDocument::Int(static_cast<int32_t>(f)) : FbxDocument::Double(f));
        return values;
    }

    bool IsGround(const SFbxRecord& node) const
    {
        return m_edit.KindOf(node) == "Camera" || m_edit.IsTrue(node, "IsGroundRoot") ||
               m_edit.IsTrue(node, "IsAttachRoot");
    }

    /// A take node is later taken out of the scene by its name, so no other node may bear it.
    SFbxRecord& TakeNode(const STakeMark& take, SFbxRecord& ground, const std::string& sPlace)
    {
        const std::string sName = take.sNode.empty() ? "TAKE_" + take.sName : take.sNode;
        for (SFbxRecord* pChild : m_edit.Children(ground))
            if (m_edit.NameOf(*pChild) == sName && m_edit.FindProperty(*pChild, "IsTakeNode") != nullptr &&
                m_edit.CountNodes(sName) == 1)
                return *pChild;
        if (m_edit.FindNode(sName) != nullptr)
            throw ZMarksError(sPlace + "/node: there is a node '" + sName +
                              "' already; give the take's node another name");
        return *m_edit.AddNull(ground, sName);
    }

    static std::string DataOf(const STakeMark& take)
    {
        ZJsonWriter json;
        json.Open('{');
        json.TextField("name", take.sName);
        json.IntegerField("startFrame", take.startFrame.value());
        json.IntegerField("endFrame", take.endFrame.value());
        json.Key("partialList");
        json.Open('[');
        for (const std::string& sBone : take.partialList)
            json.Text(sBone);
        json.Close(']');
        json.Close('}');
        return json.Take();
    }

    FbxDocument& m_document;
    FbxDocumentEdit m_edit;
    std::vector<std::string>& m_warnings;
};

/// Takes lose the namespaces of their bones and rigs keep them: without any, the two meet.
void StripNamespaces(FbxDocument& document, std::vector<std::string>& warnings)
{
    if (document.GetVersion() < 7000)
        throw ZMarksError("/stripNamespaces: files before version 7 tell their nodes apart by these names");
    std::set<std::string> names;
    std::set<std::string> twice;
    const SFbxRecord* pObjects = document.Root().Find("Objects");
    for (SFbxRecord* p = pObjects ? pObjects->pChild : nullptr; p; p = p->pNext)
    {
        if (!p->Is("Model"))
            continue;
        const std::string sName(FbxSplitName(p->Text(1)).name);
        const std::string sBare = sName.substr(sName.rfind(':') + 1);
        if (!names.insert(sBare).second)
            twice.insert(sBare);
        if (sBare == sName)
            continue;
        std::vector<SFbxValue> values(p->pValues, p->pValues + p->nValues);
        values[1] = document.Name(sBare, "Model");
        document.SetValues(*p, values);
    }
    for (const std::string& sName : twice)
        warnings.push_back("/stripNamespaces: there are several nodes '" + sName + "' now");
}

} // namespace

void ApplyMarks(const SMarks& marks, FbxDocument& document, std::vector<std::string>& warnings)
{
    warnings = marks.warnings;
    if (marks.bStripNamespaces)
        StripNamespaces(document, warnings);
    ZMarker marker(document, warnings);
    ZMarksFaults faults;
    if (!marks.sStack.empty())
        faults.Try([&] { marker.ChooseStack(marks.sStack); });
    for (const SNodeMarks& node : marks.nodes)
        faults.Try([&] { marker.Mark(node); });
    for (const STakeMark& take : marks.takes)
        faults.Try([&] { marker.AddTake(take); });
    faults.Finish();
    marker.CheckGrounds(marks);
    marker.Finish();
}

} // namespace Host
