#include "fbx/file/fbxobjectname.h"

SFbxObjectName FbxSplitName(std::string_view text)
{
    const size_t nBinary = text.find(std::string_view("\0\1", 2));
    if (nBinary != std::string_view::npos)
        return {text.substr(0, nBinary), text.substr(nBinary + 2)};
    const size_t nText = text.find("::");
    if (nText != std::string_view::npos)
        return {text.substr(nText + 2), text.substr(0, nText)};
    return {text, {}};
}
