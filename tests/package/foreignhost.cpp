// A pipeline host of somebody else, made from the installed package alone: docs/hosting.md in code.
//
//   foreignhost MODULE ASSETS OUT PLATFORM... -- SOURCE EXTENSION [SOURCE EXTENSION]...
//
// Packs each source for each platform and prints "IDENTIFIER<tab>FILE" for whatever came of it, rigs on the way
// included.
#include "base/component/componentbase.h"
#include "base/component/componentmanager.h"
#include "base/component/simplemodulebase.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "resource/_shared/_internal/resourcescandata.h"
#include "resource/_shared/resourceheader.h"
#include "resource/animation/frame/platform.h"
#include "resource/core/iresourcedatabase.h"
#include "resource/core/iresourcefactory.h"
#include "resource/core/iresourcepacker.h"
#include "system/serializer/binaryserializer.h"

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

/// Ends the program, but through the frames of the module: everything in them ends as well.
[[noreturn]] void Fail(const std::string& sWhat)
{
    throw std::runtime_error(sWhat);
}

bool OnAssertion(const char*, int, const char* szExpression, bool*, const char* szMessage, const char*)
{
    Fail(std::string(szExpression) + " " + szMessage);
}

ZString g_platform; // of the pack at work: the option "t"

class ZUtility final : public TCountedComponent<ZUtility, IPackerUtility>
{
public:
    bool SetContext(IResourcePackerContext* pContext) override { return pContext != nullptr; }
    bool GetOption(const ZString& name, ZString& value) override
    {
        if (!(name == "t"))
            return false;
        value = g_platform;
        return true;
    }
};

class ZForeignModule final : public ZSimpleModuleBase
{
public:
    ZForeignModule() : ZSimpleModuleBase("Foreign") {}
    void RegisterComponents() override { RegisterComponent<TComponentInfo<ZUtility, IPackerUtility>>(PACKER_UTILITY); }
};

class ZContext final : public IResourcePackerContext
{
public:
    void Info(const ZString&) override {}
    void Warning(const ZString& text) override { std::fprintf(stderr, "%s\n", text.ToCString()); }
    void Error(const ZString& text) override { std::fprintf(stderr, "%s\n", text.ToCString()); }
};

class ZFileInput final : public TCountedComponent<ZFileInput, IInputStream>
{
public:
    explicit ZFileInput(const fs::path& path) : m_file(path, std::ios::binary), m_nSize(fs::file_size(path)) {}
    bool IsOpen() const override { return m_file.is_open(); }
    size_t GetSize() const override { return m_nSize; }
    size_t Read(void* pBuffer, size_t nSize) override
    {
        m_file.read(static_cast<char*>(pBuffer), static_cast<std::streamsize>(nSize));
        return static_cast<size_t>(m_file.gcount());
    }

private:
    std::ifstream m_file;
    size_t m_nSize;
};

class ZFileOutput final : public TCountedComponent<ZFileOutput, IOutputStream>
{
public:
    explicit ZFileOutput(const fs::path& path) : m_file(path, std::ios::binary) {}
    bool IsOpen() const override { return m_file.is_open(); }
    size_t Write(const void* pBuffer, size_t nSize) override
    {
        m_file.write(static_cast<const char*>(pBuffer), static_cast<std::streamsize>(nSize));
        return m_file ? nSize : 0;
    }

private:
    std::ofstream m_file;
};

class ZDatabase final : public IResourceDatabase
{
public:
    ZDatabase(fs::path assets, fs::path out) : m_assets(std::move(assets)), m_out(std::move(out)) {}

    void AddSourceDependency(const ZResourceID&) override {}
    void* OpenInputStream(const ZResourceID& id, STypeID* pInterface, int, int) override
    {
        if (pInterface != GetTypeID<IInputStream>()) // a character: the factory of its file's kind makes it
        {
            const TComponentScope<IResourceFactory> factory(
                CreateComponent<IResourceFactory>("AnimationDatabaseFactory"));
            const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(*this, id.GetRoot()));
            return factory->LoadResource(stream.Get(), pInterface, id, id.GetRootParameters());
        }
        if (id.IsDerived() && !fs::exists(FileOf(id)) && !Pack(id))
            return nullptr;
        const fs::path path = id.IsDerived() ? FileOf(id) : SourceOf(id);
        return fs::exists(path) ? static_cast<IInputStream*>(new ZFileInput(path)) : nullptr;
    }
    IOutputStream* OpenOutputStream(const ZResourceID& id) override { return new ZFileOutput(FileOf(id)); }
    SResourceInfo QuerySourceResource(const ZResourceID& id) override { return {fs::exists(SourceOf(id)), true, {}}; }
    ZFilePath GetResourceFilePath(const ZResourceID& id) override
    {
        return ZFilePath(ZString::FromView(SourceOf(id).string()));
    }
    bool BeginResourceUpdate(const ZResourceID&, int) override { return true; }
    void EndResourceUpdate(int) override {}

    bool Pack(const ZResourceID& target)
    {
        const ZString extension = target.GetExtension();
        const ZString component = ZString::ReferenceCString(extension == "animation"      ? "AnimationPacker"
                                                            : extension == "animationrig" ? "RigPacker"
                                                                                          : "AnimationDatabasePacker");
        const ZString outer = std::exchange(g_platform, target.GetPlatformFromExtension());
        const TComponentScope<IResourcePacker> packer(CreateComponent<IResourcePacker>(component));
        const bool bPacked = packer->Pack(&m_context, target.GetSourceResourceID(), target, ZVariantRef());
        g_platform = outer;
        if (bPacked)
            std::printf("%s\t%s\n", target.ToString().ToCString(), FileOf(target).c_str());
        return bPacked;
    }

    fs::path FileOf(const ZResourceID& id) const
    {
        return m_out / std::to_string(ZHashedString(id.ToString()).GetHashCode());
    }

