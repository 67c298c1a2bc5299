#include "host/adopt/adoption.h"

#include "host/adopt/adoptwriter.h"
#include "host/text/textformat.h"

#include <algorithm>
#include <set>

namespace Host
{

namespace
{

constexpr double LEAST_METRES = 0.1;
constexpr double MOST_METRES = 20.0;

class ZAdoption
{
public:
    ZAdoption(const SAdoptSettings& settings, const std::function<void(const SAdopted&)>& report)
        : m_plan(settings), m_writer(m_plan), m_report(report)
    {
        m_summary.nFiles = settings.files.size();
    }

    SAdoptSummary Run()
    {
        for (SNamedCharacter& named : m_plan.Characters())
            WriteRig(named);
        for (size_t n = 0; n < m_summary.nFiles; ++n)
            WriteFile(n);
        return m_summary;
    }

private:
    void WriteRig(SNamedCharacter& named)
    {
        if (!named.sError.empty())
            return;
        try
        {
            if (!named.bRigStays)
                m_writer.WriteRig(named);
            ++m_summary.nRigs;
        }
        catch (const ZRefusal& e)
        {
            named.sError = e.what();
        }
    }

    SAdopted ResultOf(const SNamedCharacter& named, size_t nFile)
    {
        const SSourceFile& file = m_plan.Files()[nFile];
        SAdopted result;
        result.sFile = m_plan.Settings().files[nFile];
        result.sRigId = named.sRigId;
        result.sWritten = named.sRigPath;
        result.fFrameRate = file.fFrameRate;
        result.fScale = file.fUnit;
        result.nBones = named.character.bones.size() + 1;
        if (m_told.insert(nFile).second)
            result.messages = file.messages;
        return result;
    }

    void AddCharacterNotes(const SNamedCharacter& named, size_t nFile, SAdopted& result) const
    {
        for (const size_t nPart : named.character.parts)
            if (m_plan.Found()[nPart].nFile == nFile && !m_plan.Found()[nPart].bOld)
                for (const SMessage& message : m_plan.Found()[nPart].skeleton.messages)
                    result.messages.push_back(message);
        if (named.character.eRoot == ERoot::eKeep && named.character.sRootName.empty() &&
            NodeOfRoot(named.character, m_plan.Found(), nFile) < 0)
            result.messages.push_back(
                {ESeverity::eWarning,
                 "--root keep: it has no root of its own; the ground stays where the world begins"});
        std::vector<SRigid> world = WorldRest(named.character);
        double least[3] = {1e300, 1e300, 1e300};
        double most[3] = {-1e300, -1e300, -1e300};
        for (const SRigid& bone : world)
        {
            const double t[] = {bone.t.x, bone.t.y, bone.t.z};
            for (size_t n = 0; n < 3; ++n)
                least[n] = std::min(least[n], t[n]), most[n] = std::max(most[n], t[n]);
        }
        double fMetres = 0.0;
        for (size_t n = 0; n < 3; ++n)
            fMetres = std::max(fMetres, 0.01 * (most[n] - least[n]));
        const bool bSmall = fMetres < LEAST_METRES && !named.character.bPlain && world.size() > 2;
        if (bSmall || fMetres > MOST_METRES)
            result.messages.push_back(
                {ESeverity::eWarning, Formatted("the rig is %.3g m large; is the unit of the file right?", fMetres)});
    }

    void WriteFile(size_t nFile)
    {
        const SSourceFile& file = m_plan.Files()[nFile];
        std::string sError = file.sError;
        ZSourceScene source;
        bool bLoaded = false;
        for (SNamedCharacter& named : m_plan.Characters())
        {
            if (!m_plan.FilesOf(named).contains(nFile))
                continue;
            bool bTold = false;
            for (size_t n = 0; n < file.stacks.size() && named.sError.empty(); ++n)
            {
                const auto name = named.takes.find({nFile, n});
                if (name == named.takes.end())
                    continue;
                SAdopted result = ResultOf(named, nFile);
                if (!bTold)
                    AddCharacterNotes(named, nFile, result);
                try
                {
                    if (!bLoaded && !source.Load(m_plan.Settings().files[nFile]))
                        throw ZRefusal(source.Error());
                    bLoaded = true;
                    m_writer.WriteTake(named, source, name->first, result);
                    m_report(result);
                    ++m_summary.nTakes;
                    bTold = true;
                }
                catch (const ZRefusal& e)
                {
                    sError = "the stack '" + file.stacks[n].sName + "': " + e.what();
                }
            }
            if (!named.sError.empty())
                sError = named.sError;
            else if (!bTold && named.takes.lower_bound({nFile, 0}) == named.takes.lower_bound({nFile + 1, 0}))
            {
                SAdopted result = ResultOf(named, nFile);
                AddCharacterNotes(named, nFile, result);
                result.messages.insert(result.messages.end(), named.rigMessages.begin(), named.rigMessages.end());
                m_report(result);
            }
        }
        if (sError.empty())
            return;
        SAdopted refused;
        refused.sFile = m_plan.Settings().files[nFile];
        refused.sError = sError;
        m_report(refused);
        ++m_summary.nRefused;
    }

    ZAdoptPlan m_plan;
    ZAdoptWriter m_writer;
    const std::function<void(const SAdopted&)>& m_report;
    std::set<size_t> m_told; ///< files whose own messages were told
    SAdoptSummary m_summary;
};

} // namespace

SAdoptSummary Adopt(const SAdoptSettings& settings, const std::function<void(const SAdopted&)>& report)
{
    return ZAdoption(settings, report).Run();
}

} // namespace Host
