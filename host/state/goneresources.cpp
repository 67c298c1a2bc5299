#include "host/state/goneresources.h"

#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"

#include <algorithm>
#include <iterator>

namespace Host
{

namespace
{

/// The source in the midst of a derived identifier.
ZResourceID InnermostSource(const std::string& sId)
{
    ZResourceID id = ToId(sId);
    while (id.IsDerived())
        id = id.GetSourceResourceID();
    return id;
}

bool IsBuilt(const ZResourceID& subResource)
{
    const std::string sKind = ToLower(subResource.GetExtension().View());
    const auto kinds = DerivedKinds();
    return std::any_of(kinds.begin(), kinds.end(),
                       [&sKind](const SDerivedKind& kind) { return !sKind.empty() && kind.builtFrom == sKind; });
}

bool IsGone(const ZAssetTree& tree, const SPresentSources& present, const std::string& sId)
{
    const ZResourceID source = InnermostSource(sId);
    const std::string sSource = ToLower(source.ToString().View());
    const std::string sFile = sSource.substr(0, sSource.find('?'));
    if (std::any_of(present.unreadableFolders.begin(), present.unreadableFolders.end(),
                    [&sFile](const std::string& sFolder) { return sFile.starts_with(sFolder); }))
        return false;
    if (!present.files.contains(sFile))
    {
        const ZAssetTree::SLookup& lookup = tree.Find(source);
        return lookup.eState == ZAssetTree::SLookup::eMissing ||
               (lookup.eState == ZAssetTree::SLookup::eFound && IsOthers(lookup.sPath));
    }
    return sFile.size() < sSource.size() && !present.unknown.contains(sFile) && IsBuilt(source) &&
           !present.subResources.contains(sSource);
}

/// What they were packed with, and what that was.
std::unordered_set<std::string> NeedsOf(ZBuildState& state, std::vector<std::string> ids)
{
    std::unordered_set<std::string> needs;
    while (!ids.empty())
    {
        const std::string sId = std::move(ids.back());
        ids.pop_back();
        for (const std::string& sNeed : state.NeedsOf(sId))
            if (needs.insert(sNeed).second)
                ids.push_back(sNeed);
    }
    return needs;
}

} // namespace

std::vector<SBuildRecord> FindGone(ZBuildState& state, const ZAssetTree& tree,
                                   const std::function<SPresentSources()>& look, const std::vector<SJob>& made)
{
    std::unordered_set<std::string_view> kept;
    for (const SJob& job : made)
        kept.insert(job.sId);
    std::vector<SBuildRecord> gone, left;
    state.VisitPacked(
        [&](SBuildRecord& record)
        {
            if (!kept.contains(record.sId))
                left.push_back(std::move(record));
        });
    if (left.empty())
        return gone;
    const SPresentSources present = look();
    const auto firstGone = std::stable_partition(
        left.begin(), left.end(), [&](const SBuildRecord& record) { return !IsGone(tree, present, record.sId); });
    gone.assign(std::make_move_iterator(firstGone), std::make_move_iterator(left.end()));
    left.erase(firstGone, left.end());
    if (gone.empty())
        return gone;
    std::vector<std::string> madeIds;
    for (const SJob& job : made)
        madeIds.push_back(job.sId);
    const std::unordered_set<std::string> needed = NeedsOf(state, madeIds);
    std::erase_if(gone, [&needed](const SBuildRecord& record) { return needed.contains(record.sId); });
    std::unordered_set<std::string> goneIds;
    for (const SBuildRecord& record : gone)
        goneIds.insert(record.sId);
    // One that was packed by hand with what is gone can't be made again either.
    for (SBuildRecord& record : left)
        if (const auto needs = NeedsOf(state, {record.sId});
            !needed.contains(record.sId) &&
            std::any_of(needs.begin(), needs.end(), [&goneIds](const auto& sId) { return goneIds.contains(sId); }))
            gone.push_back(std::move(record));
    std::sort(gone.begin(), gone.end(), [](const auto& a, const auto& b) { return a.sId < b.sId; });
    return gone;
}

} // namespace Host
