#include "host/options/optionchecks.h"

#include "host/text/words.h"

#include <charconv>
#include <limits>

namespace Host
{

namespace
{

std::string Listed(const std::vector<std::string>& words)
{
    std::string sText;
    for (const std::string& sWord : words)
        sText += (sText.empty() ? "" : ",") + sWord;
    return sText;
}

std::string Meant(const std::string& sWord, const std::vector<std::string>& words)
{
    const std::string sNearest = NearestName(sWord, words);
    return sNearest.empty() ? std::string() : "; is '" + sNearest + "' meant?";
}

std::vector<std::string> OptionsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::Option* pOption : app.get_options())
        for (const std::string& sName : pOption->get_lnames())
            names.push_back("--" + sName);
    return names;
}

} // namespace

CLI::Validator NotNegative()
{
    return {[](std::string& sText)
            {
                const char* pStart = sText.data() + (sText.starts_with('+') ? 1 : 0);
                double fValue = -1.0;
                const auto [pEnd, error] = std::from_chars(pStart, sText.data() + sText.size(), fValue);
                // Too large and too small for a double are numbers all the same.
                if (error == std::errc::result_out_of_range && !sText.starts_with('-'))
                    fValue = 0.0;
                const bool bGood = pEnd == sText.data() + sText.size() && pEnd != pStart && fValue >= 0.0;
                return bGood ? std::string() : "'" + sText + "' is no number from 0 on";
            },
            "NONNEGATIVE"};
}

CLI::Validator OneOf(const std::vector<std::string>& words)
{
    return {[words](std::string& sText)
            {
                if (std::find(words.begin(), words.end(), sText) != words.end())
                    return std::string();
                return "'" + sText + "' is none of " + Listed(words) + Meant(sText, words);
            },
            '{' + Listed(words) + '}'};
}

std::string TellUnexpected(const CLI::App& app, const std::vector<std::string>& words)
{
    for (const std::string& sWord : words)
        if (const std::string sName = sWord.substr(0, sWord.find('=')); sName.starts_with('-') && sName != "--")
            return "there is no option '" + sName + "'" +
                   (app.get_name().empty() || app.get_parent() == nullptr ? "" : " of " + app.get_name()) +
                   Meant(sName, OptionsOf(app));
    return words.empty() ? std::string() : "'" + words.front() + "' is a word more than expected";
}

void RefuseEmptyNames(const CLI::App& command)
{
    for (const char* szName :
         {"--assets", "--out", "--output", "--log", "--depfile", "--to", "--name", "--module", "--compiler", "--save"})
        if (const CLI::Option* pOption = command.get_option_no_throw(szName); pOption != nullptr)
            for (const std::string& sValue : pOption->results())
                if (sValue.empty())
                    throw CLI::ValidationError(szName, "an empty word names nothing");
}

} // namespace Host
