#include "host/adopt/sourcelook.h"

#include "host/adopt/scalenotes.h"

#include <algorithm>
#include <filesystem>
#include <new>

namespace Host
{

namespace
{

std::string Listed(const std::vector<std::string>& names)
{
    std::string sText;
    for (size_t n = 0; n < std::min<size_t>(names.size(), 5); ++n)
        sText += (n != 0 ? ", '" : "'") + names[n] + "'";
    return names.size() > 5 ? sText + " and " + std::to_string(names.size() - 5) + " more" : sText;
}

void LookAtStacks(const ZSourceScene& source, const std::vector<SStackMotion>& stacks, const SSkeleton& skeleton,
                  size_t nFound, SSourceFile& file)
{
    for (size_t n = 0; n < stacks.size(); ++n)
        for (const SSkeletonBone& bone : skeleton.bones)
        {
            for (const FbxNode* p = source.Scene().GetNode(static_cast<size_t>(bone.nNode)); p; p = p->GetParent())
                if (stacks[n].hasKeys[static_cast<size_t>(p->GetIndex())])
                    file.stacks[n].animated.insert(nFound);
            if (stacks[n].moves[static_cast<size_t>(bone.nNode)])
                file.stacks[n].moving.insert(nFound);
        }
}

/// What else of the bones moves in a stack: user properties, lenses, visibility.
std::vector<std::string> LostProperties(const ZSourceScene& source, const std::set<int>& bones)
{
    std::vector<std::string> lost;
    for (const int nBone : bones)
    {
        const FbxNode& node = *source.Scene().GetNode(static_cast<size_t>(nBone));
        std::vector<const FbxObject*> objects{&node};
        for (size_t n = 0; n < node.GetNodeAttributeCount(); ++n)
            objects.push_back(node.GetNodeAttribute(n));
        std::set<std::string_view> names;
        for (const FbxObject* pObject : objects)
            for (const FbxObject::SCurveNodeLink& link : pObject->GetCurveNodes())
                if (!link.property.starts_with("Lcl ") && link.pCurveNode->IsAnimated())
                    names.insert(link.property);
        for (const std::string_view name : names)
            lost.push_back(std::string(name) + " of " + node.GetName());
    }
    return lost;
}

std::vector<SMessage> NotesOf(const ZSourceScene& source, const std::vector<SStackMotion>& stacks,
                              const std::vector<SSkeleton>& skeletons, const SSourceFile& file)
{
    std::vector<SMessage> messages;
    std::vector<std::string> idle;
    for (const SSourceFile::SStack& stack : file.stacks)
        if (stack.animated.empty())
            idle.push_back(stack.sName);
    if (!idle.empty())
        messages.push_back({ESeverity::eInfo, "left out, with no keys for a bone: the stack" +
                                                  std::string(idle.size() > 1 ? "s " : " ") + Listed(idle)});
    if (const std::vector<std::string> left = LeftBehind(source, stacks, skeletons); !left.empty())
        messages.push_back(
            {ESeverity::eWarning,
             std::to_string(left.size()) + (left.size() == 1 ? " node that moves belongs" : " nodes that move belong") +
                 (left.size() == 1 ? " to no skeleton and is left out: " : " to no skeleton and are left out: ") +
                 Listed(left)});
    std::set<int> bones;
    for (const SSkeleton& skeleton : skeletons)
        for (const SSkeletonBone& bone : skeleton.bones)
            bones.insert(bone.nNode);
    if (const std::vector<std::string> lost = LostProperties(source, bones); !lost.empty())
        messages.push_back(
            {std::all_of(lost.begin(), lost.end(), [](const std::string& s) { return s.starts_with("Visibility "); })
                 ? ESeverity::eInfo
                 : ESeverity::eWarning,
             "left out, since only places and directions are carried over: " + std::to_string(lost.size()) +
                 " animated propert" + (lost.size() == 1 ? "y: " : "ies: ") + Listed(lost)});
    for (const ZSourceScene::SConstraint& constraint : source.Constraints())
    {
        std::vector<std::string> unbaked;
        for (const int nNode : constraint.nodes)
            if (bones.contains(nNode) && !AnyHasKeys(stacks, nNode))
                unbaked.emplace_back(source.Scene().GetNode(static_cast<size_t>(nNode))->GetName());
        if (!unbaked.empty())
            messages.push_back({ESeverity::eWarning, "the constraint '" + constraint.sName + "' (" + constraint.sKind +
                                                         ") was not baked: without it " + Listed(unbaked) +
                                                         " keeps still"});
    }
    return messages;
}

} // namespace

SSourceFile LookAtSource(const std::string& sPath, size_t nFile, std::vector<SFoundSkeleton>& found)
{
    SSourceFile file;
    try
    {
        ZSourceScene source;
        if (!source.Load(sPath))
            throw ZRefusal(source.Error());
        file.fUnit = source.Unit();
        file.fFrameRate = FbxFrameRateOf(source.Scene());
        const std::vector<SStackMotion> stacks = MotionOf(source);
        const std::vector<SSkeleton> skeletons = FindSkeletons(source, stacks);
        if (skeletons.empty())
            throw ZRefusal("nothing in it can be a rig: it has no bones, and no node moves");
        for (const SStackMotion& motion : stacks)
            file.stacks.push_back({motion.sName, motion.frames, {}, {}});
        for (const SSkeleton& skeleton : skeletons)
        {
            const size_t nFound = found.size();
            found.push_back({nFile, std::filesystem::path(sPath).filename().string(), false, skeleton});
            for (const SMessage& message : ScaleNotes(source, stacks, skeleton))
                found.back().skeleton.messages.push_back(message);
            LookAtStacks(source, stacks, skeleton, nFound, file);
        }
        file.messages = NotesOf(source, stacks, skeletons, file);
    }
    catch (const ZRefusal& e)
    {
        file.sError = e.what();
    }
    catch (const std::bad_alloc&)
    {
        file.sError = "there is not enough memory for this file";
    }
    return file;
}

} // namespace Host
