#include "host/files/derivedkinds.h"

#include "host/files/resourceids.h"

namespace Host
{

namespace
{

constexpr SDerivedKind KINDS[] = {
    {"animationrig", "RigPacker", "rig", "packed rig of an FBX file or of one of its rigs"},
    {"animation", "AnimationPacker", "take", "packed animation of a take"},
    {"animationdatabase", "AnimationDatabasePacker", "chartype", "packed animation set of a character"},
    {"rigxml", "XmlRigPacker", "", "a packed rig as XML"},
    {"metarig", "MetaRigPacker", "", "the packed rigs that its parameters name, merged"},
    {"rtet", "", "", "event tracks of a take"},
    {"rbs", "", "", "blend space"},
};

constexpr struct SScanner
{
    std::string_view extension;
    std::string_view component;
    std::string_view sign;
} SCANNERS[] = {
    {"fbx", "AnimationScanner", ""},
    {"xml", "AnimationDatabaseFactory", "<AnimationDatabase"},
};

const SScanner* FindScanner(std::string_view extension)
{
    const std::string sLower = ToLower(extension);
    for (const SScanner& scanner : SCANNERS)
        if (scanner.extension == sLower)
            return &scanner;
    return nullptr;
}

} // namespace

std::span<const SDerivedKind> DerivedKinds()
{
    return KINDS;
}

const SDerivedKind* FindDerivedKind(std::string_view extension)
{
    for (const SDerivedKind& kind : KINDS)
        if (kind.extension == extension)
            return &kind;
    return nullptr;
}

std::string_view SignOfSource(std::string_view extension)
{
    const SScanner* pScanner = FindScanner(extension);
    return pScanner != nullptr ? pScanner->sign : std::string_view();
}

std::string_view ScannerOf(std::string_view extension)
{
    const SScanner* pScanner = FindScanner(extension);
    return pScanner != nullptr ? pScanner->component : std::string_view();
}

std::string_view DefaultScanner()
{
    return SCANNERS[0].component;
}

} // namespace Host
