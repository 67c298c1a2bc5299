#include "host/options/manual.h"

#include <algorithm>
#include <utility>

namespace Host
{

namespace
{

/// A line of text for groff: no sign of it is a request or an escape.
std::string Roff(const std::string& sLine)
{
    std::string sText = sLine.starts_with('.') || sLine.starts_with('\'') ? "\\&" : "";
    for (const char c : sLine)
        sText += c == '\\'   ? std::string("\\e")
                 : c == '-'  ? std::string("\\-")
                 : c == '\'' ? std::string("\\(aq")
                             : std::string(1, c);
    return sText;
}

std::string RoffBlock(const std::string& sFooter)
{
    std::string sText;
    bool bExample = false, bParagraph = true;
    for (size_t n = 0; n < sFooter.size();)
    {
        const size_t nEnd = std::min(sFooter.find('\n', n), sFooter.size());
        const std::string sLine = sFooter.substr(n, nEnd - n);
        n = nEnd + 1;
        const bool bIndented = sLine.starts_with("  ");
        if (bIndented != bExample && !sLine.empty())
            sText += std::exchange(bExample, bIndented) ? ".EE\n.RE\n" : ".RS\n.EX\n";
        if (sLine.empty())
            bParagraph = true;
        else
            sText += (!bIndented && std::exchange(bParagraph, false) ? ".PP\n" : "") +
                     Roff(bIndented ? sLine.substr(2) : sLine) + '\n';
    }
    return sText + (bExample ? ".EE\n.RE\n" : "");
}

std::string RoffOptions(const SCommandHelp& command)
{
    std::string sText;
    for (const SOptionHelp& word : command.words)
        sText += ".TP\n.I " + Roff(word.names.front()) + '\n' + Roff(word.sText) + '\n';
    for (const SOptionHelp& option : command.options)
    {
        std::string sNames;
        for (const std::string& sName : option.names)
            sNames.append(sNames.empty() ? "" : ", ").append(Roff(sName));
        std::string sValue;
        for (const std::string& sChoice : option.choices)
            sValue.append(sValue.empty() ? "" : "|").append(Roff(sChoice));
        if (option.bValue)
            sNames.append(" ").append(sValue.empty() ? "VALUE" : sValue);
        sText += ".TP\n.B " + sNames + '\n' + Roff(option.sText) + '\n';
    }
    return sText;
}

/// A text between single quotes.
std::string Quoted(const std::string& sText, const char* szQuote)
{
    std::string sQuoted = "'";
    for (const char c : sText)
        sQuoted += c == '\'' ? std::string(szQuote) : std::string(1, c);
    return sQuoted + "'";
}

std::string Joined(const std::vector<std::string>& words)
{
    std::string sText;
    for (const std::string& sWord : words)
        sText += (sText.empty() ? "" : " ") + sWord;
    return sText;
}

std::string AllNames(const SCommandHelp& command)
{
    std::string sNames;
    for (const SOptionHelp& option : command.options)
        sNames.append(sNames.empty() ? "" : " ").append(Joined(option.names));
    return sNames;
}

} // namespace

std::string ManPage(const std::vector<SCommandHelp>& commands, const std::string& sVersion)
{
    const SCommandHelp& program = commands.front();
    std::string sText = ".TH ANIMPACK 1 \"\" \"animpack " + Roff(sVersion) +
                        "\" \"User Commands\"\n.SH NAME\nanimpack \\- pack the animations and rigs of FBX scenes\n.SH "
                        "SYNOPSIS\n.B animpack\n.I COMMAND\n[options]\n.SH DESCRIPTION\n" +
                        Roff(program.sText) + "\n.SH COMMANDS\n";
    for (auto it = commands.begin() + 1; it != commands.end(); ++it)
    {
        sText += ".SS animpack " + Roff(it->sName);
        for (const SOptionHelp& word : it->words)
            sText += ' ' + Roff(word.names.front());
        sText += '\n' + Roff(it->sText) + '\n' + RoffOptions(*it) + RoffBlock(it->sFooter);
    }
    return sText + ".SH OPTIONS\n" + RoffOptions(program) + ".SH NOTES\n" + RoffBlock(program.sFooter) +
           ".SH FILES\nPages of each subject stand in the folder\n.I doc/animpack\nof the installation.\n";
}

std::string BashCompletion(const std::vector<SCommandHelp>& commands)
{
    std::string sNames, sOptions, sValues;
    for (const SCommandHelp& command : commands)
    {
        sNames += command.sName.empty() ? "" : (sNames.empty() ? "" : " ") + command.sName;
        sOptions += "    " + (command.sName.empty() ? "''" : command.sName) +
                    ") options=" + Quoted(AllNames(command), "'\\''") + " ;;\n";
        for (const SOptionHelp& option : command.options)
            for (const std::string& sName : option.names)
                if (!option.choices.empty())
                    sValues += "    '" + command.sName + ' ' + sName +
                               "') values=" + Quoted(Joined(option.choices), "'\\''") + " ;;\n";
                else if (option.bValue)
                    sValues += "    '" + command.sName + ' ' + sName + "') files=1 ;;\n";
    }
    return "# bash completion for animpack\n\n_animpack() {\n"
           "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command='' options='' values='' "
           "files='' n\n"
           "  COMPREPLY=()\n"
           "  for ((n = 1; n < COMP_CWORD; ++n)); do\n"
           "    if [[ ${COMP_WORDS[n]} != -* ]]; then command=${COMP_WORDS[n]}; break; fi\n"
           "  done\n"
           "  case $command in\n" +
           sOptions +
           "  esac\n"
           "  case \"$command $before\" in\n" +
           sValues +
           "  esac\n"
           "  if [[ -n $values ]]; then\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$word\")\n"
           "  elif [[ -z $files && $word == -* ]]; then\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")\n"
           "  elif [[ -z $command ]]; then\n"
           "    mapfile -t COMPREPLY < <(compgen -W '" +
           sNames +
           "' -- \"$word\")\n"
           "  else\n"
           "    mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
           "  fi\n"
           "}\n"
           "complete -o filenames -F _animpack animpack\n";
}

