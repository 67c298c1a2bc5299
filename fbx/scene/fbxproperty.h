#pragma once

#include "fbx/scene/fbxtransform.h"
#include "fbx/types/fbxpropertytypes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class FbxObject;
class FbxAnimCurveNode;

/// The stored form of one property: private to the library, FbxProperty is how it is read.
struct SFbxPropertyData
{
    std::string_view name;
    std::string_view typeName; ///< as written: "KString", "Lcl Translation"
    std::string_view text;     ///< strings and blobs
    const double* pMatrix = nullptr;
    int64_t integer = 0; ///< integer types and time; for the others the value cut to an integer
    double values[4] = {0, 0, 0, 0};
    uint32_t nFlags = 0;
    EFbxType eType = EFbxType::eUndefined;
    uint8_t nChannels = 1;
};

/// Small handle on a property of an object: copy it freely. It is valid as long as its scene lives and the object's
/// properties are not added to. All reads of an invalid handle give zero, "", or the identity.
class FbxProperty
{
public:
    FbxProperty() = default;
    FbxProperty(FbxObject* pObject, const SFbxPropertyData* pData) : m_pObject(pObject), m_pData(pData) {}

    bool IsValid() const { return m_pData != nullptr; }
    FbxObject* GetObject() const { return m_pObject; }
    const char* GetName() const;
    EFbxType GetType() const;
    /// Name of the data type as the file writes it, for instance "KString" or "Lcl Rotation".
    const char* GetTypeName() const;

    /// Bits of EFbxPropertyFlags; bit value 1 says that the property can be animated.
    uint32_t GetFlags() const;
    /// The same in the letters of files: "A+U".
    std::string GetFlagsText() const;
    bool IsUserDefined() const { return (GetFlags() & eFbxFlag_UserDefined) != 0; }

    /// The property's curve node in the first layer of the scene's current stack that has one; null when none does.
    FbxAnimCurveNode* GetCurveNode() const;

    // Converting reads of the static value: numbers to and from text, a vector gives its first channel.
    bool GetBool() const;
    int64_t GetInt64() const;
    uint64_t GetUInt64() const;
    double GetDouble() const;
    std::string GetString() const;
    FbxVector3 GetVector3() const;
    FbxMatrix4 GetMatrix() const;

    // Change the static value, converted to the property's type; false when that type can't hold it. The texts "true"
    // and "false" stand for bools in text.
    bool SetBool(bool bValue);
    bool SetInt64(int64_t nValue);
    bool SetDouble(double fValue);
    bool SetVector3(const FbxVector3& v);
    /// One number of up to four.
    bool SetChannel(size_t nChannel, double fValue);
    bool SetString(std::string_view text);
    bool SetMatrix(const FbxMatrix4& matrix);

    /// 1 for single numbers, 2 to 4 for vectors, 16 for a matrix, 0 for text.
    int GetChannelCount() const;
    /// Static values of all channels; the rest of `out` is zero.
    void GetChannels(double out[16]) const;

    const SFbxPropertyData* GetData() const { return m_pData; }

private:
    SFbxPropertyData* Own();

    FbxObject* m_pObject = nullptr;
    const SFbxPropertyData* m_pData = nullptr;
};
