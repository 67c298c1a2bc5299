#pragma once

#include "fbx/file/fbxdocumentedit.h"
#include "host/marking/marksfile.h"

#include <string>
#include <vector>

namespace Host
{

/// Marks the nodes of a document and adds take nodes. Where a ground has a take node of the same name, from marking the
/// file before, that one is marked again in its place. Adds to `warnings` what will not do what somebody may have
/// meant. Takes have their frames. ZMarksError, with all places in the marks, for a node that is not there or a name
/// that is taken; the document is not to be used then.
void ApplyMarks(const SMarks& marks, FbxDocument& document, std::vector<std::string>& warnings);

} // namespace Host
