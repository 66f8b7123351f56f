// The functions of XPath. Texts are UTF-8. Where XPath counts characters, code points are counted.
#include "ZerlithCore/platform/libxml2/PathEvaluator.h"

#include <libxml/valid.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <unordered_map>
#include <utility>

namespace KZPlatform::LibXml2 {

namespace {

constexpr bool StartsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

std::size_t CharactersIn(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, StartsCharacter));
}

// The bytes of the first character.
std::string_view FirstCharacter(std::string_view text) {
    std::size_t length = 1;
    while (length < text.size() && !StartsCharacter(text[length])) ++length;
    return text.substr(0, length);
}

std::string_view & SkipBlanks(std::string_view & text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text;
}

std::string NormalizeSpace(std::string_view text) {
    std::string result;
    for (std::size_t start = text.find_first_not_of(blanks); start != text.npos;) {
        std::size_t const end = std::min(text.find_first_of(blanks, start), text.size());
        if (!result.empty()) result += ' ';
        result += text.substr(start, end - start);
        start = text.find_first_not_of(blanks, end);
    }
    return result;
}

// Replaces each character of `from` by the one at the same place in `to`, or removes it if `to` is shorter. If `from` has a
// character twice, its first place counts.
std::string Translate(std::string_view text, std::string_view from, std::string_view to) {
    std::unordered_map<std::string_view, std::string_view> map;
    while (!from.empty()) {
        std::string_view const one = FirstCharacter(from);
        std::string_view const other = to.empty() ? std::string_view() : FirstCharacter(to);
        map.emplace(one, other);
        from.remove_prefix(one.size());
        to.remove_prefix(other.size());
    }
    std::string result;
    while (!text.empty()) {
        std::string_view const one = FirstCharacter(text);
        auto const place = map.find(one);
        result += place == map.end() ? one : place->second;
        text.remove_prefix(one.size());
    }
    return result;
}

// The nearest whole number; of two equally near ones the greater. -0.2 becomes negative zero.
double Rounded(double number) {
    if (number >= -0.5 && number < 0.5) return number * 0.0;
    double const below = std::floor(number);
    return number - below >= 0.5 ? below + 1 : below;
}

std::string NameOf(PathNode const & node, PathFunction part) {
    if (part == PathFunction::NamespaceUri) {
        bool const mayHave = !node.declaration &&
                             (node.node->type == XML_ELEMENT_NODE || node.node->type == XML_ATTRIBUTE_NODE);
        return std::string(mayHave && node.node->ns ? View(node.node->ns->href) : std::string_view());
    }
    if (node.declaration) return std::string(View(node.declaration->prefix));
    std::string const local(View(node.node->name));
    switch (node.node->type) {
    case XML_PI_NODE: return local;
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: {
        std::string_view const prefix = node.node->ns ? View(node.node->ns->prefix) : std::string_view();
        bool const isPrefixed = part == PathFunction::Name && !prefix.empty();
        return isPrefixed ? std::string(prefix) + ":" + local : local;
    }
    default: return {};
    }
}

char Lower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

} // namespace

