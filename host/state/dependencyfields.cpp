#include "host/state/dependencyfields.h"

namespace Host
{

void WriteStamp(ZFieldWriter& fields, const SFileStamp& stamp, uint64_t nHash)
{
    fields.Number(int{stamp.bExists}).Number(stamp.nSize).Number(stamp.nTime).Number(nHash);
}

void ReadStamp(ZFieldReader& fields, SFileStamp& stamp, uint64_t& nHash)
{
    stamp.bExists = fields.Flag();
    stamp.nSize = fields.Number<uint64_t>();
    stamp.nTime = fields.Number<int64_t>();
    nHash = fields.Number<uint64_t>();
}

void WriteDependencies(ZFieldWriter& fields, const std::vector<SDependency>& dependencies)
{
    fields.Number(dependencies.size());
    for (const SDependency& dependency : dependencies)
    {
        fields.Number(int{dependency.eKind == SDependency::eDerived}).Text(dependency.sId);
        WriteStamp(fields, dependency.stamp, dependency.nHash);
    }
}

void ReadDependencies(ZFieldReader& fields, std::vector<SDependency>& dependencies)
{
    dependencies.clear();
    for (size_t n = fields.Count(); n > 0 && fields.Sound(); --n)
    {
        SDependency& dependency = dependencies.emplace_back();
        dependency.eKind = fields.Flag() ? SDependency::eDerived : SDependency::eSource;
        dependency.sId = fields.Text();
        ReadStamp(fields, dependency.stamp, dependency.nHash);
    }
}

} // namespace Host
