// A recursive descent parser. One loop handles the operators of all ranks, and consecutive operators of one rank make one
// chain. So only brackets, parentheses and arguments make it recurse. Their depth is limited, since parsing and evaluation
// need stack for each level.
#include "ZerlithCore/platform/libxml2/PathExpression.h"

#include "ZerlithCore/platform/libxml2/Library.h"

#include <libxml/xpath.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace KZPlatform::LibXml2 {

namespace {

constexpr int maxNesting = 250;

struct NamedAxis {
    std::string_view name;
    PathAxis axis;
};
constexpr std::array axes{
    NamedAxis{"ancestor", PathAxis::Ancestor},
    NamedAxis{"ancestor-or-self", PathAxis::AncestorOrSelf},
    NamedAxis{"attribute", PathAxis::Attribute},
    NamedAxis{"child", PathAxis::Child},
    NamedAxis{"descendant", PathAxis::Descendant},
    NamedAxis{"descendant-or-self", PathAxis::DescendantOrSelf},
    NamedAxis{"following", PathAxis::Following},
    NamedAxis{"following-sibling", PathAxis::FollowingSibling},
    NamedAxis{"namespace", PathAxis::Namespace},
    NamedAxis{"parent", PathAxis::Parent},
    NamedAxis{"preceding", PathAxis::Preceding},
    NamedAxis{"preceding-sibling", PathAxis::PrecedingSibling},
    NamedAxis{"self", PathAxis::Self},
};

struct NamedKind {
    std::string_view name;
    PathTest::Kind kind;
};
constexpr std::array nodeKinds{
    NamedKind{"comment", PathTest::Kind::Comment},
    NamedKind{"node", PathTest::Kind::Node},
    NamedKind{"processing-instruction", PathTest::Kind::Instruction},
    NamedKind{"text", PathTest::Kind::Text},
};

constexpr std::size_t anyNumber = std::numeric_limits<std::size_t>::max();
struct NamedFunction {
    std::string_view name;
    PathFunction function;
    PathType type;
    std::size_t least; // the smallest number of arguments
    std::size_t most;
};
constexpr std::array functions{
    NamedFunction{"boolean", PathFunction::Boolean, PathType::Boolean, 1, 1},
    NamedFunction{"ceiling", PathFunction::Ceiling, PathType::Number, 1, 1},
    NamedFunction{"concat", PathFunction::Concat, PathType::Text, 2, anyNumber},
    NamedFunction{"contains", PathFunction::Contains, PathType::Boolean, 2, 2},
    NamedFunction{"count", PathFunction::Count, PathType::Number, 1, 1},
    NamedFunction{"false", PathFunction::False, PathType::Boolean, 0, 0},
    NamedFunction{"floor", PathFunction::Floor, PathType::Number, 1, 1},
    NamedFunction{"id", PathFunction::Id, PathType::Nodes, 1, 1},
    NamedFunction{"lang", PathFunction::Lang, PathType::Boolean, 1, 1},
    NamedFunction{"last", PathFunction::Last, PathType::Number, 0, 0},
    NamedFunction{"local-name", PathFunction::LocalName, PathType::Text, 0, 1},
    NamedFunction{"name", PathFunction::Name, PathType::Text, 0, 1},
    NamedFunction{"namespace-uri", PathFunction::NamespaceUri, PathType::Text, 0, 1},
    NamedFunction{"normalize-space", PathFunction::NormalizeSpace, PathType::Text, 0, 1},
    NamedFunction{"not", PathFunction::Not, PathType::Boolean, 1, 1},
    NamedFunction{"number", PathFunction::Number, PathType::Number, 0, 1},
    NamedFunction{"position", PathFunction::Position, PathType::Number, 0, 0},
    NamedFunction{"round", PathFunction::Round, PathType::Number, 1, 1},
    NamedFunction{"starts-with", PathFunction::StartsWith, PathType::Boolean, 2, 2},
    NamedFunction{"string", PathFunction::String, PathType::Text, 0, 1},
    NamedFunction{"string-length", PathFunction::StringLength, PathType::Number, 0, 1},
    NamedFunction{"substring", PathFunction::Substring, PathType::Text, 2, 3},
    NamedFunction{"substring-after", PathFunction::SubstringAfter, PathType::Text, 2, 2},
    NamedFunction{"substring-before", PathFunction::SubstringBefore, PathType::Text, 2, 2},
    NamedFunction{"sum", PathFunction::Sum, PathType::Number, 1, 1},
    NamedFunction{"translate", PathFunction::Translate, PathType::Text, 3, 3},
    NamedFunction{"true", PathFunction::True, PathType::Boolean, 0, 0},
};

// Marks are tried in this order, so "<=" comes before "<". "|" isn't in the table, because it binds closer than the sign "-".
struct NamedOperator {
    std::string_view mark;
    PathOperator meaning;
    int rank;
    PathType type;
};
constexpr std::array pathOperators{
    NamedOperator{"or", PathOperator::Or, 0, PathType::Boolean},
    NamedOperator{"and", PathOperator::And, 1, PathType::Boolean},
    NamedOperator{"=", PathOperator::Equal, 2, PathType::Boolean},
    NamedOperator{"!=", PathOperator::NotEqual, 2, PathType::Boolean},
    NamedOperator{"<=", PathOperator::LessOrEqual, 3, PathType::Boolean},
    NamedOperator{"<", PathOperator::Less, 3, PathType::Boolean},
    NamedOperator{">=", PathOperator::GreaterOrEqual, 3, PathType::Boolean},
    NamedOperator{">", PathOperator::Greater, 3, PathType::Boolean},
    NamedOperator{"+", PathOperator::Plus, 4, PathType::Number},
    NamedOperator{"-", PathOperator::Minus, 4, PathType::Number},
    NamedOperator{"*", PathOperator::Times, 5, PathType::Number},
    NamedOperator{"div", PathOperator::Divide, 5, PathType::Number},
    NamedOperator{"mod", PathOperator::Modulo, 5, PathType::Number},
};

template <class Table>
auto const * FindIn(Table const & table, std::string_view name) {
    auto const place = std::ranges::find(table, name, [](auto const & entry) { return entry.name; });
    return place == table.end() ? nullptr : &*place;
}

constexpr bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }
constexpr bool IsNameStart(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' ||
           static_cast<unsigned char>(byte) >= 0x80;
}
constexpr bool IsNameByte(char byte) {
    return IsNameStart(byte) || IsDigit(byte) || byte == '-' || byte == '.';
}

