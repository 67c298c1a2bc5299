#include "resource/animation/fbximport/fbxwrapper.h"

#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/load/fbxiosettings.h"
#include "fbx/scene/fbxscene.h"
#include "resource/animation/frame/animationexception.h"

namespace ResourceAnimation
{

ZFbxWrapper::~ZFbxWrapper()
{
    if (m_pScene != nullptr)
        m_pScene->Destroy();
    if (m_pFbxManager != nullptr)
        m_pFbxManager->Destroy();
}

void ZFbxWrapper::Load(const ZString& filePath)
{
    m_pFbxManager = FbxManager::Create(&FbxMakeEvaluator);
    m_pScene = FbxScene::Create(m_pFbxManager, "");
    FbxIOSettings* pSettings = FbxIOSettings::Create(m_pFbxManager, "IOSRoot");
    pSettings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Animation", true);
    pSettings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Global_Settings", true);
    m_pFbxManager->SetIOSettings(pSettings);

    FbxImporter* pImporter = FbxImporter::Create(m_pFbxManager, "");
    if (!pImporter->Initialize(filePath.ToCString(), -1, pSettings))
        throw ZFbxImportFailedException(
            ZString::Format("Failed to initialize FbxImporter: {0}", pImporter->GetErrorText()));
    if (!pImporter->IsFBX())
        throw ZFbxImportFailedException("Not a valid FBX");
    if (!pImporter->Import(m_pScene))
        throw ZFbxImportFailedException(
            ZString::Format("FbxImporter::Import() failed: {0}", pImporter->GetErrorText()));
    FbxAxisSystem::ZUpMinusYFront().ConvertScene(m_pScene);
    pImporter->Destroy();
}

} // namespace ResourceAnimation
