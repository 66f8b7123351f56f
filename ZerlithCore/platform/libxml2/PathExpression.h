/// @file
/// XPath 1.0 expressions as trees.
///
///     std::vector<std::string> prefixes;
///     PathExpression const expression = ParsePath("p:item[@lent = 'yes']/title", prefixes);   // prefixes: {"p"}
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KZPlatform::LibXml2 {

/// Why a path can't be read or evaluated; thrown inside of this folder only.
enum class PathFailure : std::uint8_t {
    Syntax,
    Prefix,   // one that isn't declared
    Function, // one that isn't there
    Variable, // one that isn't there
    Type,     // something is treated as nodes that isn't
    Nesting,  // brackets, parentheses and arguments inside each other
    Work,     // the budget is spent
    Host      // what evaluates expressions of its own has failed, and knows why
};

enum class PathAxis : std::uint8_t {
    Child,
    Descendant,
    DescendantOrSelf,
    Self,
    Parent,
    Ancestor,
    AncestorOrSelf,
    FollowingSibling,
    PrecedingSibling,
    Following,
    Preceding,
    Attribute,
    Namespace
};

/// What an expression gives, as far as that shows in its text.
enum class PathType : std::uint8_t { Nodes, Boolean, Number, Text, Unknown };

enum class PathOperator : std::uint8_t {
    Or,
    And,
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Plus,
    Minus,
    Times,
    Divide,
    Modulo,
    Union
};

enum class PathFunction : std::uint8_t {
    External, // none of XPath's own
    Boolean,
    Ceiling,
    Concat,
    Contains,
    Count,
    False,
    Floor,
    Id,
    Lang,
    Last,
    LocalName,
    Name,
    NamespaceUri,
    NormalizeSpace,
    Not,
    Number,
    Position,
    Round,
    StartsWith,
    String,
    StringLength,
    Substring,
    SubstringAfter,
    SubstringBefore,
    Sum,
    Translate,
    True
};

/// A prefix as its place among those of the expression.
using PathPrefix = int;
inline constexpr PathPrefix NoPrefix = -1;

/// Which of an axis's nodes are meant.
struct PathTest {
    enum class Kind : std::uint8_t { Name, AnyName, Node, Text, Comment, Instruction };

    Kind kind = Kind::Node;
    PathPrefix prefix = NoPrefix; // of Name and AnyName
    std::string name;             // of Name and Instruction; empty for any instruction
};

struct PathExpression;

struct PathStep {
    PathAxis axis = PathAxis::Child;
    PathTest test;
    std::vector<PathExpression> predicates;
};

struct PathExpression {
    enum class Kind : std::uint8_t {
        Number,
        Literal,
        Variable,
        Call,
        Negation, // of its operand
        Chain,    // operands with operators of one rank between them, to be taken from left to right
        Path      // from the root, from what the operand gives, or from the context
    };

    Kind kind = Kind::Path;
    PathType type = PathType::Nodes;
    PathFunction function = PathFunction::External;
    bool usesPosition = false; // asks for the context's position or size
    bool isAbsolute = false;
    PathPrefix prefix = NoPrefix; // of a variable or a function
    double number = 0;
    std::string text; // of a literal; the name of a variable or a function
    std::vector<PathExpression> operands;
    std::vector<PathOperator> operators;
    std::vector<PathExpression> predicates; // on the nodes of the operand
    std::vector<PathStep> steps;

    /// Whether it depends, as a predicate, on the other nodes of the set.
    [[nodiscard]] bool IsPositional() const noexcept {
        return usesPosition || type == PathType::Number || type == PathType::Unknown;
    }
};

/// Reads an expression and appends the prefixes in it to `prefixes`. Errors, thrown: PathFailure.
[[nodiscard]] PathExpression ParsePath(std::string_view text, std::vector<std::string> & prefixes);

} // namespace KZPlatform::LibXml2
