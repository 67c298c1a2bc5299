#include "host/marking/stackmarks.h"

#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxstackframes.h"

#include <algorithm>
#include <limits>

namespace Host
{

namespace
{

struct SStack
{
    std::string sName;
    SFbxFrames frames;
};

/// The anim stacks of a scene, and which of them it plays.
struct SStacks
{
    std::vector<SStack> all;
    std::string sCurrent;

    const SStack* Find(const std::string& sName) const
    {
        const auto found = std::find_if(all.begin(), all.end(), [&](const SStack& one) { return one.sName == sName; });
        return found == all.end() ? nullptr : &*found;
    }
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const SStack& stack : all)
            names.push_back(stack.sName);
        return names;
    }
};

SStacks ReadStacks(const std::string& sScene, std::string& sError)
{
    SStacks stacks;
    const FbxManagerPtr pManager(FbxManager::Create(&FbxMakeEvaluator));
    FbxScene* pScene = FbxScene::Create(pManager.get(), "");
    FbxImporter* pImporter = FbxImporter::Create(pManager.get(), "");
    if (!pImporter->Initialize(sScene.c_str(), -1, nullptr) || !pImporter->Import(pScene))
    {
        sError = pImporter->GetErrorText();
        return stacks;
    }
    const double fRate = FbxFrameRateOf(*pScene);
    for (size_t n = 0; n < pScene->GetAnimStackCount(); ++n)
    {
        const FbxAnimStack& stack = *pScene->GetAnimStack(n);
        stacks.all.push_back({stack.GetName(), FbxFramesOf(FbxSpanOf(stack), fRate)});
    }
    if (const FbxAnimStack* pCurrent = pScene->GetCurrentAnimStack())
        stacks.sCurrent = pCurrent->GetName();
    return stacks;
}

/// The take's stack, empty for the chosen one; its frames are filled in.
std::string Settle(STakeMark& take, const SStacks& stacks, const std::string& sChosen)
{
    const std::string sPlace = "/takes/" + std::to_string(take.nIndex);
    const std::string& sStack = take.sStack.empty() ? sChosen : take.sStack;
    const SStack* pStack = stacks.Find(sStack);
    if (pStack == nullptr && !take.sStack.empty())
        throw ZMarksError(sPlace + NoSuchStack(sStack, stacks.Names()));
    if (pStack == nullptr)
        throw ZMarksError(sPlace +
                          ": without startFrame and endFrame a take is all of its anim stack, and the file has "
                          "none");
    const auto number = [](int64_t n)
    {
        using TLimits = std::numeric_limits<int32_t>;
        return static_cast<int32_t>(std::clamp<int64_t>(n, TLimits::min(), TLimits::max()));
    };
    take.startFrame = take.startFrame.value_or(number(pStack->frames.nFirst));
    take.endFrame = take.endFrame.value_or(number(pStack->frames.nLast));
    if (*take.endFrame < *take.startFrame)
        throw ZMarksError(sPlace + ": frame " + std::to_string(*take.startFrame) + " lies behind the last one, " +
                          std::to_string(*take.endFrame) + ", of the anim stack '" + sStack + "'");
    return sStack == sChosen ? std::string() : sStack;
}

} // namespace

std::vector<SStackMarks> SplitByStack(const SMarks& marks, const std::string& sScene, std::string& sError)
{
    std::vector<SStackMarks> files{{"", marks}};
    const auto asks = [](const STakeMark& take) { return !take.sStack.empty() || !take.startFrame || !take.endFrame; };
    if (std::none_of(marks.takes.begin(), marks.takes.end(), asks))
        return files;
    const SStacks stacks = ReadStacks(sScene, sError);
    if (!sError.empty())
        return files;

    const std::string& sChosen = marks.sStack.empty() ? stacks.sCurrent : marks.sStack;
    files.front().marks.takes.clear();
    ZMarksFaults faults;
    for (STakeMark take : marks.takes)
        faults.Try(
            [&]
            {
                const std::string sStack = Settle(take, stacks, sChosen);
                auto place = std::find_if(files.begin(), files.end(),
                                          [&sStack](const SStackMarks& file) { return file.sStack == sStack; });
                if (place == files.end())
                {
                    files.push_back({sStack, marks});
                    place = files.end() - 1;
                    place->marks.sStack = sStack;
                    place->marks.takes.clear();
                }
                place->marks.takes.push_back(std::move(take));
            });
    faults.Finish();
    return files;
}

} // namespace Host
