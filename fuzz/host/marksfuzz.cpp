// Any marks on a small scene: either they are refused with a text, or the marked file can be written and read, and
// has the takes.
#include "fuzz/fbx/fuzzrequire.h"
#include "host/marking/marking.h"

namespace
{

constexpr std::string_view SCENE = "; FBX 7.4.0 project file\n"
                                   "FBXHeaderExtension: {\n FBXVersion: 7400\n}\n"
                                   "Definitions: {\n Count: 3\n ObjectType: \"Model\" {\n  Count: 3\n }\n}\n"
                                   "Objects: {\n"
                                   " Model: 1, \"Model::ground\", \"Null\" {\n }\n"
                                   " Model: 2, \"Model::ns:Hips\", \"LimbNode\" {\n"
                                   "  Properties70: {\n   P: \"Speed\", \"double\", \"Number\", \"U\", 1.5\n  }\n }\n"
                                   " Model: 1000000, \"Model::cam\", \"Camera\" {\n }\n"
                                   "}\n"
                                   "Connections: {\n C: \"OO\", 2, 1\n C: \"OO\", 1, 0\n}\n";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    FbxDocument document;
    FUZZ_REQUIRE(document.LoadFromMemory(SCENE.data(), SCENE.size()));
    std::vector<std::string> warnings;
    Host::SMarks marks;
    try
    {
        marks = Host::ReadMarks({reinterpret_cast<const char*>(pData), nSize});
        Host::ApplyMarks(marks, document, warnings);
    }
    catch (const Host::ZMarksError& e)
    {
        FUZZ_REQUIRE(*e.what() != '\0');
        return 0;
    }
    for (const bool bBinary : {false, true})
    {
        FUZZ_REQUIRE(document.SetFormat(bBinary, 7400));
        std::string sFile;
        if (!document.Write(sFile))
        {
            // A text file has no way to write some texts.
            FUZZ_REQUIRE(!bBinary && !document.Error().empty());
            continue;
        }
        FbxDocument again;
        FUZZ_REQUIRE(again.LoadFromMemory(sFile.data(), sFile.size()));
        const FbxDocumentEdit edit(again);
        size_t nTakes = 0;
        for (const char* szGround : {"ground", "ns:Hips", "cam"})
            for (const SFbxRecord* pChild : edit.Children(*edit.FindNode(szGround)))
                nTakes += edit.FindProperty(*pChild, "TakeData") != nullptr;
        FUZZ_REQUIRE(nTakes >= (marks.takes.empty() ? 0u : 1u));
    }
    return 0;
}
