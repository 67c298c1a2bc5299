// Any bytes: a document that can be walked to its end by the reader and by its nodes alike, or a refusal by both.
#include "fuzz/animation/fuzzinput.h"
#include "system/serializer/xmldocument.h"
#include "system/serializer/xmlreader.h"

namespace
{

size_t CountNodes(const ZComPtr<IXMLDOMNode>& node)
{
    size_t nCount = 0;
    for (const auto& child : GetNodeChildElements(node))
    {
        FUZZ_REQUIRE(!GetNodeName(child).IsEmpty() && GetNodeParent(child));
        GetOptionalAttribute(child, "name", "");
        nCount += 1 + CountNodes(child); // nesting is limited by the loader
    }
    return nCount;
}

void Run(const uint8_t* pData, size_t nSize)
{
    const auto document = LoadXMLDocument(ZFuzzInput(pData, nSize).Stream());
    const auto root = GetDocumentElement(document);
    if (document)
        FUZZ_REQUIRE(SelectNodes(document, "//*").Size() == CountNodes(document));

    const ZFuzzInput input(pData, nSize);
    ZXMLReader reader("fuzz");
    try
    {
        reader.SetInputStream(input.Stream());
        FUZZ_REQUIRE(document);
        ZXMLReader::STag tag, child;
        reader.StartTagAssert(root ? GetNodeName(root) : ZString("none"), tag);
        FUZZ_REQUIRE(root);
        for (const auto& element : GetNodeChildElements(root))
        {
            // Text between the elements ends the walk.
            if (!reader.StartAndSkipTag(GetNodeName(element), child))
                break;
        }
        if (!reader.PeekEndTag())
            reader.ReadTextAssert();
        reader.EndTagAssert(tag);
    }
    catch (const zhalt_exception&)
    {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return FuzzWithoutLeaks(pData, nSize, &Run);
}
