#include "host/plan/ninjaplan.h"

#include "host/plan/depfile.h"
#include "host/plan/shellword.h"

namespace Host
{

namespace
{

/// Of a path in a build line.
std::string Path(std::string_view path)
{
    std::string sPath;
    for (const char c : path)
    {
        if (c == '$' || c == ' ' || c == ':')
            sPath += '$';
        sPath += c;
    }
    return sPath;
}

/// Of a variable's value.
std::string Value(std::string_view text)
{
    std::string sValue;
    for (const char c : text)
    {
        if (c == '$')
            sValue += '$';
        sValue += c;
    }
    return sValue;
}

std::string Word(std::string_view text)
{
    return Value(ShellWord(text));
}

std::string BesideText(const std::vector<std::string>& beside)
{
    std::string sText;
    for (const std::string& sName : beside)
        sText += (sText.empty() ? "" : ",") + sName;
    return sText;
}

} // namespace

std::string NinjaManifest(const SResourcePlan& plan, const SPlanPlace& place, std::vector<std::string>& leftOut)
{
    const std::string sWhere =
        " --assets " + Word(place.sAssets) + " --out " + Word(place.sOut) + " --module " + Word(place.sModule);
    std::string sText = "# Written by animpack plan, which writes it anew when the tree changes.\n"
                        "ninja_required_version = 1.7\n"
                        "builddir = " +
                        Value(place.sOut) + "/.ninja\n\n";
    // The tools' state stands in the command, so that all is packed again when it is another one, and only then.
    sText += "rule pack\n  command = " + Word(place.sProgram) + " pack $source $extension -t:$platform" + sWhere +
             " --no-state -j 1 -q --depfile $out.d $more # by " + place.sTools +
             "\n  depfile = $out.d\n  deps = gcc\n  restat = 1\n  description = $extension $source\n\n";
    sText += "rule scan\n  command = " + Word(place.sProgram) + " scan $source" + sWhere +
             " -j 1\n  description = scan $source\n\n";
    if (!place.sManifest.empty())
    {
        std::string sPlatforms;
        for (const std::string& sPlatform : place.platforms)
            sPlatforms += " -t:" + sPlatform;
        sText += "rule plan\n  command = cd " + Word(place.sFolder) + " && " + Word(place.sProgram) +
                 " plan --format ninja -o " + Word(place.sWritten) + sWhere + sPlatforms +
                 "\n  generator = 1\n  restat = 1\n  description = plan\n\n";
        sText += "build " + Path(place.sManifest) + ": plan |";
        for (const std::string& sTool : place.tools)
            sText += ' ' + Path(sTool);
        // One that is gone later is no error, but a change of the tree.
        std::string sPhony;
        for (const std::vector<std::string>* pInputs : {&plan.sourceFiles, &plan.folders})
            for (const std::string& sInput : *pInputs)
                if (sInput.find('\n') == std::string::npos)
                {
                    sText += " $\n  " + Path(sInput);
                    sPhony += "build " + Path(sInput) + ": phony\n";
                }
        for (const std::string& sName : place.manifestNames)
            sPhony += "build " + Path(sName) + ": phony " + Path(place.sManifest) + '\n';
        sText += '\n' + sPhony + '\n';
    }
    for (const SPlannedResource& one : plan.resources)
    {
        const std::string sBeside = BesideText(one.beside);
        if ((one.sFile + one.sSource + one.sSourceFile + sBeside).find('\n') != std::string::npos)
        {
            leftOut.push_back(one.sId);
            continue;
        }
        sText += "build " + Path(place.sOut + '/' + one.sFile) + ": pack " + Path(one.sSourceFile);
        std::string sBehind;
        if (!one.sNeed.empty())
            sBehind += ' ' + Path(place.sOut + '/' + one.sNeed);
        const std::string sFolder = one.sSourceFile.substr(0, one.sSourceFile.rfind('/') + 1);
        for (const std::string& sName : one.beside)
            if (!FitsDepFile(sFolder + sName))
                sBehind += ' ' + Path(sFolder + sName);
        sText += sBehind.empty() ? "" : " |" + sBehind;
        sText += "\n  source = " + Word(one.sSource) + "\n  extension = " + one.sExtension +
                 "\n  platform = " + one.sPlatform + "\n  more = --beside " + Word(sBeside) +
                 (one.sNeed.empty() ? "" : " --standing animationrig") + '\n';
    }
    // What can't be scanned fails here as it fails in a build, until it is another.
    for (const std::string& sId : plan.unreadable)
        if (sId.find('\n') == std::string::npos)
            sText +=
                "build " + Path(place.sOut + "/.ninja/" + sId + ".scanned") + ": scan\n  source = " + Word(sId) + '\n';
    return sText;
}

} // namespace Host
