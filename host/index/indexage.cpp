#include "host/index/indexage.h"

#include <set>

namespace Host
{

SIndexAge AgeOf(const std::vector<ZScanIndex::SSource>& scanned, const ZAssetTree& tree)
{
    SIndexAge age;
    std::set<std::string> known;
    for (const ZScanIndex::SSource& source : scanned)
    {
        const SFileStamp now = StampOf(tree.Root() + '/' + source.sId.substr(source.sId.find('/') + 1));
        (now.bExists ? age.nChanged : age.nGone) += now != source.stamp;
        known.insert(source.sId);
    }
    for (const std::string& sId : tree.Sources("assembly:/", [&known](const std::string&sKnown, const std::string&)
                                               { return known.contains(sKnown); })
                                      .ids)
        age.nNew += !known.contains(sId);
    return age;
}

} // namespace Host
