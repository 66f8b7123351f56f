/// @file
/// The syntax tree of a pattern, which KZRegExParserBase makes. A program may also build one by hand.
///
///     KZSmartPtr<KZRegExSyntaxNodeCharSet> const digit(new KZRegExSyntaxNodeCharSet);
///     digit->AddRange(u'0', u'9');
///     KZParsedRegEx parsed;          // two to four digits
///     parsed.root = new KZRegExSyntaxNodeRepeat(digit, 2, 4);
///     bool const isMatch = KZRegEx(parsed).Match(u"123");        // true
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/pattern/KZUWCharSet.h"

#include <cstdint>

/// A node of a syntax tree, counted and held by handles. A tree of any depth is deleted without recursion.
///
/// Thread safety: nodes don't change once they are built; the count is atomic.
class KZ_EXPORT KZRegExSyntaxNode {
public:
    /// The class of a node, one of those below.
    enum NodeType : std::uint32_t { CharSet, Repeat, Sequence, Alternate };

    virtual ~KZRegExSyntaxNode();
    KZRegExSyntaxNode(KZRegExSyntaxNode const &) = delete;
    KZRegExSyntaxNode & operator=(KZRegExSyntaxNode const &) = delete;

    unsigned long AddRef() const noexcept { return count_.Increment(); }
    unsigned long Release() const;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

    [[nodiscard]] NodeType GetType() const noexcept { return type_; }
    /// A child; null if a node of this type has none.
    [[nodiscard]] KZSmartPtr<KZRegExSyntaxNode> const & GetLeftChild() const noexcept { return left_; }
    [[nodiscard]] KZSmartPtr<KZRegExSyntaxNode> const & GetRightChild() const noexcept { return right_; }

protected:
    explicit KZRegExSyntaxNode(NodeType type) noexcept : type_(type) {}
    KZRegExSyntaxNode(NodeType type, KZSmartPtr<KZRegExSyntaxNode> left,
                      KZSmartPtr<KZRegExSyntaxNode> right) noexcept
        : type_(type), left_(std::move(left)), right_(std::move(right)) {}

private:
    KZCounter count_;
    NodeType type_;
    KZSmartPtr<KZRegExSyntaxNode> left_;
    KZSmartPtr<KZRegExSyntaxNode> right_;
};

/// Matches one unit of a set. Build the set before other threads see the node.
class KZ_EXPORT KZRegExSyntaxNodeCharSet : public KZRegExSyntaxNode, public KZUWCharSet {
public:
    KZRegExSyntaxNodeCharSet() noexcept : KZRegExSyntaxNode(CharSet) {}
    ~KZRegExSyntaxNodeCharSet() override;
};

/// Matches the left child, from `GetMinimum` to `GetMaximum` times.
class KZ_EXPORT KZRegExSyntaxNodeRepeat : public KZRegExSyntaxNode {
public:
    static constexpr std::uint32_t Unbounded = 0xFFFFFFFFU;

    KZRegExSyntaxNodeRepeat(KZSmartPtr<KZRegExSyntaxNode> node, std::uint32_t minimum,
                            std::uint32_t maximum) noexcept
        : KZRegExSyntaxNode(Repeat, std::move(node), {}), minimum_(minimum), maximum_(maximum) {}
    ~KZRegExSyntaxNodeRepeat() override;

    [[nodiscard]] std::uint32_t GetMinimum() const noexcept { return minimum_; }
    [[nodiscard]] std::uint32_t GetMaximum() const noexcept { return maximum_; }

private:
    std::uint32_t minimum_;
    std::uint32_t maximum_;
};

/// Matches the left child, then the right one.
class KZ_EXPORT KZRegExSyntaxNodeSequence : public KZRegExSyntaxNode {
public:
    KZRegExSyntaxNodeSequence(KZSmartPtr<KZRegExSyntaxNode> left,
                              KZSmartPtr<KZRegExSyntaxNode> right) noexcept
        : KZRegExSyntaxNode(Sequence, std::move(left), std::move(right)) {}
    ~KZRegExSyntaxNodeSequence() override;
};

/// Matches the left child or the right one.
class KZ_EXPORT KZRegExSyntaxNodeAlternate : public KZRegExSyntaxNode {
public:
    KZRegExSyntaxNodeAlternate(KZSmartPtr<KZRegExSyntaxNode> left,
                               KZSmartPtr<KZRegExSyntaxNode> right) noexcept
        : KZRegExSyntaxNode(Alternate, std::move(left), std::move(right)) {}
    ~KZRegExSyntaxNodeAlternate() override;
};
