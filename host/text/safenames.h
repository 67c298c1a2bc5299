#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace Host
{

/// What a name of a file becomes where it has to stand in an identifier and on every disk: letters A to Z, digits, '-'
/// and '_', at most 64 of them, no name that a system keeps for itself. `fallback` where nothing is left.
std::string SafeName(std::string_view name, std::string_view fallback);

/// The name of a bone without its namespace; "bone" where nothing is left.
std::string BareName(std::string_view name);

/// What a stack is called by those who look at it: without the armature's name before it and the layer's behind it, as
/// exporters write "Armature|Walk|BaseLayer".
std::string_view PlainStackName(std::string_view name);

/// Whether a stack's name tells of the program that wrote it and not of the motion: "Take 001", "mixamo.com".
bool IsIdleStackName(std::string_view name);

/// Names of which no two may be the same, whatever their case.
class ZNameSet
{
public:
    /// The name, or where it is taken the first of NAME_2, NAME_3... that is not.
    std::string Take(std::string_view name);
    bool Has(std::string_view name) const;

private:
    std::unordered_set<std::string> m_taken; ///< in lower case
};

} // namespace Host
