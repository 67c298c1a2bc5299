#pragma once

#include "tests/fbx/fbxfile.h"

namespace fbxfile
{

/// One of everything that a file of version 7 may hold: attributes, pivots, every kind of key, layers, two stacks.
Scene RichScene();

/// A file of version 6: names for numbers, properties of 60, a take with channels.
Record OldScene();

/// One channel of an old take: keys as the mixed list of numbers and letters.
Record OldChannel(const std::string& sName, double fDefault, std::vector<Value> keys, int64_t nKeys);
/// A letter in such a list.
inline Value Letter(char c)
{
    return {'C', c, 0.0, {}, {}, {}};
}

} // namespace fbxfile
