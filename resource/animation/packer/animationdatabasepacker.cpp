#include "resource/animation/packer/animationdatabasepacker.h"

#include "base/collections/thashmap.h"
#include "base/component/componentbase.h"
#include "base/pointers/tuniqueptr.h"
#include "resource/animation/packer/packedoutput.h"
#include "resource/core/iresourcedatabase.h"

namespace ResourceAnimation
{

namespace
{

constexpr size_t WORD = sizeof(uint32_t);

/// Other than for animations, every platform that is not known is a little-endian one.
EEndian DatabaseEndian(const ZString& platform)
{
    return platform == "xbox360" || platform == "ps3" ? eEndian_Big : eEndian_Little;
}

/// What the derived resources of a character are packed with: what the target says, else the character's rigs.
ZString ParameterText(const ZCharacterType& character, const ZResourceID& target)
{
    ZString text;
    if (target.GetParameterCount() != 0)
        text = target.GetParameter(0);
    else
        for (uint32_t i = 0; i < character.m_rigs.Size(); ++i)
        {
            if (i != 0) // the first one may be empty
                text.Append('|');
            text.Append(character.m_rigs[i].ToString());
        }
    text.ToLower();
    return text;
}

/// The lists of the resource, all in the order of the character's map.
struct SEntries
{
    TArray<uint32_t> positions;
    TArray<uint8_t> blendSpaceFlags;
    TArray<uint32_t> nameOffsets; ///< from the first name
    uint32_t nNameBytes = 0;
};

/// What the header's own assertions can't tell.
void CheckReference(const ZResourceID& id, const ZString& name, const ZCharacterType& character,
                    const ZResourceID& source)
{
    const auto what = [&]
    {
        const bool bPlaced = name == character.m_oddAnimation && !character.m_oddPlace.IsEmpty();
        return ZString::Format("{0}: the animation '{1}'{2} is '{3}', neither a take nor a blend space nor a derived "
                               "resource",
                               source, name, bPlaced ? ZString::Format(" at {0}", character.m_oddPlace) : ZString(),
                               id);
    };
    ZASSERT_MESSAGE(id.IsValid(), "id.IsValid()", what().ToCString());
    ZASSERT_MESSAGE(id.IsDerived(), "id.IsDerived()", what().ToCString());
}

SEntries CollectEntries(const ZCharacterType& character, const ZString& parameters, const ZString& platform,
                        const ZResourceID& characterID, ZResourceHeader& header)
{
    SEntries entries;
    for (const auto& [name, source] : character.m_animations)
    {
        // As it will stand in the header: two spellings of one resource share a reference.
        ZResourceID id(source.ToString().CopyToLower());
        const ZString extension = id.GetExtension();
        const bool bBlendSpace = extension == "blendspace";
        if (extension == "take")
            id = id.CreateDerivedResourceID("animation", parameters, platform);
        else if (bBlendSpace)
            id = id.CreateDerivedResourceID("rbs", parameters, platform);
        CheckReference(id, name, character, characterID);
        entries.positions.Add(header.AddReference(id, REFERENCE_FLAGS));
        entries.blendSpaceFlags.Add(bBlendSpace ? 1 : 0);
        entries.nameOffsets.Add(entries.nNameBytes);
        entries.nNameBytes += name.Length() + 1;
    }
    return entries;
}

/// Everything but the names; where they go.
uint8_t* StoreLists(const SEntries& entries, EEndian eEndian, uint8_t* pData)
{
    const uint32_t n = entries.positions.Size();
    const auto store = [&pData, eEndian](uint32_t nWord)
    {
        StoreEndian(pData, nWord, eEndian);
        pData += WORD;
    };
    store(n);
    for (const uint32_t nPosition : entries.positions)
        store(nPosition);
    for (const uint8_t nFlag : entries.blendSpaceFlags)
        *pData++ = nFlag;
    for (const uint32_t nOffset : entries.nameOffsets)
        store(nOffset + n * static_cast<uint32_t>(WORD));
    return pData;
}

} // namespace

int64_t EstimateDatabaseMemory(uint32_t nDataSize)
{
    const float fEstimate = static_cast<float>(nDataSize) * 0.0009765625f * 4.87f * 1024.0f;
    return static_cast<int32_t>(fEstimate < 2147483520.0f ? fEstimate : 2147483520.0f);
}

ZObjectRef ZAnimationDatabasePacker::GetVariantRef()
{
    return {this, GetTypeID<IResourcePacker>()};
}

void* ZAnimationDatabasePacker::QueryInterface(STypeID* pInterface)
{
    return TInterfaceTable<ZAnimationDatabasePacker, IResourcePacker, IComponentInterface>::Query(this, pInterface);
}

bool ZAnimationDatabasePacker::Pack(IResourcePackerContext* pContext, const ZResourceID& source,
                                    const ZResourceID& target, const ZVariantRef& extra)
{
    return PackResource(pContext, ZResourceID(source.ToString().CopyToLower()),
                        ZResourceID(target.ToString().CopyToLower()), extra);
}

bool ZAnimationDatabasePacker::Fail(const ZString& message)
{
    if (m_pContext != nullptr) // without one the message has nowhere to go
        m_pContext->Error(message);
    return false;
}

bool ZAnimationDatabasePacker::PackResource(IResourcePackerContext* pContext, const ZResourceID& source,
                                            const ZResourceID& target, const ZVariantRef&)
{
    try
    {
        const bool bUpdate = GetResourceDatabase()->BeginResourceUpdate(target, 0);
        const bool bPacked =
            Bind(pContext) ? PackCharacter(source, target) : Fail("Failed to initialize packer utility object.\n");
        if (bUpdate)
            GetResourceDatabase()->EndResourceUpdate(0);
        return bPacked;
    }
    catch (const ZAnimationDatabaseFactoryException& e)
    {
        // The update stays open: the host sees that it was cut short.
        return Fail(ZString::Format("Failed to load animation database '{0}' due to the following error: {1}.", source,
                                    e.Message()));
    }
}

bool ZAnimationDatabasePacker::PackCharacter(const ZResourceID& source, const ZResourceID& target)
{
    const TUniquePtr<ZCharacterType> pCharacter(OpenResource<ZCharacterType>(*GetResourceDatabase(), source));
    if (!pCharacter)
        return Fail(ZString::Format("Failed to load character type '{0}'.\n", source));
    const ZString parameters = ParameterText(*pCharacter, target);
    if (!source.ToString().EndsWith(".chartype"))
        return Fail(ZString::Format("Unrecognizable source resource type '{0}'", source));
    return WriteCharacter(*pCharacter, parameters, target);
}

bool ZAnimationDatabasePacker::WriteCharacter(const ZCharacterType& character, const ZString& parameters,
                                              const ZResourceID& target)
{
    const ZString platform = ReadTargetPlatform();
    const EEndian eEndian = DatabaseEndian(platform);
    ZResourceHeader header(RESOURCE_CODE_DATABASE, platform);
    const SEntries entries = CollectEntries(character, parameters, platform, target.GetSourceResourceID(), header);

    size_t nTextBytes = 0;
    for (const auto& [id, info] : header.References())
        nTextBytes += id.ToString().Length() + size_t{1};
    if (nTextBytes > ZResourceHeader::MAX_TEXT_BLOCK)
        return Fail(ZString::Format("The names of the resources that '{0}' refers to take {1} bytes, more than {2}.\n",
                                    target, static_cast<uint64_t>(nTextBytes), ZResourceHeader::MAX_TEXT_BLOCK));

    // Opening is what makes the database pack it.
    for (const auto& [id, info] : header.References())
    {
        const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(*GetResourceDatabase(), id));
        if (!stream || !stream->IsOpen())
            return Fail(ZString::Format("Failed to pack dependency: '{0}'.\n", id));
    }

