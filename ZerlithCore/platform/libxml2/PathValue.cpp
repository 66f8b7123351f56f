// Comparing two sets of nodes takes time in proportion to the sum of their sizes, not to the product. Equal texts are found
// with a table, and for "<" and ">" only the smallest and the largest number of each set count.
#include "ZerlithCore/platform/libxml2/PathValue.h"

#include <libxml/xpath.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace KZPlatform::LibXml2 {

namespace {

bool IsText(xmlNode const * node) noexcept {
    return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
}

// The text of an element whose only child is a text; null for others.
xmlNode const * OnlyText(xmlNode const * node) noexcept {
    xmlNode const * const first = FirstBelow(node);
    return first && !first->next && IsText(first) ? first : nullptr;
}

std::string_view TextBelow(xmlNode const * top, std::string & room, PathBudget & budget) {
    room.clear();
    for (xmlNode const * at = FirstBelow(top); at; at = NextBelow(const_cast<xmlNode *>(at), top)) {
        budget.Spend();
        if (!IsText(at)) continue;
        std::string_view const text = View(at->content);
        budget.SpendOnMaking(text.size());
        room += text;
    }
    return room;
}

std::string TextOfNumber(double number) {
    LibraryCall const call;
    OwnedText const text(Need(xmlXPathCastNumberToString(number)));
    call.CheckMemory();
    return std::string(View(text.get()));
}

std::string_view TextOfFirst(PathNodes & nodes, std::string & room, PathBudget & budget) {
    SortPathNodes(nodes, budget);
    return nodes.list.empty() ? std::string_view() : TextOf(nodes.list.front(), room, budget);
}

// The operator for exchanged sides: "<" becomes ">".
PathOperator Mirrored(PathOperator how) noexcept {
    switch (how) {
    case PathOperator::Less: return PathOperator::Greater;
    case PathOperator::LessOrEqual: return PathOperator::GreaterOrEqual;
    case PathOperator::Greater: return PathOperator::Less;
    case PathOperator::GreaterOrEqual: return PathOperator::LessOrEqual;
    default: return how;
    }
}

bool IsEquality(PathOperator how) noexcept {
    return how == PathOperator::Equal || how == PathOperator::NotEqual;
}

bool CompareNumbers(PathOperator how, double left, double right) noexcept {
    switch (how) {
    case PathOperator::Equal: return left == right;
    case PathOperator::NotEqual: return left != right;
    case PathOperator::Less: return left < right;
    case PathOperator::LessOrEqual: return left <= right;
    case PathOperator::Greater: return left > right;
    default: return left >= right;
    }
}

// Whether the text of any node, or the number in it, passes the test.
template <class Test>
bool AnyText(PathNodes const & nodes, PathBudget & budget, Test test) {
    std::string room;
    return std::ranges::any_of(nodes.list,
                               [&](PathNode const & node) { return test(TextOf(node, room, budget)); });
}

template <class Test>
bool AnyNumber(PathNodes const & nodes, PathBudget & budget, Test test) {
    return AnyText(nodes, budget, [&](std::string_view text) { return test(NumberOf(text, budget)); });
}

bool HaveEqualTexts(PathNodes const & left, PathNodes const & right, PathBudget & budget) {
    std::unordered_set<std::string> texts;
    AnyText(left, budget, [&](std::string_view text) {
        budget.SpendOnMaking(text.size());
        texts.emplace(text);
        return false;
    });
    std::string key;
    return AnyText(right, budget, [&](std::string_view text) {
        budget.SpendOnReading(text.size());
        return texts.contains(key = text);
    });
}

// True if a text on the left differs from a text on the right. That is so unless all texts are equal, so each is compared with
// the first one only.
bool HaveUnequalTexts(PathNodes const & left, PathNodes const & right, PathBudget & budget) {
    if (left.list.empty() || right.list.empty()) return false;
    std::string room;
    std::string const first(TextOf(left.list.front(), room, budget));
    auto const differs = [&](std::string_view text) {
        budget.SpendOnReading(text.size());
        return text != first;
    };
    return AnyText(right, budget, differs) || AnyText(left, budget, differs);
}

struct Range {
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();
};

// The smallest and the largest number in the texts of the nodes. Texts that aren't numbers are left out, since every comparison
// with them is false.
std::optional<Range> RangeOf(PathNodes const & nodes, PathBudget & budget) {
    std::optional<Range> range;
    AnyNumber(nodes, budget, [&range](double number) {
        if (std::isnan(number)) return false;
        if (!range) range.emplace();
        range->least = std::min(range->least, number);
        range->greatest = std::max(range->greatest, number);
        return false;
    });
    return range;
}

bool CompareNodes(PathOperator how, PathNodes const & left, PathNodes const & right, PathBudget & budget) {
    if (how == PathOperator::Equal) return HaveEqualTexts(left, right, budget);
    if (how == PathOperator::NotEqual) return HaveUnequalTexts(left, right, budget);
    std::optional<Range> const ofLeft = RangeOf(left, budget);
    std::optional<Range> const ofRight = RangeOf(right, budget);
    if (!ofLeft || !ofRight) return false;
    bool const wantsLess = how == PathOperator::Less || how == PathOperator::LessOrEqual;
    return wantsLess ? CompareNumbers(how, ofLeft->least, ofRight->greatest)
                     : CompareNumbers(how, ofLeft->greatest, ofRight->least);
}

bool CompareNodesWith(PathOperator how, PathNodes const & nodes, PathValue & other, PathBudget & budget) {
    if (auto const * const truth = std::get_if<bool>(&other))
        return CompareNumbers(how, nodes.list.empty() ? 0 : 1, *truth ? 1 : 0);
    if (auto const * const text = std::get_if<std::string>(&other); text && IsEquality(how))
        return AnyText(nodes, budget, [&](std::string_view own) {
            budget.SpendOnReading(own.size());
            return (own == *text) == (how == PathOperator::Equal);
        });
    double const number = NumberOf(other, budget);
    return AnyNumber(nodes, budget, [&](double own) { return CompareNumbers(how, own, number); });
}

} // namespace

