// fbxscene scene FILE --json [--stack NAME] [--at=SECONDS,...] [--ticks=TICKS,...]
// What the library makes of a file after the conversion to Z up, as one line of JSON.
#include "fbx/tools/scenejson.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

template <class Add>
void ForEachItem(const char* sz, Add add)
{
    while (*sz)
    {
        const char* pEnd = std::strchr(sz, ',');
        const std::string sItem = pEnd ? std::string(sz, pEnd) : std::string(sz);
        add(sItem.c_str());
        sz = pEnd ? pEnd + 1 : sz + std::strlen(sz);
    }
}

struct SArguments
{
    const char* szPath = nullptr;
    const char* szStack = nullptr;
    std::vector<FbxTime> times;
};

bool Parse(int nArguments, char** ppArguments, SArguments& arguments)
{
    for (int n = 1; n < nArguments; ++n)
    {
        const std::string_view word = ppArguments[n];
        const auto value = [&](std::string_view name) -> const char*
        {
            if (word.substr(0, name.size()) != name)
                return nullptr;
            if (word.size() > name.size() && word[name.size()] == '=')
                return ppArguments[n] + name.size() + 1;
            return word.size() == name.size() && n + 1 < nArguments ? ppArguments[++n] : nullptr;
        };
        if (word == "scene" || word == "--json")
            continue;
        if (const char* szAt = value("--at"))
            ForEachItem(szAt, [&](const char* sz) { arguments.times.push_back(FbxTime::FromSeconds(std::atof(sz))); });
        else if (const char* szTicks = value("--ticks"))
            ForEachItem(szTicks,
                        [&](const char* sz) { arguments.times.push_back(FbxTime::FromTicks(std::atoll(sz))); });
        else if (const char* szStack = value("--stack"))
            arguments.szStack = szStack;
        else if (!arguments.szPath && word[0] != '-')
            arguments.szPath = ppArguments[n];
        else
            return false;
    }
    return arguments.szPath != nullptr;
}

bool Run(const SArguments& arguments, FbxManager* pManager)
{
    FbxScene* pScene = FbxScene::Create(pManager, "");
    FbxImporter* pImporter = FbxImporter::Create(pManager, "");
    if (!pImporter->Initialize(arguments.szPath, -1, nullptr) || !pImporter->Import(pScene))
    {
        std::fprintf(stderr, "%s: error: %s\n", arguments.szPath, pImporter->GetErrorText());
        return false;
    }
    FbxAxisSystem::ZUpMinusYFront().ConvertScene(pScene);
    if (arguments.szStack)
    {
        FbxAnimStack* pFound = nullptr;
        for (size_t n = 0; n < pScene->GetAnimStackCount() && !pFound; ++n)
            if (std::strcmp(pScene->GetAnimStack(n)->GetName(), arguments.szStack) == 0)
                pFound = pScene->GetAnimStack(n);
        if (!pFound)
        {
            std::fprintf(stderr, "%s: error: there is no stack '%s'\n", arguments.szPath, arguments.szStack);
            return false;
        }
        pScene->SetCurrentAnimStack(pFound);
    }
    std::puts(FbxSceneJson(*pScene, *pImporter, arguments.szPath, arguments.times).c_str());
    return true;
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    SArguments arguments;
    if (!Parse(nArguments, ppArguments, arguments))
    {
        std::fprintf(stderr, "usage: fbxscene scene FILE --json [--stack NAME] [--at=S,...] [--ticks=N,...]\n");
        return 2;
    }
    FbxManager* pManager = FbxManager::Create();
    const bool bOk = Run(arguments, pManager);
    pManager->Destroy();
    return bOk ? 0 : 1;
}
