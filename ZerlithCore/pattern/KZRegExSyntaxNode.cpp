#include "ZerlithCore/pattern/KZRegExSyntaxNode.h"

#include <utility>
#include <vector>

KZRegExSyntaxNode::~KZRegExSyntaxNode() = default;

// Children whose last owner this is are taken out of their parents first, so that no destructor meets a subtree.
unsigned long KZRegExSyntaxNode::Release() const {
    unsigned long const left = count_.Decrement();
    if (left != 0) return left;
    auto * const self = const_cast<KZRegExSyntaxNode *>(this);
    std::vector<KZSmartPtr<KZRegExSyntaxNode>> pending;
    auto const take = [&pending](KZRegExSyntaxNode & node) {
        if (!node.left_.IsNull()) pending.push_back(std::move(node.left_));
        if (!node.right_.IsNull()) pending.push_back(std::move(node.right_));
    };
    take(*self);
    delete self;
    while (!pending.empty()) {
        KZSmartPtr<KZRegExSyntaxNode> const node = std::move(pending.back());
        pending.pop_back();
        if (node->NbRef() == 1) take(*node);
    }
    return 0;
}

KZRegExSyntaxNodeCharSet::~KZRegExSyntaxNodeCharSet() = default;

KZRegExSyntaxNodeRepeat::~KZRegExSyntaxNodeRepeat() = default;

KZRegExSyntaxNodeSequence::~KZRegExSyntaxNodeSequence() = default;

KZRegExSyntaxNodeAlternate::~KZRegExSyntaxNodeAlternate() = default;