[[noreturn]] void Fail(PathFailure failure = PathFailure::Syntax) { throw failure; }

void RequireNodes(PathExpression const & expression) {
    if (expression.type != PathType::Nodes && expression.type != PathType::Unknown) Fail(PathFailure::Type);
}

class Parser {
public:
    Parser(std::string_view text, std::vector<std::string> & prefixes) : text_(text), prefixes_(prefixes) {}

    PathExpression Parse() {
        PathExpression whole = ParseExpression();
        if (at_ != text_.size()) Fail();
        return whole;
    }

private:
    // --- Marks and names. Each function that takes one also skips the blanks after it.

    [[nodiscard]] char Next(std::size_t ahead = 0) const {
        return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
    }
    void SkipBlanks() {
        while (IsBlank(Next())) ++at_;
    }
    void Skip(std::size_t length) {
        at_ += length;
        SkipBlanks();
    }
    bool Take(std::string_view mark) {
        if (!text_.substr(at_).starts_with(mark)) return false;
        Skip(mark.size());
        return true;
    }
    void Expect(std::string_view mark) {
        if (!Take(mark)) Fail();
    }

    // The name that begins at `place`; empty when there is none.
    [[nodiscard]] std::string_view NameAt(std::size_t place) const {
        if (place >= text_.size() || !IsNameStart(text_[place])) return {};
        std::size_t end = place;
        while (end < text_.size() && IsNameByte(text_[end])) ++end;
        return text_.substr(place, end - place);
    }
    [[nodiscard]] std::size_t BehindBlanks(std::size_t place) const {
        while (place < text_.size() && IsBlank(text_[place])) ++place;
        return place;
    }
    std::string TakeName() {
        std::string name(NameAt(at_));
        if (xmlValidateNCName(Chars(name), 0) != 0) Fail();
        at_ += name.size();
        return name;
    }
    // Takes "name" or "prefix:name"; if `mayBeAny`, also "prefix:*".
    std::string TakeQName(PathPrefix & prefix, bool mayBeAny = false) {
        std::string name = TakeName();
        bool const hasPrefix = Next() == ':' && Next(1) != ':';
        if (hasPrefix) {
            ++at_;
            prefix = NumberOf(name);
            name = mayBeAny && Next() == '*' ? std::string(text_.substr(at_++, 1)) : TakeName();
        }
        SkipBlanks();
        return name;
    }
    PathPrefix NumberOf(std::string const & prefix) {
        auto place = std::ranges::find(prefixes_, prefix);
        if (place == prefixes_.end()) place = prefixes_.insert(place, prefix);
        return static_cast<PathPrefix>(place - prefixes_.begin());
    }
    std::string TakeLiteral() {
        std::size_t const end = text_.find(Next(), at_ + 1);
        if (end == text_.npos) Fail();
        std::string literal(text_.substr(at_ + 1, end - at_ - 1));
        Skip(end - at_ + 1);
        return literal;
    }