PathValue PathEvaluator::Call(PathExpression const & call, PathContext const & context) {
    auto const text = [&](std::size_t number) { return TextArgument(call, number, context); };
    auto const number = [&] { return NumberArgument(call, 0, context); };
    switch (call.function) {
    case PathFunction::External: return CallHost(call, context);
    case PathFunction::Boolean: return IsTrue(call.operands.front(), context);
    case PathFunction::Ceiling: return std::ceil(number());
    case PathFunction::Concat: return Concat(call, context);
    case PathFunction::Contains: {
        std::string const whole = text(0);
        return Find(whole, text(1)) != whole.npos;
    }
    case PathFunction::Count: return static_cast<double>(NodesArgument(call, context).list.size());
    case PathFunction::False: return false;
    case PathFunction::Floor: return std::floor(number());
    case PathFunction::Id: return FindIds(call, context);
    case PathFunction::Lang: return HasLanguage(call, context);
    case PathFunction::Last: return static_cast<double>(context.size);
    case PathFunction::LocalName:
    case PathFunction::Name:
    case PathFunction::NamespaceUri: return NameOfArgument(call, context);
    case PathFunction::NormalizeSpace: {
        std::string const whole = text(0);
        budget_.SpendOnMaking(whole.size());
        return NormalizeSpace(whole);
    }
    case PathFunction::Not: return !IsTrue(call.operands.front(), context);
    case PathFunction::Number: return number();
    case PathFunction::Position: return static_cast<double>(context.position);
    case PathFunction::Round: return Rounded(number());
    case PathFunction::StartsWith: {
        std::string const whole = text(0);
        return whole.starts_with(text(1));
    }
    case PathFunction::String: return text(0);
    case PathFunction::StringLength: {
        std::string const whole = text(0);
        budget_.SpendOnReading(whole.size());
        return static_cast<double>(CharactersIn(whole));
    }
    case PathFunction::Substring: return Substring(call, context);
    case PathFunction::SubstringAfter: return SubstringAfter(call, context);
    case PathFunction::SubstringBefore: return SubstringBefore(call, context);
    case PathFunction::Sum: return Sum(NodesArgument(call, context));
    case PathFunction::Translate: {
        std::string const whole = text(0);
        std::string const from = text(1);
        std::string const to = text(2);
        budget_.Spend(2 * (whole.size() + from.size() + to.size()));
        return Translate(whole, from, to);
    }
    case PathFunction::True: return true;
    }
    throw PathFailure::Function;
}

PathValue PathEvaluator::CallHost(PathExpression const & call, PathContext const & context) {
    if (!host_) throw PathFailure::Function;
    std::vector<PathValue> arguments;
    for (PathExpression const & operand : call.operands) arguments.push_back(Evaluate(operand, context));
    return host_->Call(call.text, std::string(UriOf(call.prefix)), std::move(arguments), context);
}

// --- Arguments

PathValue PathEvaluator::Argument(PathExpression const & call, std::size_t number,
                                  PathContext const & context) {
    if (number < call.operands.size()) return Evaluate(call.operands[number], context, Want::First);
    PathNodes own;
    own.list.push_back(context.node);
    return own;
}

std::string PathEvaluator::TextArgument(PathExpression const & call, std::size_t number,
                                        PathContext const & context) {
    return TextOf(Argument(call, number, context), budget_);
}

double PathEvaluator::NumberArgument(PathExpression const & call, std::size_t number,
                                     PathContext const & context) {
    PathValue value = Argument(call, number, context);
    return NumberOf(value, budget_);
}

PathNodes PathEvaluator::NodesArgument(PathExpression const & call, PathContext const & context) {
    PathValue value = Evaluate(call.operands.front(), context);
    if (!std::holds_alternative<PathNodes>(value)) throw PathFailure::Type;
    return std::get<PathNodes>(std::move(value));
}

// --- Functions

std::string PathEvaluator::NameOfArgument(PathExpression const & call, PathContext const & context) {
    PathValue value = Argument(call, 0, context);
    auto * const nodes = std::get_if<PathNodes>(&value);
    if (!nodes) throw PathFailure::Type;
    SortPathNodes(*nodes, budget_);
    return nodes->list.empty() ? std::string() : NameOf(nodes->list.front(), call.function);
}

PathNodes PathEvaluator::FindIds(PathExpression const & call, PathContext const & context) {
    PathNodes found;
    found.isOrdered = found.isFlat = false;
    PathNodeSet seen;
    auto const add = [&](std::string_view names) {
        budget_.SpendOnMaking(names.size());
        while (!SkipBlanks(names).empty()) {
            budget_.Spend(2);
            std::string const name(names.substr(0, names.find_first_of(blanks)));
            names.remove_prefix(name.size());
            xmlAttr const * const id = xmlGetID(context.node.node->doc, Chars(name));
            if (id && id->parent && seen.insert({id->parent}).second) found.list.push_back({id->parent});
        }
    };
    PathValue value = Evaluate(call.operands.front(), context);
    if (auto const * const nodes = std::get_if<PathNodes>(&value)) {
        std::string room;
        for (PathNode const & node : nodes->list) add(TextOf(node, room, budget_));
    } else {
        add(TextOf(std::move(value), budget_));
    }
    return found;
}

