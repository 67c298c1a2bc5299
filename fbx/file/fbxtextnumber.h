#pragma once

#include "fbx/file/fbxrecord.h"

#include <string_view>

/// A number of a text file, of every spelling met in files, infinities and not-a-number among them. Not locale
/// dependent. False when it is none.
bool FbxParseNumber(std::string_view text, SFbxValue& value);

/// A number as most are, which stands before a comma, a closing brace or the end of its line: digits, a point and
/// digits. Returns where it ends. Null for whatever else stands there, a number or none.
const char* FbxParsePlainNumber(const char* p, const char* pEnd, SFbxValue& value);

/// Whether a word may be a number, by its first letters.
bool FbxLooksLikeNumber(std::string_view word);
