#pragma once

#include "fbx/file/fbxdocument.h"
#include "host/adopt/adoptplan.h"
#include "host/adopt/geometry.h"
#include "host/adopt/plainscene.h"

namespace Host
{

/// Writes the files of characters, each complete or not at all; a dry run does all but that. ZRefusal for a place that
/// holds a source, or a file that adopting did not write.
class ZAdoptWriter
{
public:
    explicit ZAdoptWriter(const ZAdoptPlan& plan) : m_plan(plan) {}

    /// With the geometry of a source, when it is to be kept.
    void WriteRig(SNamedCharacter& named) const;
    /// The stack becomes the source's current one. Fills in what the result says of a take.
    void WriteTake(const SNamedCharacter& named, const ZSourceScene& source, SNamedCharacter::TTake take,
                   SAdopted& result) const;

private:
    /// Puts a source's geometry on the bones of a document; why that cannot be done is told.
    void AddGeometry(const SNamedCharacter& named, size_t nFile, const SPlainScene& scene,
                     const std::vector<int64_t>& ids, ZGeometry& geometry, FbxDocument& document,
                     std::vector<SMessage>& messages) const;
    void Write(FbxDocument& document, const std::string& sPath) const;

    const ZAdoptPlan& m_plan;
};

} // namespace Host
