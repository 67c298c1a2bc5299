#include "fbx/file/fbxrecord.h"

#include <cmath>
#include <cstring>

int64_t SFbxValue::AsInt64() const
{
    if (type == 'I')
        return i;
    if (type != 'D' || std::isnan(d))
        return 0;
    if (d >= 9.2e18)
        return INT64_MAX;
    if (d <= -9.2e18)
        return INT64_MIN;
    return static_cast<int64_t>(d);
}

double SFbxValue::AsDouble() const
{
    if (type == 'D')
        return d;
    return type == 'I' ? static_cast<double>(i) : 0.0;
}

char SFbxValue::AsLetter() const
{
    if (type == 'W' || type == 'S')
        return n > 0 ? *p : '\0';
    if (type == 'I' && i > 0 && i < 128)
        return static_cast<char>(i);
    return '\0';
}

EFbxScope FbxScopeOfChild(EFbxScope eParent, std::string_view name)
{
    const auto isOneOf = [name](std::initializer_list<std::string_view> names)
    {
        for (const std::string_view candidate : names)
            if (candidate == name)
                return true;
        return false;
    };
    switch (eParent)
    {
    case EFbxScope::eRoot:
        if (name == "Objects")
            return EFbxScope::eObjects;
        if (name == "Model")
            return EFbxScope::eModel;
        return isOneOf({"FBXHeaderExtension", "GlobalSettings", "Documents", "Definitions", "Connections", "Takes",
                        "Settings", "Version5"})
                   ? EFbxScope::eAll
                   : EFbxScope::eSkip;
    case EFbxScope::eObjects:
        if (name == "AnimationCurve" || name == "AnimationCurveNode")
            return EFbxScope::eAll;
        if (name == "Model")
            return EFbxScope::eModel;
        if (name == "Geometry" || name == "NodeAttribute")
            return EFbxScope::eProperties;
        return isOneOf({"AnimationStack", "AnimationLayer", "GlobalSettings"}) ? EFbxScope::eAll : EFbxScope::eSkip;
    case EFbxScope::eProperties:
        return isOneOf({"Properties70", "Properties60"}) ? EFbxScope::eAll : EFbxScope::eSkip;
    case EFbxScope::eModel:
        return isOneOf({"Properties70", "Properties60", "Properties", "Channel", "Type", "TypeFlags", "Children",
                        "ApertureMode", "CameraAperture", "FocalLength", "NearPlane", "FarPlane"})
                   ? EFbxScope::eAll
                   : EFbxScope::eSkip;
    default:
        return eParent;
    }
}

SFbxHead FbxReadHead(const uint8_t* pData, size_t nSize)
{
    SFbxHead head;
    static constexpr char szBinary[] = "Kaydara FBX Binary  ";
    if (nSize >= 27 && std::memcmp(pData, szBinary, sizeof szBinary) == 0)
    {
        head.eFormat = EFbxFormat::eBinary;
        head.bBigEndian = pData[22] == 1;
        const uint8_t* p = pData + 23;
        const uint32_t nVersion = head.bBigEndian
                                      ? uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]
                                      : uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
        head.nVersion = nVersion < 1000000 ? static_cast<int>(nVersion) : 1000000;
        return head;
    }

    // A text file opens with a comment that names the format and its version: "; FBX 7.4.0 project file". Where that
    // was cut off, the first record does.
    const size_t nLook = nSize < 4096 ? nSize : 4096;
    const std::string_view text(reinterpret_cast<const char*>(pData), nLook);
    if (text.find('\0') != std::string_view::npos)
        return head;
    size_t nAt = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (nAt == std::string_view::npos)
        return head;
    const size_t nRecord = text.find("FBXHeaderExtension:");
    const size_t nFirst = text.find("; FBX ");
    if (nFirst == nAt && nFirst + 11 <= nLook)
    {
        const char* p = text.data() + nFirst + 6;
        if (p[0] >= '0' && p[0] <= '9' && p[1] == '.' && p[2] >= '0' && p[2] <= '9' && p[3] == '.' && p[4] >= '0' &&
            p[4] <= '9')
        {
            head.eFormat = EFbxFormat::eText;
            head.nVersion = (p[0] - '0') * 1000 + (p[2] - '0') * 100 + (p[4] - '0') * 10;
        }
    }
    if (nRecord != std::string_view::npos && (text[nAt] == ';' || nRecord == nAt))
        head.eFormat = EFbxFormat::eText;
    const size_t nVersion = text.find("FBXVersion:");
    if (head.eFormat == EFbxFormat::eText && nVersion != std::string_view::npos)
    {
        size_t n = text.find_first_not_of(" \t", nVersion + 11);
        int nValue = 0;
        int nDigits = 0;
        for (; n < nLook && nDigits < 6 && text[n] >= '0' && text[n] <= '9'; ++n, ++nDigits)
            nValue = nValue * 10 + (text[n] - '0');
        if (nDigits > 0)
            head.nVersion = nValue;
    }
    return head;
}
