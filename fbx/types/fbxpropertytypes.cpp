#include "fbx/types/fbxpropertytypes.h"

#include <algorithm>
#include <iterator>

namespace
{

// Ordered by name, for a binary search. Spellings differ by exporter and by whether a property can be animated.
constexpr SFbxTypeInfo kTypes[] = {
    {"Action", EFbxType::eBool, 1},
    {"Blob", EFbxType::eBlob, 0},
    {"Bool", EFbxType::eBool, 1},
    {"Byte", EFbxType::eChar, 1},
    {"Color", EFbxType::eDouble3, 3},
    {"ColorAndAlpha", EFbxType::eDouble4, 4},
    {"ColorRGB", EFbxType::eDouble3, 3},
    {"ColorRGBA", EFbxType::eDouble4, 4},
    {"Compound", EFbxType::eUndefined, 0},
    {"DateTime", EFbxType::eDateTime, 0},
    {"Distance", EFbxType::eDistance, 1},
    {"Double", EFbxType::eDouble, 1},
    {"Double44", EFbxType::eDouble4x4, 16},
    {"Double4x4", EFbxType::eDouble4x4, 16},
    {"Enum", EFbxType::eEnum, 1},
    {"EnumM", EFbxType::eEnum, 1},
    {"FieldOfView", EFbxType::eDouble, 1},
    {"FieldOfViewX", EFbxType::eDouble, 1},
    {"FieldOfViewY", EFbxType::eDouble, 1},
    {"Float", EFbxType::eFloat, 1},
    {"HalfFloat", EFbxType::eHalfFloat, 1},
    {"Int", EFbxType::eInt, 1},
    {"Integer", EFbxType::eInt, 1},
    {"Intensity", EFbxType::eDouble, 1},
    {"KMatrix", EFbxType::eDouble4x4, 16},
    {"KString", EFbxType::eString, 0},
    {"KTime", EFbxType::eTime, 1},
    {"Lcl Rotation", EFbxType::eDouble3, 3},
    {"Lcl Scaling", EFbxType::eDouble3, 3},
    {"Lcl Translation", EFbxType::eDouble3, 3},
    {"LongLong", EFbxType::eLongLong, 1},
    {"Matrix", EFbxType::eDouble4x4, 16},
    {"Matrix Transformation", EFbxType::eDouble4x4, 16},
    {"MatrixTransformation", EFbxType::eDouble4x4, 16},
    {"Number", EFbxType::eDouble, 1},
    {"OpticalCenterX", EFbxType::eDouble, 1},
    {"OpticalCenterY", EFbxType::eDouble, 1},
    {"Quaternion", EFbxType::eDouble4, 4},
    {"Real", EFbxType::eDouble, 1},
    {"Reference", EFbxType::eReference, 0},
    {"ReferenceProperty", EFbxType::eReference, 0},
    {"Roll", EFbxType::eDouble, 1},
    {"Rotation", EFbxType::eDouble3, 3},
    {"Scaling", EFbxType::eDouble3, 3},
    {"Short", EFbxType::eShort, 1},
    {"Time", EFbxType::eTime, 1},
    {"TimeCode", EFbxType::eTime, 1},
    {"Transform Matrix", EFbxType::eDouble4x4, 16},
    {"TransformMatrix", EFbxType::eDouble4x4, 16},
    {"Transformation Matrix", EFbxType::eDouble4x4, 16},
    {"Translation", EFbxType::eDouble3, 3},
    {"UByte", EFbxType::eUChar, 1},
    {"UInteger", EFbxType::eUInt, 1},
    {"ULongLong", EFbxType::eULongLong, 1},
    {"UShort", EFbxType::eUShort, 1},
    {"Url", EFbxType::eString, 0},
    {"Vector", EFbxType::eDouble3, 3},
    {"Vector2", EFbxType::eDouble2, 2},
    {"Vector2D", EFbxType::eDouble2, 2},
    {"Vector3", EFbxType::eDouble3, 3},
    {"Vector3D", EFbxType::eDouble3, 3},
    {"Vector4", EFbxType::eDouble4, 4},
    {"Vector4D", EFbxType::eDouble4, 4},
    {"Visibility", EFbxType::eDouble, 1},
    {"Visibility Inheritance", EFbxType::eBool, 1},
    {"Weight", EFbxType::eDouble, 1},
    {"XRefUrl", EFbxType::eString, 0},
    {"bool", EFbxType::eBool, 1},
    {"charptr", EFbxType::eString, 0},
    {"double", EFbxType::eDouble, 1},
    {"enum", EFbxType::eEnum, 1},
    {"float", EFbxType::eFloat, 1},
    {"int", EFbxType::eInt, 1},
    {"matrix", EFbxType::eDouble4x4, 16},
    {"matrix4x4", EFbxType::eDouble4x4, 16},
    {"object", EFbxType::eReference, 0},
    {"short", EFbxType::eShort, 1},
    {"transform", EFbxType::eDouble4x4, 16},
};

constexpr bool IsOrdered()
{
    for (size_t n = 1; n < std::size(kTypes); ++n)
        if (!(kTypes[n - 1].name < kTypes[n].name))
            return false;
    return true;
}
static_assert(IsOrdered());

} // namespace