    // --- Expressions

    class Nested {
    public:
        explicit Nested(int & depth) : depth_(depth) {
            if (++depth_ > maxNesting) Fail(PathFailure::Nesting);
        }
        ~Nested() { --depth_; }
        Nested(Nested const &) = delete;
        Nested & operator=(Nested const &) = delete;

    private:
        int & depth_;
    };

    PathExpression ParseExpression() {
        Nested const nested(depth_);
        SkipBlanks();
        return ParseFrom(0);
    }

    [[nodiscard]] NamedOperator const * NextOperator() const {
        std::string_view const name = NameAt(at_);
        for (NamedOperator const & candidate : pathOperators) {
            bool const isName = IsNameStart(candidate.mark[0]);
            if (isName ? name == candidate.mark : text_.substr(at_).starts_with(candidate.mark))
                return &candidate;
        }
        return nullptr;
    }

    // Parses operands with operators of at least this rank between them.
    PathExpression ParseFrom(int rank) {
        PathExpression left = ParseOperand();
        for (NamedOperator const * next = NextOperator(); next && next->rank >= rank; next = NextOperator()) {
            Skip(next->mark.size());
            Append(left, next->meaning, ParseFrom(next->rank + 1), next->type);
        }
        return left;
    }

    static int RankOf(PathOperator meaning) {
        auto const place = std::ranges::find(pathOperators, meaning, &NamedOperator::meaning);
        return place == pathOperators.end() ? -1 : place->rank; // -1 for a union
    }

    // Appends an operator and its right operand to `left`, which becomes a chain if it isn't one. Chains are evaluated from left
    // to right.
    static void Append(PathExpression & left, PathOperator meaning, PathExpression right, PathType type) {
        bool const continues =
            left.kind == PathExpression::Kind::Chain && RankOf(left.operators.front()) == RankOf(meaning);
        if (!continues) {
            PathExpression chain;
            chain.kind = PathExpression::Kind::Chain;
            chain.type = type;
            chain.usesPosition = left.usesPosition;
            chain.operands.push_back(std::move(left));
            left = std::move(chain);
        }
        left.usesPosition = left.usesPosition || right.usesPosition;
        left.operators.push_back(meaning);
        left.operands.push_back(std::move(right));
    }

