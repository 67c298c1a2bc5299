#pragma once

#include "resource/animation/scan/charactertype.h"
#include "system/serializer/xmldocument.h"

namespace ResourceAnimation
{

/// Reads characters from the document of an animation database. ZAnimationDatabaseFactoryException for everything that
/// is not as it should be.
class ZAnimationDatabaseDocument
{
public:
    using TNode = ZComPtr<IXMLDOMNode>;

    /// Loads and checks. The id is for messages.
    ZAnimationDatabaseDocument(IInputStream* pStream, const ZResourceID& id);

    TNode RootElement() const;
    /// Every character at any depth, in document order.
    TXMLNodes Characters() const;

    static bool IsCharacter(const TNode& node);
    static ZString NameOf(const TNode& node);
    /// The entries of one element; of equal names the first. Those without name or take are passed over.
    static ZCharacterType::TAnimations EntriesOf(const TNode& node);
    /// From the character outwards the nearest definition of a name wins. Assertion:
    /// "GetNodeName(pCharacterNode) == TAG_CHARACTER_TYPE".
    static ZCharacterType BuildCharacter(const TNode& pCharacterNode);
    /// Adds what the character inherits to the entries nearer to it.
    static void Inherit(ZCharacterType::TAnimations& entries, const ZCharacterType::TAnimations& outer);

private:
    /// Of the definition that a character's entry comes from.
    static ZString PlaceOfEntry(const TNode& character, const ZString& name);
    void CheckTopLevel() const;
    void CheckCharacterNames() const;
    void CheckEntries() const;

    ZComPtr<IXMLDOMDocument> m_document;
};

} // namespace ResourceAnimation
