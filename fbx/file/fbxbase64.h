#pragma once

#include <string>
#include <string_view>

/// Bytes as text files hold them, and pages: with the padding at the end.
std::string FbxToBase64(std::string_view bytes);
/// False for a text that is none.
bool FbxFromBase64(std::string_view text, std::string& sBytes);
