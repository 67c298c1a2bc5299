#pragma once

#include <string_view>

/// A file's name of an object, apart: "Model::Box" in text, "Box", 0, 1, "Model" in binary files.
struct SFbxObjectName
{
    std::string_view name;
    std::string_view className;
};
SFbxObjectName FbxSplitName(std::string_view text);
