#include "ZerlithCore/pattern/KZRegExSyntaxNode.h"

#include <utility>

KZRegExSyntaxNode::~KZRegExSyntaxNode() = default;

// Deletes the tree node by node, without recursion and without allocating, so that no destructor meets a subtree. A
// node whose left child has no other owner is rotated: the child takes its place, and the node becomes the child's
// right child. A node without such a child is deleted, and its right child is next.
unsigned long KZRegExSyntaxNode::Release() const {
    unsigned long const left = count_.Decrement();
    if (left != 0) return left;
    if (left_.IsNull() && right_.IsNull()) {
        delete this;
        return 0;
    }
    KZSmartPtr<KZRegExSyntaxNode> node(const_cast<KZRegExSyntaxNode *>(this));
    while (!node.IsNull() && node->NbRef() == 1) {
        if (!node->left_.IsNull() && node->left_->NbRef() == 1) {
            KZSmartPtr<KZRegExSyntaxNode> child = std::move(node->left_);
            node->left_ = std::move(child->right_);
            child->right_ = std::move(node);
            node = std::move(child);
        } else {
            node->left_.Clear();
            KZSmartPtr<KZRegExSyntaxNode> next = std::move(node->right_);
            node = std::move(next);
        }
    }
    return 0;
}

KZRegExSyntaxNodeCharSet::~KZRegExSyntaxNodeCharSet() = default;

KZRegExSyntaxNodeRepeat::~KZRegExSyntaxNodeRepeat() = default;

KZRegExSyntaxNodeSequence::~KZRegExSyntaxNodeSequence() = default;

KZRegExSyntaxNodeAlternate::~KZRegExSyntaxNodeAlternate() = default;
