#include "ZerlithCore/xml/KZDOMElement.h"

#include "ZerlithCore/xml/KZDOMException.h"
#include "ZerlithCore/xml/detail/DocumentSeam.h"

#include <algorithm>

using KZDetail::ViewOf;

KZDOMElement::KZDOMElement(KZDOMNode const & node)
    : KZDOMNode(node.GetNodeType() == KZDOMNodeType::Element ? node : KZDOMNode()) {}

KZSmartPtr<KZPlatform::DocumentElement> KZDOMElement::GetElementSP() const {
    return static_cast<KZPlatform::DocumentElement *>(GetNodeSP().GetPtr());
}

KZPlatform::DocumentElement & KZDOMElement::Existing() const {
    return KZDetail::Existing(static_cast<KZPlatform::DocumentElement *>(GetNodeSP().GetPtr()), InterfaceId);
}

KZString KZDOMElement::GetAttrAsString(KZString const & name, bool required) const {
    KZDetail::StringSink sink;
    if (!Existing().Attribute(ViewOf(name), sink) && required)
        KZDetail::Fail(KZPlatform::DocumentCode::MissingAttribute, InterfaceId,
                       u"The element <" + GetName() + u"> has no attribute \"" + name + u"\"");
    return sink.Take();
}

int KZDOMElement::GetAttrAsInteger(KZString const & name, bool required) const {
    return GetAttrAsString(name, required).AsInt();
}

bool KZDOMElement::GetAttrAsBool(KZString const & name, bool required) const {
    KZString const value = GetAttrAsString(name, required);
    char16_t const * const words[] = {u"1", u"yes", u"true", u"on"};
    return std::ranges::any_of(
        words, [&value](char16_t const * word) { return value.IsEqual(word, KZString::IgnoreCase); });
}

void KZDOMElement::SetAttribute(KZString const & name, KZString const & value) {
    KZDetail::Check(Existing().SetAttribute(ViewOf(name), ViewOf(value)), InterfaceId);
}

bool KZDOMElement::RemoveAttribute(KZString const & name) { return Existing().RemoveAttribute(ViewOf(name)); }
