#pragma once

#include "fbx/file/fbxrecord.h"

#include <string_view>

/// A number of a text file, of every spelling met in files, infinities and not-a-number among them. Not locale
/// dependent. False when it is none.
bool FbxParseNumber(std::string_view text, SFbxValue& value);

/// Whether a word may be a number, by its first letters.
bool FbxLooksLikeNumber(std::string_view word);
