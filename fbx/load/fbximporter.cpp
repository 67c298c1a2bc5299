#include "fbx/load/fbximporter.h"

#include "fbx/file/fbxinput.h"
#include "fbx/load/fbxiosettings.h"
#include "fbx/load/fbxscenebuilder.h"

#include <new>

struct FbxImporter::SState
{
    FbxInput input;
    SFbxHead head;
    bool bReady = false;
    const FbxIOSettings* pSettings = nullptr;
    std::string sError;

    bool Check();
};

bool FbxImporter::SState::Check()
{
    head = FbxReadHead(input.Data(), input.Size());
    bReady = false;
    if (head.eFormat == EFbxFormat::eNone)
        sError = input.Size() == 0 ? "the file is empty"
                                   : "not an FBX file: its head is neither the binary nor the text one";
    else if (head.nVersion == 0)
        sError = "the file does not say its version";
    else if (head.nVersion < kFbxMinVersion || head.nVersion > kFbxMaxVersion)
        sError = "version " + std::to_string(head.nVersion) + " is not supported: 5000 to 7700 are";
    else
        bReady = true;
    return bReady;
}

FbxImporter::FbxImporter(FbxManager* pManager) : m_pManager(pManager), m_pState(std::make_unique<SState>()) {}

FbxImporter::~FbxImporter() = default;

FbxImporter* FbxImporter::Create(FbxManager* pManager, const char* /*szName*/)
{
    return pManager->Own(std::unique_ptr<FbxImporter>(new FbxImporter(pManager)));
}

void FbxImporter::Destroy()
{
    m_pManager->End(this);
}

bool FbxImporter::Initialize(const char* szPath, int nFormat, FbxIOSettings* pSettings)
{
    m_pState->pSettings = pSettings ? pSettings : m_pManager->GetIOSettings();
    m_pState->head = {};
    m_pState->bReady = false;
    m_pState->sError.clear();
    if (nFormat != -1)
    {
        m_pState->sError = "unknown file format number " + std::to_string(nFormat);
        return false;
    }
    return m_pState->input.Open(szPath ? szPath : "", m_pState->sError) && m_pState->Check();
}

bool FbxImporter::InitializeFromMemory(const void* pData, size_t nSize, FbxIOSettings* pSettings)
{
    m_pState->pSettings = pSettings ? pSettings : m_pManager->GetIOSettings();
    m_pState->sError.clear();
    m_pState->input.Use(pData, nSize);
    return m_pState->Check();
}

bool FbxImporter::IsFBX() const
{
    return m_pState->head.eFormat != EFbxFormat::eNone;
}

bool FbxImporter::Import(FbxScene* pScene)
{
    SState& state = *m_pState;
    if (!state.bReady)
    {
        if (state.sError.empty())
            state.sError = "nothing to import: the importer was not initialized";
        return false;
    }
    state.sError.clear();
    state.bReady = false;
    bool bOk = false;
    try
    {
        SFbxRecordTree tree;
        const uint8_t* pData = state.input.Data();
        const size_t nSize = state.input.Size();
        bOk = state.head.eFormat == EFbxFormat::eBinary ? FbxReadBinary(pData, nSize, state.head, tree, state.sError)
                                                        : FbxReadText(pData, nSize, state.head, tree, state.sError);
        state.head.nVersion = bOk ? tree.nVersion : state.head.nVersion;
        if (bOk)
        {
            const bool bAnimation =
                !state.pSettings || state.pSettings->GetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Animation", true);
            FbxSceneBuilder builder(*pScene, tree, nSize, state.sError);
            bOk = tree.nVersion >= 7000 ? FbxLoadScene7(tree, builder, bAnimation)
                                        : FbxLoadScene6(tree, builder, bAnimation);
        }
    }
    catch (const std::bad_alloc&)
    {
        state.sError = "not enough memory for this file";
        bOk = false;
    }
    state.input.Close();
    return bOk;
}

const char* FbxImporter::GetErrorText() const
{
    return m_pState->sError.c_str();
}

int FbxImporter::GetFileVersion() const
{
    return m_pState->head.nVersion;
}

bool FbxImporter::IsBinary() const
{
    return m_pState->head.eFormat == EFbxFormat::eBinary;
}

bool FbxImporter::IsBigEndian() const
{
    return m_pState->head.bBigEndian;
}