    PathExpression ParseOperand() {
        bool isSigned = false;
        bool isNegative = false;
        for (; Take("-"); isSigned = true) isNegative = !isNegative;
        PathExpression operand = ParseUnion();
        if (!isSigned) return operand;
        PathExpression negation;
        negation.kind = PathExpression::Kind::Negation;
        negation.type = PathType::Number;
        negation.number = isNegative ? -1 : 1;
        negation.usesPosition = operand.usesPosition;
        negation.operands.push_back(std::move(operand));
        return negation;
    }

    PathExpression ParseUnion() {
        PathExpression left = ParsePathExpression();
        while (Take("|")) {
            RequireNodes(left);
            PathExpression right = ParsePathExpression();
            RequireNodes(right);
            Append(left, PathOperator::Union, std::move(right), PathType::Nodes);
        }
        return left;
    }

    [[nodiscard]] bool StartsPrimary() const {
        char const next = Next();
        if (next == '(' || next == '"' || next == '\'' || next == '$' || IsDigit(next)) return true;
        if (next == '.') return IsDigit(Next(1));
        std::string_view const name = NameAt(at_);
        std::size_t end = at_ + name.size();
        bool hasPrefix = false;
        if (end < text_.size() && text_[end] == ':') {
            std::string_view const local = NameAt(end + 1);
            hasPrefix = !local.empty();
            end += 1 + local.size();
        }
        end = BehindBlanks(end);
        bool const isCall = !name.empty() && end < text_.size() && text_[end] == '(';
        return isCall && (hasPrefix || !FindIn(nodeKinds, name));
    }

    PathExpression ParsePathExpression() {
        PathExpression path;
        if (StartsPrimary()) {
            PathExpression primary = ParsePrimary();
            if (Next() != '[' && Next() != '/') return primary;
            RequireNodes(primary);
            path.usesPosition = primary.usesPosition;
            path.operands.push_back(std::move(primary));
            ParsePredicates(path.predicates);
            if (Next() != '/') return path;
            ParseSlash(path);
        } else if (Next() == '/') {
            path.isAbsolute = true;
            if (Next(1) != '/') {
                Skip(1);
                if (!StartsStep()) return path;
            } else {
                ParseSlash(path);
            }
        }
        AddStep(path, ParseStep());
        while (Next() == '/') {
            ParseSlash(path);
            AddStep(path, ParseStep());
        }
        return path;
    }

    PathExpression ParsePrimary() {
        PathExpression primary;
        char const next = Next();
        if (Take("(")) {
            primary = ParseExpression();
            Expect(")");
        } else if (Take("$")) {
            primary.kind = PathExpression::Kind::Variable;
            primary.type = PathType::Unknown;
            primary.text = TakeQName(primary.prefix);
        } else if (next == '"' || next == '\'') {
            primary.kind = PathExpression::Kind::Literal;
            primary.type = PathType::Text;
            primary.text = TakeLiteral();
        } else if (next == '.' || IsDigit(next)) {
            primary.kind = PathExpression::Kind::Number;
            primary.type = PathType::Number;
            primary.number = TakeNumber();
        } else {
            primary = ParseCall();
        }
        return primary;
    }

    double TakeNumber() {
        std::size_t const start = at_;
        while (IsDigit(Next())) ++at_;
        if (Next() == '.') ++at_;
        while (IsDigit(Next())) ++at_;
        // XPath has no exponents, but they are accepted here as in texts that are converted to numbers.
        std::size_t const sign = Next(1) == '-' || Next(1) == '+' ? 2 : 1;
        if ((Next() == 'e' || Next() == 'E') && IsDigit(Next(sign))) at_ += sign;
        while (IsDigit(Next())) ++at_;
        std::string const digits(text_.substr(start, at_ - start));
        SkipBlanks();
        return xmlXPathCastStringToNumber(Chars(digits));
    }

