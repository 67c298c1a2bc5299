#include "host/state/packedids.h"

#include "host/state/buildstate.h"
#include "host/text/hosterror.h"

#include <filesystem>
#include <memory>

namespace Host
{

namespace
{

class ZPackedIds
{
public:
    explicit ZPackedIds(const std::string& sOut) : m_sFile(sOut + '/' + STATE_FILE) {}

    std::string Of(const std::string& sFile)
    {
        if (!std::exchange(m_bOpened, true) && std::filesystem::exists(m_sFile))
            Open();
        return m_pState ? m_pState->IdOfFile(sFile) : std::string();
    }

private:
    void Open()
    {
        try
        {
            m_pState = std::make_unique<ZBuildState>(m_sFile);
        }
        catch (const ZHostError&)
        {
            // The path has to do.
        }
    }

    std::string m_sFile;
    bool m_bOpened = false;
    std::unique_ptr<ZBuildState> m_pState;
};

} // namespace

std::function<std::string(const std::string&)> PackedIds(const std::string& sOut)
{
    return [pIds = std::make_shared<ZPackedIds>(sOut)](const std::string& sFile) { return pIds->Of(sFile); };
}

} // namespace Host
