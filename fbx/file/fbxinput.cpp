#include "fbx/file/fbxinput.h"

void FbxInput::Close()
{
    m_file.Close();
    m_pData = nullptr;
    m_nSize = 0;
}

void FbxInput::Use(const void* pData, size_t nSize)
{
    Close();
    m_pData = static_cast<const uint8_t*>(pData);
    m_nSize = nSize;
}

bool FbxInput::Open(const char* szPath, std::string& sError)
{
    using EOutcome = Os::ZMappedFile::EOutcome;
    Close();
    std::error_code error;
    const EOutcome eOutcome = m_file.Open(szPath, error);
    const std::string sPath = '\'' + std::string(szPath) + '\'';
    if (eOutcome == EOutcome::eNoFile)
        sError = sPath + " is not a file";
    else if (eOutcome != EOutcome::eOpen)
        sError = (eOutcome == EOutcome::eNotRead ? "can't read " : "can't open ") + sPath + ": " + error.message();
    m_pData = m_file.Data();
    m_nSize = m_file.Size();
    return eOutcome == EOutcome::eOpen;
}
