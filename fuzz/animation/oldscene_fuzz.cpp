// Any scene, taken for one of the old layout: it is rewritten, and what comes of it can be walked and evaluated.
#include "base/misc/zresourceid.h"
#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxscene.h"
#include "fuzz/fbx/fuzzrequire.h"
#include "resource/animation/fbximport/fbxconverter.h"

#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    FbxManager* pManager = FbxManager::Create(&FbxMakeEvaluator);
    FbxScene* pScene = FbxScene::Create(pManager, "");
    FbxImporter* pImporter = FbxImporter::Create(pManager, "");
    if (pImporter->InitializeFromMemory(pData, nSize) && pImporter->Import(pScene))
    {
        const size_t nNodes = pScene->GetNodeCount();
        const size_t nStacks = pScene->GetAnimStackCount();
        ZFbxConverter::IsOldFormat(pScene);
        ZFbxConverter::ConvertToNewPipeline(ZResourceID("assembly:/a.fbx"), pScene);
        FUZZ_REQUIRE(pScene->GetAnimStackCount() == 1);
        FUZZ_REQUIRE(pScene->GetCurrentAnimStack() == pScene->GetAnimStack(0));
        FUZZ_REQUIRE(pScene->GetNodeCount() <= nNodes + nStacks);
        for (size_t n = 0; n < pScene->GetNodeCount(); ++n)
        {
            const FbxNode* pNode = pScene->GetNode(n);
            pNode->EvaluateGlobalTransform(FbxTime::FromSeconds(0.5));
            if (n < nNodes)
                continue;
            FUZZ_REQUIRE(std::string_view(pNode->GetName()).starts_with("TAKE_NODE"));
            FUZZ_REQUIRE(pNode->FindProperty("IsTakeNode").GetBool());
            FUZZ_REQUIRE(pNode->GetParent()->FindProperty("RigResource").IsValid());
        }
    }
    pManager->Destroy();
    return 0;
}
