#pragma once

#include "fbx/file/fbxdocument.h"
#include "host/adopt/adoptplan.h"

namespace Host
{

/// Writes the files of characters, each complete or not at all; a dry run does all but that. ZRefusal for a place that
/// holds a source, or a file that adopting did not write.
class ZAdoptWriter
{
public:
    explicit ZAdoptWriter(const ZAdoptPlan& plan) : m_plan(plan) {}

    void WriteRig(const SNamedCharacter& named) const;
    /// The stack becomes the source's current one. Fills in what the result says of a take.
    void WriteTake(const SNamedCharacter& named, const ZSourceScene& source, SNamedCharacter::TTake take,
                   SAdopted& result) const;

private:
    void Write(FbxDocument& document, const std::string& sPath) const;

    const ZAdoptPlan& m_plan;
};

} // namespace Host
