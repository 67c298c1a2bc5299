#pragma once

#include <string>
#include <vector>

namespace Host
{

/// What the command line understands, as --help tells it.
struct SOptionHelp
{
    std::vector<std::string> names; ///< with their dashes; of a word without dashes its name alone
    std::string sText;
    bool bValue = false;              ///< takes one
    std::vector<std::string> choices; ///< of the value; empty: any
    bool bFile = false;               ///< the value names a file, a folder or a source
};
struct SCommandHelp
{
    std::string sName; ///< empty: the program itself
    std::string sText;
    std::vector<SOptionHelp> words;
    std::vector<SOptionHelp> options;
    std::string sFooter; ///< blocks of text and of examples, whose lines are indented
};

/// A page for man(1), in groff's man macros. The program itself is the first command.
std::string ManPage(const std::vector<SCommandHelp>& commands, const std::string& sVersion);
/// Completion scripts, to be put where each shell looks for them.
std::string BashCompletion(const std::vector<SCommandHelp>& commands);
std::string ZshCompletion(const std::vector<SCommandHelp>& commands);
std::string FishCompletion(const std::vector<SCommandHelp>& commands);

} // namespace Host
