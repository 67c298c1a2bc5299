// Any text: it is collected, or fails with zhalt_exception and a place; nothing behind its end is read and nothing
// stays. Techniques are read by the sample's reader of passes. What the sample does to text before and behind the
// preprocessor does not multiply it.
#include "samples/effectcompiler/passreader.h"
#include "samples/effectcompiler/preprocessortext.h"
#include "tests/resource/_shared/effectfixtures.h"

#include <cstdlib>

namespace
{

class ZFuzzedCompiler final : public ZPlainCompiler
{
protected:
    void ParseTechniqueBody(const char* pText, size_t nSize, uint32_t& nLine, char*, ZString*, size_t&,
                            size_t& nPosition, SFXTechnique& technique) override
    {
        Samples::ReadPasses(pText, nSize, nLine, nPosition, technique.passes);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    const std::string_view text(reinterpret_cast<const char*>(pData), nSize);
    const size_t nMost = 8 * nSize + (size_t(2) << 20);
    if (Samples::PrepareFlatSource(text).size() > nMost || Samples::ConvertLineMarks(text).text.size() > nMost)
        std::abort();
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    {
        ZFuzzedCompiler compiler;
        try
        {
            if (!compiler.CollectText(text))
                std::abort();
        }
        catch (const zhalt_exception&)
        {
            if (compiler.GetLastError().IndexOf(": ") == ZString::NOT_FOUND)
                std::abort();
        }
        for (const auto& [name, sampler] : compiler.GetSamplers())
            if (!(name == sampler.name))
                std::abort();
        size_t nPasses = 0;
        for (const SFXTechnique& technique : compiler.GetTechniques())
            nPasses += technique.passes.Size();
        if (nPasses + compiler.GetSharedParameters().Size() > nSize)
            std::abort(); // more than the text can hold
    }
    if (GetMemoryManager()->LiveBlockCount() != nBlocks)
        std::abort();
    return 0;
}