    const uint32_t n = entries.positions.Size();
    const size_t nDataSize = (2 * size_t{n} + 1) * WORD + n + entries.nNameBytes;
    const ZBuffer buffer(nDataSize);
    uint8_t* pData = StoreLists(entries, eEndian, static_cast<uint8_t*>(buffer.Get()));
    THashMap<ZString, bool> names;
    names.Reserve(n);
    for (const auto& [spelling, id] : character.m_animations)
    {
        const ZString name = spelling.CopyToLower();
        if (!names.Insert(name, true))
            return Fail(ZString::Format(
                "Animation Database has duplicate animation names with different casing '{0}'.\n", name));
        std::memcpy(pData, name.ToCString(), name.Length() + size_t{1});
        pData += name.Length() + size_t{1};
    }
    ZASSERT_OR_HALT_TEXT(pData - static_cast<uint8_t*>(buffer.Get()) == static_cast<ptrdiff_t>(nDataSize),
                         "(char*)pData - (char*)buffer.Get() == (ptrdiff_t)nDataSize");

    const TComponentScope<IOutputStream> stream(GetResourceDatabase()->OpenOutputStream(target));
    header.SetSizes(nDataSize, static_cast<uint64_t>(EstimateDatabaseMemory(static_cast<uint32_t>(nDataSize))), 0);
    if (!stream || !stream->IsOpen() ||
        !WriteHeaderAndBody(stream.Get(), header, eEndian, {static_cast<const uint8_t*>(buffer.Get()), buffer.Size()}))
        return Fail(ZString::Format("Failed to create output resource '{0}'.\n", target));
    return true;
}

} // namespace ResourceAnimation
