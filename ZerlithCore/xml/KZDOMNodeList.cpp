#include "ZerlithCore/xml/KZDOMNodeList.h"

std::uint32_t KZDOMNodeList::GetLength() const {
    return list_.IsNull() ? 0 : static_cast<std::uint32_t>(list_->Length());
}

KZDOMNode KZDOMNodeList::GetNextNode() {
    return list_.IsNull() ? KZDOMNode() : KZDOMNode(KZSmartPtr<KZPlatform::DocumentNode>(list_->Next(false)));
}

KZDOMElement KZDOMNodeList::GetNextElement() {
    if (list_.IsNull()) return {};
    return KZDOMElement(KZDOMNode(KZSmartPtr<KZPlatform::DocumentNode>(list_->Next(true))));
}

void KZDOMNodeList::Reset() {
    if (!list_.IsNull()) list_->Reset();
}