private:
    fs::path SourceOf(const ZResourceID& id) const
    {
        return m_assets / id.GetRoot().ToString().Substring(sizeof "assembly:/" - 1).View();
    }

    fs::path m_assets, m_out;
    ZContext m_context;
};

/// What hosts do besides: scan a source, keep what was found as a blob, and read it again.
void ScanTwice(ZDatabase& database, const ZResourceID& id)
{
    const TComponentScope<IResourceFactory> scanner(CreateComponent<IResourceFactory>("AnimationScanner"));
    const TComponentScope<IInputStream> source(OpenResource<IInputStream>(database, id));
    SResourceScanData data;
    if (!scanner->ScanResource(id, source.Get(), data) || data.subResources.IsEmpty())
        Fail(scanner->GetLastErrorMessage().ToCString());
    TArray<uint8_t> bytes;
    TArray<uint8_t>* pBytes = &bytes;
    const TComponentScope<IOutputStream> out(CreateComponent<IOutputStream>(MEMORY_OUTPUT_STREAM, pBytes));
    WriteResourceScanData(out.Get(), data);
    const TArrayRef<const uint8_t> blob = bytes.Ref();
    const TComponentScope<IInputStream> in(CreateComponent<IInputStream>(MEMORY_INPUT_STREAM, blob));
    ZScanDataReader reader(in.Get());
    if (!(ReadResourceScanData(reader).subResources.Last().resourceID == data.subResources.Last().resourceID))
        Fail("the scan data have changed");
}

/// Loads the module for the time of a scope, and takes care that nothing of it stays.
class ZLoadedModule
{
public:
    explicit ZLoadedModule(const char* szPath) : m_nBefore(Modules().Size())
    {
        m_pLibrary = ::dlopen(szPath, RTLD_NOW | RTLD_LOCAL);
        auto* pImport = reinterpret_cast<void (*)()>(
            m_pLibrary != nullptr ? ::dlsym(m_pLibrary, "ImportZResourceAnimationModule") : nullptr);
        if (pImport == nullptr)
            Fail(::dlerror());
        pImport();
        if (Modules().Size() != m_nBefore + 1 || !Modules()[m_nBefore]->Initialize() ||
            !Modules()[m_nBefore]->Activate())
            Fail("the module does not start");
    }
    void Unload()
    {
        STypeID* pTypeID = FindTypeIDByHash(ZHashedString("ZCharacterType").GetHashCode());
        if (ZTypeRegistry::GetType(pTypeID) == nullptr)
            Fail("the module's types are not known");
        Modules()[m_nBefore]->Deactivate();
        Modules()[m_nBefore]->Shutdown();
        ::dlclose(m_pLibrary);
        if (Modules().Size() != m_nBefore || ZTypeRegistry::GetType(pTypeID) != nullptr)
            Fail("something of the module is left behind");
        if (CreateComponent<IResourcePacker>("AnimationPacker") != nullptr)
            Fail("a component of a module that is gone");
    }

private:
    static TArrayRef<IModule* const> Modules() { return GetComponentManager()->Modules(); }

    size_t m_nBefore;
    void* m_pLibrary = nullptr;
};

void PackOne(ZDatabase& database, const ZResourceID& source, const ZString& extension, const ZString& platform)
{
    const ZResourceID target = source.CreateDerivedResourceID(extension, "", platform);
    const TComponentScope<IInputStream> packed(OpenResource<IInputStream>(database, target));
    ZResourceHeader header;
    if (!packed || !header.Read(packed.Get(), ResourceAnimation::GetPlatformClass(platform)))
        Fail(std::string("not packed: ") + target.ToString().ToCString());
    if (source.GetRoot().GetExtension() == "fbx")
        ScanTwice(database, source.GetRoot());
}

void Run(const std::vector<std::string>& words)
{
    SetAssertHandler(&OnAssertion);
    ImportSystemIOModule();
    ImportSystemSerializerModule();
    static ZForeignModule s_module;
    s_module.Initialize();
    GetComponentManager()->RegisterModule(&s_module);
    ZDatabase database(words[1], words[2]);
    SetResourceDatabase(&database);

    const auto dashes = std::find(words.begin(), words.end(), "--");
    for (int nTime = 0; nTime < 2; ++nTime) // the second time after an unload, everything anew
    {
        ZLoadedModule module(words[0].c_str());
        fs::remove_all(words[2]);
        fs::create_directories(words[2]);
        for (auto word = words.begin() + 3; word != dashes; ++word)
            for (auto source = dashes + 1; source != words.end(); source += 2)
                PackOne(database, ZResourceID(ZString::FromView(source[0])), ZString::FromView(source[1]),
                        ZString::FromView(*word));
        module.Unload();
    }
    SetResourceDatabase(nullptr);
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    try
    {
        Run({ppArguments + 1, ppArguments + nArguments});
        return 0;
    }
    catch (const std::exception& e)
    {
        std::printf("FAILED: %s\n", e.what());
        return 1;
    }
}
