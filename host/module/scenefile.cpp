#include "host/module/scenefile.h"

#include "host/files/assettree.h"
#include "host/module/oldlayout.h"

namespace Host
{

namespace
{

/// Null when the file has no such stack.
FbxAnimStack* FindStack(const FbxScene& scene, const std::string& sName)
{
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
        if (sName == scene.GetAnimStack(n)->GetName())
            return scene.GetAnimStack(n);
    return nullptr;
}

std::string StacksOf(const FbxScene& scene)
{
    std::string sText;
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
        sText += (n == 0 ? "; there are '" : ", '") + std::string(scene.GetAnimStack(n)->GetName()) + "'";
    return sText.empty() ? "; there is none in it" : sText;
}

} // namespace

ZSceneFile::ZSceneFile()
    : m_pManager(FbxManager::Create(&FbxMakeEvaluator)),
      m_pScene(FbxScene::Create(m_pManager.get(), "")),
      m_pImporter(FbxImporter::Create(m_pManager.get(), ""))
{
}

bool ZSceneFile::Load(const SPlace& place, const std::string* pStack)
{
    const std::string sPath = PathOfWord(place.sSource, place.sAssets);
    if (!m_pImporter->Initialize(sPath.c_str(), -1, nullptr) || !m_pImporter->Import(m_pScene))
    {
        m_sError = m_pImporter->GetErrorText();
        return false;
    }
    m_originalAxes = m_pScene->GetGlobalSettings().GetAxisSystem();
    FbxAxisSystem::ZUpMinusYFront().ConvertScene(m_pScene);
    // Of the old layout's stacks one is left; who asks for another gets the scene as the file has it.
    if (pStack == nullptr || FindStack(*m_pScene, *pStack) == nullptr)
        ConvertOldLayout(place.sModule, place.sAssets, place.sSource, m_pScene);
    if (pStack == nullptr)
        return true;
    FbxAnimStack* pFound = FindStack(*m_pScene, *pStack);
    if (pFound == nullptr)
        m_sError = "there is no anim stack '" + *pStack + "'" + StacksOf(*m_pScene);
    else
        m_pScene->SetCurrentAnimStack(pFound);
    return pFound != nullptr;
}

} // namespace Host
