#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

/// One property that marking sets on a node, or takes away.
struct SPropertyMark
{
    std::string sName;
    bool bRemove = false;
    std::string_view type;  ///< as files write it: "bool", "KString"
    std::string_view label; ///< the second word of files: "Integer" for "int"
    std::string sFlags = "U";
    char letter = 'I';           ///< of the values: I integer, D real, S text
    std::vector<double> numbers; ///< whole ones below 2^31 for I
    std::string sText;
};

struct SNodeMarks
{
    std::string sNode;
    std::vector<SPropertyMark> properties;
};

struct STakeMark
{
    size_t nIndex = 0; ///< in the marks file
    std::string sGround;
    std::string sNode; ///< empty: made of the take's name
    std::string sName;
    std::string sStack; ///< the anim stack that it is a range of; empty: that of the marks
    std::optional<int32_t> startFrame;
    std::optional<int32_t> endFrame; ///< included
    std::vector<std::string> partialList;
    std::vector<double> sequenceOrigin; ///< none, or sixteen numbers: row vectors, translation last
};

/// What a marks file says. See docs/marking.md, and docs/marks.schema.json for its form.
struct SMarks
{
    std::string sStack;            ///< the anim stack that the takes are ranges of; empty: the file's current one
    bool bStripNamespaces = false; ///< first of all; the names below are those without
    std::vector<SNodeMarks> nodes; ///< by name, and their properties too
    std::vector<STakeMark> takes;  ///< in the file's order
    std::vector<std::string> warnings;
};

/// Each fault begins with its place: "/takes/0/endFrame: ...", or names the line where the text is no JSON.
class ZMarksError : public std::runtime_error
{
public:
    explicit ZMarksError(const std::string& sFault) : std::runtime_error(sFault), m_faults{sFault} {}
    /// At least one; what() is the first.
    explicit ZMarksError(std::vector<std::string> faults)
        : std::runtime_error(faults.front()), m_faults(std::move(faults))
    {
    }
    const std::vector<std::string>& Faults() const { return m_faults; }

private:
    std::vector<std::string> m_faults;
};

/// Takes steps that may have faults, one after the other, so that all of them are told and not only the first.
class ZMarksFaults
{
public:
    template <class TStep>
    void Try(TStep step)
    {
        try
        {
            step();
        }
        catch (const ZMarksError& e)
        {
            m_faults.insert(m_faults.end(), e.Faults().begin(), e.Faults().end());
        }
    }
    /// ZMarksError when there was one.
    void Finish()
    {
        if (!m_faults.empty())
            throw ZMarksError(std::move(m_faults));
    }

private:
    std::vector<std::string> m_faults;
};

/// Bounded by the text: a property has sixteen numbers at most. ZMarksError with all that is not as it should be; a key
/// at the top that means nothing is a warning, and so is a property that the pipeline looks for under another spelling.
SMarks ReadMarks(std::string_view text);

/// What is wrong with a stack that is none of these, as a fault says it behind the place that "/stack" is in.
std::string NoSuchStack(const std::string& sName, const std::vector<std::string>& stacks);

/// A step of a place in a JSON document: "/" and the key, with what has a meaning there escaped.
std::string JsonStep(std::string_view key);

} // namespace Host