// The language is the nearest xml:lang. The question for "en" is true for "en", "EN" and "en-gb".
bool PathEvaluator::HasLanguage(PathExpression const & call, PathContext const & context) {
    std::string const wanted = TextArgument(call, 0, context);
    std::string room;
    for (PathNode at = context.node; at.node; at = at.Parent()) {
        if (at.declaration || at.node->type != XML_ELEMENT_NODE) continue;
        for (xmlAttr const * attribute = at.node->properties; attribute; attribute = attribute->next) {
            budget_.Spend();
            if (!attribute->ns || View(attribute->ns->href) != View(XML_XML_NAMESPACE) ||
                View(attribute->name) != "lang")
                continue;
            std::string_view const own = AttributeValue(attribute, room);
            return std::ranges::equal(own.substr(0, wanted.size()), wanted, {}, Lower, Lower) &&
                   (own.size() == wanted.size() || own[wanted.size()] == '-');
        }
        budget_.Spend();
    }
    return false;
}

std::string PathEvaluator::Concat(PathExpression const & call, PathContext const & context) {
    std::string all;
    for (std::size_t i = 0; i < call.operands.size(); ++i) {
        std::string const part = TextArgument(call, i, context);
        budget_.SpendOnMaking(part.size());
        all += part;
    }
    return all;
}

// Characters count from 1. The second argument, rounded, is the first character; the third one, rounded, their number.
std::string PathEvaluator::Substring(PathExpression const & call, PathContext const & context) {
    std::string const whole = TextArgument(call, 0, context);
    budget_.SpendOnReading(whole.size());
    double const start = Rounded(NumberArgument(call, 1, context));
    double const end =
        call.operands.size() > 2 ? start + Rounded(NumberArgument(call, 2, context)) : HUGE_VAL;
    double place = 0;
    std::size_t first = whole.size();
    std::size_t last = whole.size();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (!StartsCharacter(whole[i])) continue;
        place += 1;
        if (!(place < end)) { // also true when `end` isn't a number
            last = i;
            break;
        }
        if (place >= start && first == whole.size()) first = i;
    }
    return first < last ? whole.substr(first, last - first) : std::string();
}

std::string PathEvaluator::SubstringAfter(PathExpression const & call, PathContext const & context) {
    std::string const whole = TextArgument(call, 0, context);
    std::string const mark = TextArgument(call, 1, context);
    std::size_t const place = Find(whole, mark);
    return place == whole.npos ? std::string() : whole.substr(place + mark.size());
}

std::string PathEvaluator::SubstringBefore(PathExpression const & call, PathContext const & context) {
    std::string const whole = TextArgument(call, 0, context);
    std::size_t const place = Find(whole, TextArgument(call, 1, context));
    return place == whole.npos ? std::string() : whole.substr(0, place);
}

// Finds `part`. Each place where the first byte matches spends from the budget: there may be many such places, and each takes
// time up to the length of `part`.
std::size_t PathEvaluator::Find(std::string_view text, std::string_view part) {
    budget_.SpendOnReading(text.size());
    if (part.empty()) return 0;
    for (std::size_t at = text.find(part[0]); at != text.npos; at = text.find(part[0], at + 1)) {
        budget_.Spend(1 + part.size() / 64);
        if (text.substr(at).starts_with(part)) return at;
    }
    return text.npos;
}

double PathEvaluator::Sum(PathNodes const & nodes) {
    double sum = 0;
    std::string room;
    for (PathNode const & node : nodes.list) sum += NumberOf(TextOf(node, room, budget_), budget_);
    return sum;
}

} // namespace KZPlatform::LibXml2