std::string_view TextOf(PathNode const & node, std::string & room, PathBudget & budget) {
    budget.Spend();
    if (node.declaration) return View(node.declaration->href);
    switch (node.node->type) {
    case XML_ATTRIBUTE_NODE: return AttributeValue(reinterpret_cast<xmlAttr const *>(node.node), room);
    case XML_ELEMENT_NODE:
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE:
    case XML_DOCUMENT_FRAG_NODE: {
        xmlNode const * const only = OnlyText(node.node);
        return only ? View(only->content) : TextBelow(node.node, room, budget);
    }
    default: return View(node.node->content);
    }
}

double NumberOf(std::string_view text, PathBudget & budget) {
    budget.SpendOnReading(text.size());
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    std::size_t const end = std::min(text.find_first_not_of("+-.0123456789eE"), text.size());
    if (text.find_first_not_of(blanks, end) != text.npos) return std::numeric_limits<double>::quiet_NaN();
    return xmlXPathCastStringToNumber(Chars(std::string(text.substr(0, end))));
}

bool TruthOf(PathValue const & value) {
    if (auto const * const nodes = std::get_if<PathNodes>(&value)) return !nodes->list.empty();
    if (auto const * const number = std::get_if<double>(&value)) return *number != 0 && !std::isnan(*number);
    if (auto const * const text = std::get_if<std::string>(&value)) return !text->empty();
    return std::get<bool>(value);
}

double NumberOf(PathValue & value, PathBudget & budget) {
    if (auto const * const number = std::get_if<double>(&value)) return *number;
    if (auto const * const truth = std::get_if<bool>(&value)) return *truth ? 1 : 0;
    if (auto const * const text = std::get_if<std::string>(&value)) return NumberOf(*text, budget);
    std::string room;
    return NumberOf(TextOfFirst(std::get<PathNodes>(value), room, budget), budget);
}

std::string TextOf(PathValue value, PathBudget & budget) {
    if (auto * const text = std::get_if<std::string>(&value)) return std::move(*text);
    if (auto const * const truth = std::get_if<bool>(&value)) return *truth ? "true" : "false";
    if (auto const * const number = std::get_if<double>(&value)) return TextOfNumber(*number);
    std::string room;
    std::string_view const text = TextOfFirst(std::get<PathNodes>(value), room, budget);
    if (text.data() == room.data()) return room;
    budget.SpendOnMaking(text.size());
    return std::string(text);
}

bool Compare(PathOperator how, PathValue & left, PathValue & right, PathBudget & budget) {
    auto const * const leftNodes = std::get_if<PathNodes>(&left);
    auto const * const rightNodes = std::get_if<PathNodes>(&right);
    if (leftNodes && rightNodes) return CompareNodes(how, *leftNodes, *rightNodes, budget);
    if (leftNodes) return CompareNodesWith(how, *leftNodes, right, budget);
    if (rightNodes) return CompareNodesWith(Mirrored(how), *rightNodes, left, budget);
    if (IsEquality(how) && (std::holds_alternative<bool>(left) || std::holds_alternative<bool>(right)))
        return (TruthOf(left) == TruthOf(right)) == (how == PathOperator::Equal);
    auto const * const leftText = std::get_if<std::string>(&left);
    auto const * const rightText = std::get_if<std::string>(&right);
    if (IsEquality(how) && leftText && rightText)
        return (*leftText == *rightText) == (how == PathOperator::Equal);
    return CompareNumbers(how, NumberOf(left, budget), NumberOf(right, budget));
}

} // namespace KZPlatform::LibXml2
