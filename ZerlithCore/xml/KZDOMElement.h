/// @file
/// Elements and their attributes.
#pragma once

#include "ZerlithCore/xml/KZDOMNode.h"

/// A handle on an element, or on none.
///
/// Names of attributes are as written, with their prefix. Declarations of namespaces ("xmlns", "xmlns:p") are attributes,
/// too; one that is in use can't be changed or removed.
///
/// Thread safety, errors: as KZDOMNode.
class KZ_EXPORT KZDOMElement : public KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A11, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    KZDOMElement() noexcept = default;
    /// The node as an element; a handle on none if it isn't one.
    explicit KZDOMElement(KZDOMNode const & node);

    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentElement> GetElementSP() const;

    /// The attribute's value. One that is missing is empty, or throws MissingAttribute if it is `required`.
    [[nodiscard]] KZString GetAttrAsString(KZString const & name, bool required = false) const;
    /// The value as `KZString::AsInt` reads it; 0 for none.
    [[nodiscard]] int GetAttrAsInteger(KZString const & name, bool required = false) const;
    /// True for "1", "yes", "true" and "on" in letters of either case.
    [[nodiscard]] bool GetAttrAsBool(KZString const & name, bool required = false) const;

    /// Sets the value, of a new attribute if need be. A prefix must be declared.
    /// Errors: InvalidName, InvalidText, NamespaceInUse.
    void SetAttribute(KZString const & name, KZString const & value);
    /// False, without a change, when there is no such attribute, or when it is a declaration in use.
    bool RemoveAttribute(KZString const & name);

private:
    [[nodiscard]] KZPlatform::DocumentElement & Existing() const;
};
