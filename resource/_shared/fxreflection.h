#pragma once

#include "base/collections/tarray.h"
#include "base/collections/tmap.h"
#include "base/pointers/tsharedptr.h"
#include "resource/_shared/fxcompilerutil.h"

/// Which fields of a sampler state its declaration set.
enum EFXSamplerFlags : uint8_t
{
    eSampler_Filter = 0x01,
    eSampler_AddressU = 0x04,
    eSampler_AddressV = 0x08,
    eSampler_AddressW = 0x10,
    eSampler_BorderColor = 0x20,
    eSampler_MaxAnisotropy = 0x40,
    eSampler_MipLODBias = 0x80
};

/// A sampler with its settings, as an effect declares it. Values are those of the Direct3D 11 enumerations for filters;
/// address modes are 0 wrap, 1 clamp, 2 border.
struct SFXSamplerState
{
    ZString name;
    uint32_t borderColor = 0; ///< four bytes in the order in which float4 names them, the first on top
    uint8_t flags = 0;        ///< EFXSamplerFlags
    uint8_t addressU = 0;
    uint8_t addressV = 0;
    uint8_t addressW = 0;
    uint8_t filter = 0;
    uint8_t maxAnisotropy = 1;
    float mipLODBias = 0.0f;
};
static_assert(sizeof(SFXSamplerState) == 32, "a name, a colour, six bytes and a float");

/// What a compiler wants to keep with a pass beyond its texts.
class IFXPassData
{
public:
    virtual ~IFXPassData() = default;
};

/// One setting of a pass, as it stands in the effect: "VertexShader", "compile vs_5_0 Main()".
struct SFXPassState
{
    ZString name;
    ZString value;
};

/// One pass of a technique. The compiler that derives from the base fills it; the base reads the two paths only.
struct SFXPass
{
    ZString name;
    /// Files on disk that CompileEffect removes when the effect is compiled; empty for none.
    ZString firstTemporaryFile;
    ZString secondTemporaryFile;
    TArray<SFXPassState> states;
    TSharedPtr<IFXPassData> pData;
};

struct SFXTechnique
{
    ZString name;
    TArray<SFXPass> passes;
};

/// A parameter of an effect, for a compiler that knows its backend's layout.
struct SFXParameter
{
    ZString name;
    ZString semantic; ///< empty for none
    uint32_t type = 0;
    uint32_t elementCount = 0; ///< 0 for what is no array
    uint32_t offset = 0;       ///< bytes into its constant buffer
    uint32_t size = 0;
};
static_assert(sizeof(SFXParameter) == 48);

/// A constant buffer of an effect, for the same.
struct SFXConstantBuffer
{
    ZString name;
    TArray<uint32_t> parameters; ///< indices of its parameters
    uint32_t slot = 0;
    uint32_t size = 0;
};
static_assert(sizeof(SFXConstantBuffer) == 40);

namespace FXCompilerUtil
{

constexpr uint32_t INVALID_ID = 0xffffffffu;

/// Element of a table of names and the like, where an index may stand for none.
template <class T>
requires(sizeof(T) == 16) const T& ElementOf(const TArray<T>& elements, uint32_t index)
{
    ZASSERT_TEXT(index != INVALID_ID, "index != INVALID_ID");
    return elements[index];
}

} // namespace FXCompilerUtil
