#pragma once

#include "host/files/assettree.h"

#include <string>
#include <vector>

namespace Host
{

/// Where a file that the user named is to be written, so that a link stays one: `sPath` gets what it leads to. Anything
/// but a regular file there is an error, and so is one of the inputs under another name than the word for it; under the
/// same name that is what the user asks for, if it is `sMayReplace`. The error's text, or an empty one.
std::string FindOutputPlace(const std::string& sWord, const std::vector<std::string>& inputs,
                            const std::string& sMayReplace, std::string& sPath);

/// The same for a command that reads an asset tree or what is packed of it: the place, or ZUsageError. An error is also
/// every source of the tree and what stands beside one to be read with it, every packed file, and what builds keep in
/// the output folder.
std::string OutputPlaceOfReader(const std::string& sWord, const ZAssetTree& tree, const std::string& sOut);

} // namespace Host