std::string ZshCompletion(const std::vector<SCommandHelp>& commands)
{
    // Of _arguments and _describe, which read : [ ] and \ in texts.
    const auto text = [](const std::string& sText)
    {
        std::string sPlain;
        for (const char c : sText)
            sPlain += c == ':' || c == '[' || c == ']' || c == '\\' ? '\\' + std::string(1, c) : std::string(1, c);
        return sPlain;
    };
    std::string sNames, sCases;
    for (const SCommandHelp& command : commands)
    {
        if (command.sName.empty())
            continue;
        sNames += "    " + Quoted(command.sName + ':' + text(command.sText), "'\\''") + '\n';
        sCases += "    " + command.sName + ")\n      _arguments -s";
        for (const SOptionHelp& option : command.options)
            for (const std::string& sName : option.names)
            {
                std::string sSpec = "*" + sName + '[' + text(option.sText) + ']';
                if (option.bValue)
                    sSpec += ":value:" +
                             (option.choices.empty() ? std::string("_files") : '(' + Joined(option.choices) + ')');
                sCases += " \\\n        " + Quoted(sSpec, "'\\''");
            }
        sCases += " \\\n        '*:file:_files'\n      ;;\n";
    }
    return "#compdef animpack\n\n_animpack() {\n  local -a commands\n  commands=(\n" + sNames +
           "  )\n  if (( CURRENT == 2 )); then\n    _describe command commands\n    return\n  fi\n"
           "  local command=$words[2]\n  shift words\n  (( CURRENT-- ))\n  case $command in\n" +
           sCases + "  esac\n}\n\n_animpack \"$@\"\n";
}

std::string FishCompletion(const std::vector<SCommandHelp>& commands)
{
    std::string sText = "# fish completion for animpack\n\n";
    for (const SCommandHelp& command : commands)
    {
        std::string sWhen = "__fish_use_subcommand";
        if (!command.sName.empty())
        {
            sText += "complete -c animpack -n __fish_use_subcommand -f -a " + command.sName + " -d " +
                     Quoted(command.sText, "\\'") + '\n';
            sWhen = "'__fish_seen_subcommand_from " + command.sName + "'";
        }
        for (const SOptionHelp& option : command.options)
        {
            sText += "complete -c animpack -n " + sWhen;
            for (const std::string& sName : option.names)
                sText += sName.starts_with("--") ? " -l " + sName.substr(2) : " -s " + sName.substr(1);
            if (!option.choices.empty())
                sText += " -x -a " + Quoted(Joined(option.choices), "\\'");
            else if (option.bValue)
                sText += " -r";
            sText += " -d " + Quoted(option.sText, "\\'") + '\n';
        }
    }
    return sText;
}

} // namespace Host