    PathExpression ParseCall() {
        PathExpression call;
        call.kind = PathExpression::Kind::Call;
        call.type = PathType::Unknown;
        call.text = TakeQName(call.prefix);
        Expect("(");
        if (Next() != ')') {
            do {
                call.operands.push_back(ParseExpression());
                call.usesPosition = call.usesPosition || call.operands.back().usesPosition;
            } while (Take(","));
        }
        Expect(")");
        NamedFunction const * const known = call.prefix == noPrefix ? FindIn(functions, call.text) : nullptr;
        if (!known) return call;
        if (call.operands.size() < known->least || call.operands.size() > known->most) Fail();
        call.function = known->function;
        call.type = known->type;
        if (call.function == PathFunction::Count || call.function == PathFunction::Sum)
            RequireNodes(call.operands.front());
        if (call.function == PathFunction::Position || call.function == PathFunction::Last)
            call.usesPosition = true;
        return call;
    }

    // --- Steps

    [[nodiscard]] bool StartsStep() const {
        char const next = Next();
        return next == '.' || next == '@' || next == '*' || IsNameStart(next);
    }

    // Takes "/", or "//" and adds the step for which it is an abbreviation.
    void ParseSlash(PathExpression & path) {
        bool const isDouble = Next(1) == '/';
        Skip(isDouble ? 2 : 1);
        if (!isDouble) return;
        PathStep step;
        step.axis = PathAxis::DescendantOrSelf;
        AddStep(path, std::move(step));
    }

    // "//x" is a step to all descendants and one to their children x. The two become one step to the descendants x, unless a
    // predicate asks for a position among the children.
    static void AddStep(PathExpression & path, PathStep step) {
        if (step.axis == PathAxis::Child && !path.steps.empty()) {
            PathStep const & last = path.steps.back();
            bool const isAnywhere = last.axis == PathAxis::DescendantOrSelf &&
                                    last.test.kind == PathTest::Kind::Node && last.predicates.empty();
            if (isAnywhere && std::ranges::none_of(step.predicates, &PathExpression::IsPositional)) {
                step.axis = PathAxis::Descendant;
                path.steps.pop_back();
            }
        }
        path.steps.push_back(std::move(step));
    }

    PathStep ParseStep() {
        PathStep step;
        if (Take("..")) {
            step.axis = PathAxis::Parent;
            return step;
        }
        if (Take(".")) {
            step.axis = PathAxis::Self;
            return step;
        }
        if (Take("@")) {
            step.axis = PathAxis::Attribute;
        } else if (std::string_view const name = NameAt(at_); !name.empty()) {
            std::size_t const end = BehindBlanks(at_ + name.size());
            if (text_.substr(end).starts_with("::")) {
                NamedAxis const * const axis = FindIn(axes, name);
                if (!axis) Fail();
                step.axis = axis->axis;
                Skip(end + 2 - at_);
            }
        }
        ParseTest(step.test);
        ParsePredicates(step.predicates);
        return step;
    }

    void ParseTest(PathTest & test) {
        test.kind = PathTest::Kind::AnyName;
        if (Take("*")) return;
        std::string_view const name = NameAt(at_);
        std::size_t const end = BehindBlanks(at_ + name.size());
        if (!name.empty() && end < text_.size() && text_[end] == '(') {
            NamedKind const * const kind = FindIn(nodeKinds, name);
            if (!kind) Fail();
            test.kind = kind->kind;
            Skip(end + 1 - at_);
            bool const hasTarget = Next() == '"' || Next() == '\'';
            if (hasTarget && test.kind == PathTest::Kind::Instruction) test.name = TakeLiteral();
            return Expect(")");
        }
        test.name = TakeQName(test.prefix, true);
        if (test.name != "*") test.kind = PathTest::Kind::Name;
    }

    void ParsePredicates(std::vector<PathExpression> & predicates) {
        while (Take("[")) {
            predicates.push_back(ParseExpression());
            Expect("]");
        }
    }

    std::string_view text_;
    std::vector<std::string> & prefixes_;
    std::size_t at_ = 0;
    int depth_ = 0;
};

} // namespace

PathExpression ParsePath(std::string_view text, std::vector<std::string> & prefixes) {
    return Parser(text, prefixes).Parse();
}

} // namespace KZPlatform::LibXml2
