#include "ZerlithCore/xml/KZDOMText.h"

namespace {

bool IsText(KZDOMNode const & node) {
    KZDOMNodeType const type = node.GetNodeType();
    return type == KZDOMNodeType::Text || type == KZDOMNodeType::CDATASection;
}

} // namespace

KZDOMText::KZDOMText(KZDOMNode const & node) : KZDOMNode(IsText(node) ? node : KZDOMNode()) {}

KZSmartPtr<KZPlatform::DocumentText> KZDOMText::GetTextSP() const {
    return static_cast<KZPlatform::DocumentText *>(GetNodeSP().GetPtr());
}
