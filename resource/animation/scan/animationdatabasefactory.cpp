#include "resource/animation/scan/animationdatabasefactory.h"

#include "base/collections/thashmap.h"
#include "base/component/componentbase.h"
#include "base/misc/trace.h"
#include "resource/_shared/_internal/resourcescandata.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/frame/resourcename.h"
#include "resource/animation/scan/animationdatabasedocument.h"

namespace ResourceAnimation
{

namespace
{

using TNode = ZAnimationDatabaseDocument::TNode;
using TAnimations = ZCharacterType::TAnimations;

constexpr const char CHANNEL[] = "ZAnimationDatabaseFactory";

/// "/hero.chartype" gives "hero".
ZString CharacterName(const ZString& subResourceName)
{
    ZString name = subResourceName.Substring(subResourceName.LastIndexOf('/') + 1);
    if (!subResourceName.StartsWith("/") || name.IsEmpty())
        throw ZAnimationDatabaseFactoryException(ZString::Format("Invalid sub-resource name '{0}'", subResourceName));
    return name.Substring(0, name.LastIndexOf('.'));
}

/// Writes down the characters below one node after the other, the outer before the inner.
class ZCharacterScan
{
public:
    ZCharacterScan(const ZResourceID& id, SResourceScanData& result) : m_id(id), m_result(result)
    {
        for (const SSubResourceScanData& entry : result.subResources)
            m_known.Insert(entry.resourceID, true);
    }

    /// The node's characters inherit `outer`. Handed down, it spares each character the walk over its ancestors, whose
    /// children are its siblings. Nesting is limited by the document's loader.
    void Scan(const TNode& node, const TAnimations& outer)
    {
        for (const TNode& child : GetNodeChildElements(node))
        {
            if (!ZAnimationDatabaseDocument::IsCharacter(child))
                continue;
            TAnimations animations = ZAnimationDatabaseDocument::EntriesOf(child);
            ZAnimationDatabaseDocument::Inherit(animations, outer);
            AddEntry(ZAnimationDatabaseDocument::NameOf(child), animations);
            Scan(child, animations);
        }
    }

private:
    void AddEntry(const ZString& name, const TAnimations& animations)
    {
        if (name.IsEmpty())
            return; // the document's checks leave none
        ZString fault = NameFault(name);
        if (fault.IsEmpty() && name.IndexOf('/') != ZString::NOT_FOUND)
            fault = "its name holds a slash";
        if (!fault.IsEmpty())
            throw ZAnimationDatabaseFactoryException(
                ZString::Format("The character '{0}' can't be packed: {1}", PrintableName(name), fault));
        if (const ZString key = name.CopyToLower(); !m_names.Insert(key, name))
            ZTRACE(ITraceListener::eTrace_Notice, CHANNEL,
                   "The character '{0}' is lost: another one of this name, '{1}', stands before it", name,
                   *m_names.Find(key));
        m_nReferences += animations.Size();
        if (m_nReferences > ZAnimationDatabaseFactory::MAX_REFERENCES)
            throw ZAnimationDatabaseFactoryException(ZString::Format("The characters refer to more than {0} resources",
                                                                     ZAnimationDatabaseFactory::MAX_REFERENCES));
        SSubResourceScanData entry;
        entry.sourceResourceID = m_id;
        entry.resourceID = m_id.ReplaceRootParameters(ZString::Format("/{0}.chartype", name));
        if (!m_known.Insert(entry.resourceID, true))
        {
            ZTRACE(ITraceListener::eTrace_Notice, CHANNEL,
                   "A resource with ID {0} already exists! Animation data base entries should all have unique names.",
                   entry.resourceID);
            return;
        }
        entry.referencedResources.Reserve(animations.Size());
        for (const auto& [animation, resource] : animations)
            entry.referencedResources.Add(resource);
        m_result.subResources.Add(std::move(entry));
    }

    const ZResourceID& m_id;
    SResourceScanData& m_result;
    TMap<ZResourceID, bool> m_known;
    THashMap<ZString, ZString> m_names; ///< as spelled, by lower case: that is how they are looked for
    uint64_t m_nReferences = 0;
};

} // namespace

ZObjectRef ZAnimationDatabaseFactory::GetVariantRef()
{
    return {this, GetTypeID<IResourceFactory>()};
}

void* ZAnimationDatabaseFactory::QueryInterface(STypeID* pInterface)
{
    return TInterfaceTable<ZAnimationDatabaseFactory, IResourceFactory, IComponentInterface>::Query(this, pInterface);
}

void* ZAnimationDatabaseFactory::LoadResource(IInputStream* pStream, STypeID* pTypeID, const ZResourceID& id,
                                              const ZString& subResourceName)
{
    if (pTypeID != GetTypeID<ZCharacterType>())
        throw ZAnimationDatabaseFactoryException(ZString::Format("Unsupported type ID '{0}' specified", pTypeID));
    const ZAnimationDatabaseDocument document(pStream, id);
    const ZString name = CharacterName(subResourceName);
    for (const TNode& node : document.Characters())
        if (ZAnimationDatabaseDocument::NameOf(node).ICompare(name) == 0)
            return ZNew<ZCharacterType>(ZAnimationDatabaseDocument::BuildCharacter(node));
    throw ZAnimationDatabaseFactoryException(ZString::Format("Character type '{0}' doesn't exist", name));
}

bool ZAnimationDatabaseFactory::ScanResource(const ZResourceID& id, IInputStream* pStream, SResourceScanData& result)
{
    try
    {
        const ZAnimationDatabaseDocument document(pStream, id);
        ZCharacterScan(id, result).Scan(document.RootElement(), {});
        return true;
    }
    catch (const ZAnimationDatabaseFactoryException& e)
    {
        m_sLastError =
            ZString::Format("Failed scanning resource '{0}' due to the following error: {1}", id, e.Message());
        ZTRACE(ITraceListener::eTrace_Notice, CHANNEL, m_sLastError);
        return false;
    }
}

} // namespace ResourceAnimation
