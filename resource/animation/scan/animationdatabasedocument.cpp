#include "resource/animation/scan/animationdatabasedocument.h"

#include "base/collections/thashmap.h"
#include "base/misc/trace.h"
#include "resource/animation/frame/animationexception.h"

namespace ResourceAnimation
{

namespace
{

using TNode = ZAnimationDatabaseDocument::TNode;

const ZString TAG_ANIMATION_DATABASE("AnimationDatabase");
const ZString TAG_CHARACTER_TYPE("Character");
const ZString TAG_ANIMATION("Animation");

/// "/AnimationDatabase/Character" and the like.
ZString Path(const ZString& format)
{
    return ZString::Format(format, TAG_ANIMATION_DATABASE, TAG_CHARACTER_TYPE, TAG_ANIMATION);
}

/// Where it is goes to the trace, which tells what else there is to know of a failure.
[[noreturn]] void Fail(const TNode& node, const ZString& text)
{
    ZTRACE(ITraceListener::eTrace_Notice, "ZAnimationDatabaseFactory", "{0}", node->Place());
    throw ZAnimationDatabaseFactoryException(text);
}

} // namespace

ZAnimationDatabaseDocument::ZAnimationDatabaseDocument(IInputStream* pStream, const ZResourceID& id)
{
    if (pStream == nullptr || !pStream->IsOpen())
        throw ZAnimationDatabaseFactoryException(ZString::Format("Invalid input stream '{0}'", id));
    m_document = LoadXMLDocument(pStream);
    if (!m_document)
        throw ZAnimationDatabaseFactoryException(ZString::Format("Failed to load XML document '{0}'", id));
    CheckTopLevel();
    CheckCharacterNames();
    CheckEntries();
}

TNode ZAnimationDatabaseDocument::RootElement() const
{
    const ZComPtr<IXMLDOMElement> root = GetDocumentElement(m_document);
    if (!root)
        throw ZAnimationDatabaseFactoryException("XML file appears to be empty (no document element found)");
    return root;
}

TXMLNodes ZAnimationDatabaseDocument::Characters() const
{
    return SelectNodes(RootElement(), Path("//{1}"));
}

bool ZAnimationDatabaseDocument::IsCharacter(const TNode& node)
{
    return GetNodeName(node) == TAG_CHARACTER_TYPE;
}

ZString ZAnimationDatabaseDocument::NameOf(const TNode& node)
{
    return GetOptionalAttribute(node, "name", "");
}

void ZAnimationDatabaseDocument::CheckTopLevel() const
{
    const TXMLNodes characters = SelectNodes(RootElement(), Path("/{0}/{1}"));
    if (characters.Size() != 1)
        Fail(characters.Size() != 0 ? characters[1] : RootElement(),
             ZString::Format("{0} top-level characters encountered. There should be exactly one", characters.Size()));
}

void ZAnimationDatabaseDocument::CheckCharacterNames() const
{
    THashMap<ZString, bool> names;
    for (const TNode& node : Characters())
    {
        const ZString name = NameOf(node);
        if (name.IsEmpty())
            Fail(node, "Empty character name encountered");
        if (!names.Insert(name, true))
            Fail(node, ZString::Format(
                           "Duplicate character name '{0}' encountered. Each character name has to be unique", name));
    }
}

void ZAnimationDatabaseDocument::CheckEntries() const
{
    THashMap<ZString, bool> names;
    for (const TNode& node : SelectNodes(RootElement(), Path("/{0}/{1}/{2}")))
    {
        const ZString name = NameOf(node);
        if (name.IsEmpty())
            Fail(node, "Empty animation entry name encountered");
        if (!names.Insert(name, true))
            Fail(node,
                 ZString::Format("Duplicate animation entry '{0}' encountered. Each animation entry (animation name) "
                                 "has to be unique",
                                 name));
    }
    for (const TNode& node : SelectNodes(RootElement(), Path("/{0}/{1}/{1}//{2}")))
    {
        const ZString name = NameOf(node);
        if (!names.Contains(name))
            Fail(node,
                 ZString::Format("Animation entry '{0}' not defined on top-level character. All animation entries have "
                                 "to be represented on the top level character before they can be set/overridden on a "
                                 "sub-character",
                                 name));
    }
}

ZCharacterType::TAnimations ZAnimationDatabaseDocument::EntriesOf(const TNode& node)
{
    ZCharacterType::TAnimations entries;
    for (const TNode& element : GetNodeChildElements(node))
    {
        const ZString tag = GetNodeName(element);
        if (tag == TAG_CHARACTER_TYPE)
            continue; // gives its entries to itself alone
        if (!(tag == TAG_ANIMATION))
            Fail(element, ZString::Format("Unexpected node '{0}' encountered. Is the document malformed?", tag));
        const ZString name = NameOf(element);
        const ZString take = GetOptionalAttribute(element, "take", "");
        if (!name.IsEmpty() && !take.IsEmpty())
            entries.Insert(name, ZResourceID(take));
    }
    return entries;
}

void ZAnimationDatabaseDocument::Inherit(ZCharacterType::TAnimations& entries, const ZCharacterType::TAnimations& outer)
{
    for (const auto& [name, id] : outer)
        entries.Insert(name, id);
}

ZString ZAnimationDatabaseDocument::PlaceOfEntry(const TNode& character, const ZString& name)
{
    for (TNode node = character; node; node = GetNodeParent(node))
        for (const TNode& element : GetNodeChildElements(node))
            if (GetNodeName(element) == TAG_ANIMATION && NameOf(element) == name &&
                !GetOptionalAttribute(element, "take", "").IsEmpty())
                return element->Place();
    return {};
}

ZCharacterType ZAnimationDatabaseDocument::BuildCharacter(const TNode& pCharacterNode)
{
    ZASSERT(GetNodeName(pCharacterNode) == TAG_CHARACTER_TYPE);
    ZCharacterType character;
    // No attribute is no rig; between bars an empty identifier stands as it is.
    const ZString rigs = GetOptionalAttribute(pCharacterNode, "rig", "");
    if (!rigs.IsEmpty())
        for (const ZString& rig : rigs.Split('|'))
            character.m_rigs.Add(ZResourceID(rig));
    for (TNode node = pCharacterNode; node && !(GetNodeName(node) == TAG_ANIMATION_DATABASE);
         node = GetNodeParent(node))
        Inherit(character.m_animations, EntriesOf(node));
    for (const auto& [name, id] : character.m_animations)
    {
        if (ZCharacterType::CanBePacked(id))
            continue;
        character.m_oddAnimation = name;
        character.m_oddPlace = PlaceOfEntry(pCharacterNode, name);
        break;
    }
    return character;
}

} // namespace ResourceAnimation