const char* FbxTypeName(EFbxType eType)
{
    static constexpr const char* names[] = {"Undefined", "Char",      "UChar",     "Short",   "UShort",    "UInteger",
                                            "LongLong",  "ULongLong", "HalfFloat", "Bool",    "Integer",   "Float",
                                            "Double",    "Double2",   "Double3",   "Double4", "Double4x4", "Enum",
                                            "String",    "Time",      "Reference", "Blob",    "Distance",  "DateTime"};
    const int nType = static_cast<int>(eType);
    return nType >= 0 && nType < static_cast<int>(std::size(names)) ? names[nType] : "Undefined";
}

const SFbxTypeInfo* FbxFindType(std::string_view name)
{
    const auto* pFound =
        std::lower_bound(std::begin(kTypes), std::end(kTypes), name,
                         [](const SFbxTypeInfo& info, std::string_view key) { return info.name < key; });
    return pFound != std::end(kTypes) && pFound->name == name ? pFound : nullptr;
}

uint32_t FbxParseFlags(std::string_view text)
{
    uint32_t nFlags = 0;
    for (size_t n = 0; n < text.size(); ++n)
    {
        const auto mask = [&]() -> uint32_t
        {
            // A digit is the mask of channels; the bare letter means all of them.
            if (n + 1 < text.size() && text[n + 1] >= '1' && text[n + 1] <= '7')
                return static_cast<uint32_t>(text[++n] - '0');
            return 7u;
        };
        switch (text[n])
        {
        case 'A':
            nFlags |= eFbxFlag_Animatable;
            break;
        case '+':
            nFlags |= eFbxFlag_Animated;
            break;
        case 'U':
            nFlags |= eFbxFlag_UserDefined;
            break;
        case 'H':
            nFlags |= eFbxFlag_Hidden;
            break;
        case 'N':
            nFlags |= eFbxFlag_NotSaved;
            break;
        case 'L':
            nFlags |= mask() << eFbxFlag_LockedShift;
            break;
        case 'M':
            nFlags |= mask() << eFbxFlag_MutedShift;
            break;
        default:
            break;
        }
    }
    return nFlags;
}

std::string FbxFlagsText(uint32_t nFlags)
{
    std::string sText;
    const uint32_t nLocked = nFlags >> eFbxFlag_LockedShift & 7u;
    const uint32_t nMuted = nFlags >> eFbxFlag_MutedShift & 7u;
    if (nFlags & eFbxFlag_Animatable)
        sText += 'A';
    if (nFlags & eFbxFlag_Animated)
        sText += '+';
    if (nFlags & eFbxFlag_Hidden)
        sText += 'H';
    if (nFlags & eFbxFlag_NotSaved)
        sText += 'N';
    if (nLocked)
        (sText += 'L') += static_cast<char>('0' + nLocked);
    if (nMuted)
        (sText += 'M') += static_cast<char>('0' + nMuted);
    if (nFlags & eFbxFlag_UserDefined)
        sText += 'U';
    return sText;
}
