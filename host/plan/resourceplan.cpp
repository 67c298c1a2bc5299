#include "host/plan/resourceplan.h"

#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/plan/takerig.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr std::string_view RIG_EXTENSION = "animationrig";
/// Files of one name, in their order.
class ZFilesBeside
{
public:
    std::vector<std::string> Of(const fs::path& file)
    {
        const auto [it, bNew] = m_folders.try_emplace(file.parent_path().string());
        std::error_code error;
        if (bNew)
            for (fs::directory_iterator entry(it->first, error), end; !error && entry != end; entry.increment(error))
                it->second.insert(entry->path().filename().string());
        std::vector<std::string> beside;
        const std::string sStem = ToLower(file.stem().string()) + '.';
        for (const std::string& sName : it->second)
            if (ToLower(sName).starts_with(sStem) && sName != file.filename().string())
                beside.push_back(sName);
        return beside;
    }

private:
    std::map<std::string, std::set<std::string>> m_folders;
};

class ZPlanner
{
public:
    ZPlanner(const ZAssetTree& tree, const std::vector<std::string>& platforms) : m_tree(tree), m_platforms(platforms)
    {
    }

    void Add(const SSourceScan& scan)
    {
        for (const SSourceScan::SSubResource& entry : scan.subResources)
            m_found.push_back({entry.sId, RigOfTake(entry)});
    }

    std::vector<SPlannedResource> Plan()
    {
        for (const SDerivedKind& kind : DerivedKinds())
            for (const std::string& sPlatform : m_platforms)
                for (const SFound& found : m_found)
                    if (!kind.builtFrom.empty() && ToLower(ToId(found.sId).GetExtension().View()) == kind.builtFrom)
                        Plan(found.sId, kind.extension, sPlatform,
                             kind.builtFrom == "take" ? PlanRig(found.sRig, sPlatform) : std::string());
        // Rigs that no scan lists came up among the takes that need them.
        std::stable_partition(m_resources.begin(), m_resources.end(),
                              [](const SPlannedResource& one) { return one.sExtension == RIG_EXTENSION; });
        return std::move(m_resources);
    }

private:
    struct SFound
    {
        std::string sId;
        std::string sRig; ///< of a take
    };

    /// The place of a packed rig; empty when there is no such file, which packing the take will tell of.
    std::string PlanRig(const std::string& sRig, const std::string& sPlatform)
    {
        return m_tree.Find(ToId(sRig)).eState == ZAssetTree::SLookup::eFound ? Plan(sRig, RIG_EXTENSION, sPlatform, {})
                                                                             : std::string();
    }

    std::string Plan(const std::string& sSource, std::string_view extension, const std::string& sPlatform,
                     const std::string& sNeed)
    {
        const ZResourceID id = ToId(sSource).CreateDerivedResourceID(ToZString(extension), "", ToZString(sPlatform));
        const std::string sFile = OutputPathOf(id);
        const ZAssetTree::SLookup& lookup = m_tree.Find(ToId(sSource));
        if (sFile.empty() || lookup.eState != ZAssetTree::SLookup::eFound || !m_places.insert(sFile).second)
            return sFile;
        m_resources.push_back({CanonicalId(id), sSource, std::string(extension), sPlatform, sFile, lookup.sPath, sNeed,
                               m_beside.Of(lookup.sPath)});
        return sFile;
    }

    const ZAssetTree& m_tree;
    const std::vector<std::string>& m_platforms;
    std::vector<SFound> m_found;
    std::vector<SPlannedResource> m_resources;
    std::set<std::string> m_places;
    ZFilesBeside m_beside;
};

} // namespace

SResourcePlan PlanResources(ZHostSession& session, const std::vector<std::string>& platforms)
{
    SResourcePlan plan;
    ZPlanner planner(session.Tree(), platforms);
    session.Scan({},
                 [&](const SJobResult& result)
                 {
                     if (const auto& lookup = session.Tree().Find(ToId(result.job.sId)); !lookup.sPath.empty())
                         plan.sourceFiles.push_back(lookup.sPath);
                     if (result.IsGood())
                         planner.Add(result.scan);
                     else
                         plan.unreadable.push_back(result.job.sId);
                 });
    plan.resources = planner.Plan();
    std::error_code error;
    const std::string sOut = fs::weakly_canonical(session.Out(), error).string();
    for (const std::string& sFolder : session.Tree().ListedFolders())
        if (sFolder != sOut && !sFolder.starts_with(sOut + '/'))
            plan.folders.push_back(sFolder);
    return plan;
}

} // namespace Host
