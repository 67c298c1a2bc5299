#pragma once

#include <memory>
#include <string>

struct sqlite3;

namespace Host
{

/// The build state's SQLite file: opened, looked through and, when it is new, given its tables.
class ZStateDatabase
{
public:
    enum class EOpen
    {
        eMake,
        eUse,
        eLookUp ///< nobody writes to it, and it is not looked through for damage
    };

    /// False, with the reason, for a file that is damaged, of another layout or, unless it may be made, not there.
    /// ZHostError when a file that may be made is not to be had for another reason. An empty path keeps all in memory.
    bool Open(const std::string& sPath, EOpen eOpen, std::string& sWhy);
    void Close() { m_pDatabase.reset(); }

    sqlite3* Get() const { return m_pDatabase.get(); }

private:
    struct SCloser
    {
        void operator()(sqlite3* pDatabase) const;
    };
    std::unique_ptr<sqlite3, SCloser> m_pDatabase;
};

} // namespace Host
