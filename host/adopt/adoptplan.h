#pragma once

#include "host/adopt/adoption.h"
#include "host/adopt/sourcelook.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Host
{

/// A character and what it is called.
struct SNamedCharacter
{
    using TTake = std::pair<size_t, size_t>; ///< file and stack

    SCharacter character;
    std::string sName;
    std::string sFolder; ///< below --assets
    std::string sGround; ///< the ground's node
    std::string sRigId;
    std::string sRigPath;
    bool bRigStays = false;             ///< the rig that is there has all that is needed
    std::string sError;                 ///< it is refused
    std::map<TTake, std::string> takes; ///< names of its takes
    std::vector<SMessage> rigMessages;  ///< of writing its rig
};

/// What is to come of the files: characters, and the names of all that is written. Names hold letters that identifiers
/// and disks take, and no two of them differ in case alone.
class ZAdoptPlan
{
public:
    /// Reads the files. ZUsageError for a folder or a name that can't be one.
    explicit ZAdoptPlan(const SAdoptSettings& settings);

    const SAdoptSettings& Settings() const { return m_settings; }
    const std::vector<SSourceFile>& Files() const { return m_files; }
    const std::vector<SFoundSkeleton>& Found() const { return m_found; }
    std::vector<SNamedCharacter>& Characters() { return m_characters; }

    /// Files that tell of a character.
    std::set<size_t> FilesOf(const SNamedCharacter& named) const;
    /// Whether a character is among these skeletons of a file.
    bool IsAmong(const SNamedCharacter& named, size_t nFile, const std::set<size_t>& skeletons) const;

    std::string PathOf(const SNamedCharacter& named, const std::string& sFile) const;
    std::string IdOf(const std::string& sPath) const;

private:
    void CheckWords();
    std::string StemOf(size_t nFile) const;
    std::string CommonStem(const std::set<size_t>& files) const;
    void NameCharacters();
    void NameTakes(SNamedCharacter& named);
    void LookAtOldRig(SNamedCharacter& named);
    bool HasOtherTakes(const SNamedCharacter& named) const;

    const SAdoptSettings& m_settings;
    std::string m_sFolder;
    std::vector<SSourceFile> m_files;
    std::vector<SFoundSkeleton> m_found;
    std::vector<SNamedCharacter> m_characters;
};

/// Whether adopting wrote the file that stands there.
bool IsAdoptedFile(const std::string& sPath);

} // namespace Host
