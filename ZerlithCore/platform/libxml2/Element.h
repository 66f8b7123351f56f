/// @file
/// Elements and their attributes.
#pragma once

#include "ZerlithCore/platform/libxml2/Nodes.h"

namespace KZPlatform::LibXml2 {

class Element final : public NodeBase<DocumentElement> {
public:
    using NodeBase::NodeBase;

    bool Attribute(std::u16string_view name, DocumentSink & sink) const override;
    DocumentResult SetAttribute(std::u16string_view name, std::u16string_view value) override;
    bool RemoveAttribute(std::u16string_view name) override;

private:
    DocumentResult SetDeclaration(std::string_view prefix, std::string const & uri);
};

/// Replaces the value of an attribute, whether it belongs to an element or not.
void SetAttributeValue(xmlAttr * attribute, std::string const & value);

} // namespace KZPlatform::LibXml2
