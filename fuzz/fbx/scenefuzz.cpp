// Any file: it loads, turns its axes and evaluates on every stack, or fails with a text; nothing stays allocated.
#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxscene.h"
#include "fuzz/fbx/fuzzrequire.h"

#include <cstdint>

namespace
{

void Evaluate(FbxScene& scene)
{
    // The loop is bounded so that a long file of nodes does not look like a hang.
    const size_t nNodes = scene.GetNodeCount() < 2000 ? scene.GetNodeCount() : 2000;
    const FbxTime times[] = {FbxTime::Infinite(), FbxTime(), FbxTime::FromSeconds(1.0 / 3.0),
                             FbxTime::FromSeconds(-5.0), FbxTime::FromSeconds(1e9)};
    for (const FbxTime time : times)
    {
        for (size_t n = 0; n < nNodes; ++n)
        {
            FbxNode* pNode = scene.GetNode(n);
            pNode->EvaluateLocalTransform(time);
            pNode->EvaluateGlobalTransform(time);
            for (size_t i = 0; i < pNode->GetPropertyCount() && i < 50; ++i)
            {
                const FbxProperty property = pNode->GetProperty(i);
                double channels[4];
                const int nChannels = scene.GetAnimationEvaluator()->EvaluateProperty(property, time, channels);
                FUZZ_REQUIRE(nChannels >= 0 && nChannels <= 4);
                property.GetString();
                property.GetMatrix();
                property.GetFlagsText();
                FbxTimeSpan span;
                if (const FbxAnimCurveNode* pCurveNode = property.GetCurveNode())
                    FUZZ_REQUIRE(pCurveNode->GetAnimationInterval(span) == pCurveNode->IsAnimated());
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    FbxManager* pManager = FbxManager::Create(&FbxMakeEvaluator);
    FbxScene* pScene = FbxScene::Create(pManager, "");
    FbxImporter* pImporter = FbxImporter::Create(pManager, "");
    if (!pImporter->InitializeFromMemory(pData, nSize) || !pImporter->Import(pScene))
        FUZZ_REQUIRE(pImporter->GetErrorText()[0] != '\0');
    else
    {
        FbxAxisSystem::ZUpMinusYFront().ConvertScene(pScene);
        Evaluate(*pScene);
        for (size_t n = 0; n < pScene->GetAnimStackCount() && n < 3; ++n)
        {
            pScene->SetCurrentAnimStack(pScene->GetAnimStack(n));
            Evaluate(*pScene);
        }
        pScene->FindNodeByName("no such node");
        pScene->GetGlobalSettings().GetFrameRate();
    }
    pManager->Destroy();
    FUZZ_REQUIRE(FbxManager::LiveObjectCount() == 0);
    return 0;
}
