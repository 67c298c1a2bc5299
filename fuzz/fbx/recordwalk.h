#pragma once

#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/file/fbxrecord.h"
#include "fbx/load/fbxarrays.h"
#include "fuzz/fbx/fuzzrequire.h"

#include <vector>

/// Touches everything that a tree of records holds: every text to its last byte, every array decoded three ways.
inline void WalkRecords(const SFbxRecordTree& tree, size_t nFileBytes)
{
    FbxManager* pManager = FbxManager::Create(&FbxMakeEvaluator);
    FbxArrayReader arrays(*FbxScene::Create(pManager, ""), nFileBytes, tree.bBigEndian, FbxFileTime(tree.root));
    size_t nSum = 0;
    std::vector<const SFbxRecord*> pending{&tree.root};
    while (!pending.empty())
    {
        const SFbxRecord* pRecord = pending.back();
        pending.pop_back();
        for (const char c : pRecord->Name())
            nSum += static_cast<unsigned char>(c);
        for (uint32_t n = 0; n < pRecord->nValues; ++n)
        {
            const SFbxValue& value = pRecord->pValues[n];
            for (const char c : value.AsText())
                nSum += static_cast<unsigned char>(c);
            nSum += static_cast<size_t>(value.AsInt64()) + (value.AsDouble() > 0.0);
            const float* pFloats;
            const uint32_t* pWords;
            const SFbxTimeline* pTimeline;
            bool bAscending;
            uint32_t nCount = 0;
            if (arrays.Floats(&value, pFloats, nCount))
                FUZZ_REQUIRE(nCount == value.n);
            if (arrays.Words(&value, pWords, nCount))
                FUZZ_REQUIRE(nCount == value.n);
            if (arrays.Timeline(&value, pTimeline, bAscending))
                FUZZ_REQUIRE(pTimeline->nKeys == value.n);
        }
        for (const SFbxRecord* p = pRecord->pChild; p; p = p->pNext)
            pending.push_back(p);
    }
    pManager->Destroy();
    // Keeps the reads from being optimised away.
    FUZZ_REQUIRE(nSum != 0x7f5a1c3e9b2d4e6f);
}
