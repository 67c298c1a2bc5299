#include "host/commands/packedchoice.h"

#include "host/state/packedids.h"
#include "host/verify/verification.h"

#include <algorithm>

namespace Host
{

SPackedChoice ChoosePacked(const SOptions& options, const ZAssetTree& tree, bool bOnePlatform)
{
    const std::string& sOut = options.session.sOut;
    std::vector<SPackedAnimation> all = FindPackedAnimations(
        sOut, options.bPlatformGiven ? options.platforms : std::vector<std::string>(), PackedIds(sOut));
    SPackedChoice choice;
    choice.bNothingThere = all.empty();
    std::vector<bool> isChosen(all.size(), options.sources.empty());
    for (const std::string& sWord : options.sources)
    {
        const std::string sId = ToLower(tree.IdOf(sWord));
        bool bAny = false;
        for (size_t n = 0; n < all.size(); ++n)
            if (IsNamed(all[n], sId, sWord))
                bAny = isChosen[n] = true;
        if (!bAny)
            choice.missing.push_back(sWord);
    }
    for (size_t n = 0; n < all.size(); ++n)
        if (isChosen[n])
            choice.packed.push_back(std::move(all[n]));
    if (bOnePlatform && !options.bPlatformGiven && !choice.packed.empty())
    {
        const auto isPc = [](const SPackedAnimation& one) { return one.sPlatform == "pc"; };
        const std::string sPlatform =
            std::any_of(choice.packed.begin(), choice.packed.end(), isPc) ? "pc" : choice.packed.front().sPlatform;
        std::erase_if(choice.packed, [&](const SPackedAnimation& one) { return one.sPlatform != sPlatform; });
    }
    return choice;
}

} // namespace Host
