#include "host/build/whatthereis.h"

#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"
#include "host/index/sourcescan.h"

#include <algorithm>

namespace Host
{

std::string WhatThereIs(ZHostSession& session, const SJob& job)
{
    // What is packed of something packed asks for what that is made of.
    ZResourceID id = ToId(job.sId);
    while (id.IsDerived() && id.GetSourceResourceID().IsDerived())
        id = id.GetSourceResourceID();
    const SDerivedKind* pKind = FindDerivedKind(id.GetExtension().View());
    if (pKind == nullptr || pKind->builtFrom.empty())
        return {};
    const std::string sSource = ToStd(id.GetSourceResourceID());
    const std::string sFile = sSource.substr(0, sSource.find('?'));
    // A rig is looked for in the whole file, too.
    if (pKind->builtFrom == "rig" && sFile == sSource)
        return {};
    std::vector<std::string> found;
    bool bScanned = false;
    session.Run({{SJob::eScan, sFile}},
                [&](const SJobResult& result)
                {
                    bScanned = result.IsGood();
                    for (const SSourceScan::SSubResource& entry : result.scan.subResources)
                        found.push_back(entry.sId);
                });
    const auto isAskedFor = [&](const std::string& sId)
    { return ToLower(sId) == ToLower(sSource) && ToLower(KindOfEntry(sId)) == pKind->builtFrom; };
    if (!bScanned || std::any_of(found.begin(), found.end(), isAskedFor))
        return {};
    return "'" + sSource + "' names no " + std::string(pKind->builtFrom) + ": " +
           ThereIs(found, sSource, pKind->builtFrom);
}

} // namespace Host
