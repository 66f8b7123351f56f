/// @file
/// Elements and their attributes.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     KZDOMElement book = document.CreateElement(u"book", true);
///     book.SetAttribute(u"lent", u"yes");
///     if (book.GetAttrAsBool(u"lent")) KZGetConsole() << book.GetXML() << std::endl; // <book lent="yes"/>
#pragma once

#include "ZerlithCore/xml/KZDOMNode.h"

/// A handle on an element, or an empty handle.
///
/// An attribute's name is the name in the document, with its prefix. Declarations of namespaces ("xmlns", "xmlns:p") are
/// attributes, too. A declaration that a name in the document uses can't be changed or removed.
///
/// Thread safety, errors: as KZDOMNode.
class KZ_EXPORT KZDOMElement : public KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A11, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    /// An empty handle.
    KZDOMElement() noexcept = default;
    /// The node as an element; an empty handle if it isn't one.
    explicit KZDOMElement(KZDOMNode const & node);

    /// The element as the platform's interface; null for an empty handle.
    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentElement> GetElementSP() const;

    /// The attribute's value. For a missing attribute the result is empty; with `required` the call throws MissingAttribute.
    [[nodiscard]] KZString GetAttrAsString(KZString const & name, bool required = false) const;
    /// The value as `KZString::AsInt` reads it; 0 for a missing attribute.
    [[nodiscard]] int GetAttrAsInteger(KZString const & name, bool required = false) const;
    /// True for "1", "yes", "true" and "on", ignoring case; false for all other values and for a missing attribute.
    [[nodiscard]] bool GetAttrAsBool(KZString const & name, bool required = false) const;

    /// Sets the value, and makes the attribute if it is missing. If the name has a prefix, the prefix must be declared.
    /// Errors: InvalidName, InvalidText, NamespaceInUse.
    void SetAttribute(KZString const & name, KZString const & value);
    /// Removes the attribute. False, without a change, when there is none, or when it is a declaration that is in use.
    bool RemoveAttribute(KZString const & name);

private:
    [[nodiscard]] KZPlatform::DocumentElement & Existing() const;
};
