#include "host/module/oldlayout.h"

#include "host/files/assettree.h"
#include "host/files/resourceids.h"
#include "os/sharedlibrary.h"

#include <filesystem>

namespace Host
{

namespace
{

// Exported as C++ functions, under the names that the platform's compilers give them.
constexpr const char IS_OLD_FORMAT[] = "_ZN13ZFbxConverter11IsOldFormatEP8FbxScene";
constexpr const char CONVERT[] = "_ZN13ZFbxConverter20ConvertToNewPipelineERK11ZResourceIDP8FbxScene";

/// The identifier under which the file would be packed; any will do for a file outside of the asset tree.
ZResourceID IdOf(const std::string& sAssets, const std::string& sSource)
{
    std::error_code error;
    return ToId(std::filesystem::is_directory(sAssets, error) ? ZAssetTree(sAssets).IdOf(sSource) : sSource);
}

} // namespace

void ConvertOldLayout(const std::string& sModule, const std::string& sAssets, const std::string& sSource,
                      FbxScene* pScene)
{
    // Stays loaded: what it makes in the scene has its code there.
    std::string sWhy;
    void* pLibrary = Os::LoadSharedLibrary(sModule, sWhy);
    if (pLibrary == nullptr)
        return;
    auto* pIsOldFormat = reinterpret_cast<bool (*)(FbxScene*)>(Os::FindSymbol(pLibrary, IS_OLD_FORMAT));
    auto* pConvert = reinterpret_cast<void (*)(const ZResourceID&, FbxScene*)>(Os::FindSymbol(pLibrary, CONVERT));
    if (pIsOldFormat != nullptr && pConvert != nullptr && pIsOldFormat(pScene))
        pConvert(IdOf(sAssets, sSource), pScene);
}

} // namespace Host
