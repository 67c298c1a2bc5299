#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The input cut at bytes 0xff, which no text has: so many pieces, empty where it has fewer, the rest left out.
inline std::vector<std::string> CutPieces(const uint8_t* pData, size_t nSize, size_t nPieces)
{
    std::vector<std::string> pieces(1);
    for (size_t n = 0; n < nSize; ++n)
        if (pData[n] == 0xff)
            pieces.emplace_back();
        else
            pieces.back() += static_cast<char>(pData[n]);
    pieces.resize(nPieces);
    return pieces;
}
