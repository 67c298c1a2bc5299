#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace Host
{

/// How one kind of packed resource is made.
struct SDerivedKind
{
    std::string_view extension;   ///< of the derived identifier
    std::string_view component;   ///< that packs it; empty: it is made elsewhere in a pipeline
    std::string_view builtFrom;   ///< extension of the sub-resources that a build packs it for; empty: on demand only
    std::string_view description; ///< for help and messages
};

/// In the order in which a build makes them: what others need comes first.
std::span<const SDerivedKind> DerivedKinds();

/// Null for an extension that names no packed resource.
const SDerivedKind* FindDerivedKind(std::string_view extension);

/// What stands near the beginning of every file of this extension that is a source. Other programs have files of the
/// extension too: in a folder those are left alone. Empty: all are sources.
std::string_view SignOfSource(std::string_view extension);
/// Bytes from the beginning within which the sign stands.
constexpr size_t SIGN_REACH = 4096;

/// The component that says what a source file of this extension holds (case does not matter); empty when none does, and
/// such a file is no source of anything.
std::string_view ScannerOf(std::string_view extension);
/// For a file that the user named although its extension has no scanner: this one will say what is wrong with it.
std::string_view DefaultScanner();

} // namespace Host
