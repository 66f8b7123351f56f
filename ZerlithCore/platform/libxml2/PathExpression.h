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

/// Why a path can't be parsed or evaluated; thrown only inside this folder.
enum class PathFailure : std::uint8_t {
    Syntax,
    Prefix,   // it isn't declared
    Function, // it doesn't exist
    Variable, // it doesn't exist
    Type,     // nodes are needed where the value is something else
    Nesting,  // brackets, parentheses and arguments nest too deep
    Work,     // the budget is spent
    Host      // the PathHost has failed, and knows why
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

/// The type of an expression's value, as far as its text shows it.
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
    External, // not defined by XPath
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

/// A prefix, as an index into the list of the expression's prefixes.
using PathPrefix = int;
inline constexpr PathPrefix noPrefix = -1;

/// Which nodes of an axis a step selects.
struct PathTest {
    enum class Kind : std::uint8_t { Name, AnyName, Node, Text, Comment, Instruction };

    Kind kind = Kind::Node;
    PathPrefix prefix = noPrefix; // for Name and AnyName
    std::string name;             // for Name and Instruction; empty for any instruction
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
        Negation, // "-" and one operand
        Chain, // operands with operators of one rank between them, evaluated from left to right: "1 - 2 + 3"
        Path   // steps from the root, from the nodes of the operand, or from the context node
    };

    Kind kind = Kind::Path;
    PathType type = PathType::Nodes;
    PathFunction function = PathFunction::External;
    bool usesPosition = false; // contains position() or last() of its own context
    bool isAbsolute = false;
    PathPrefix prefix = noPrefix; // for a variable or a function
    double number = 0;
    std::string text; // the text of a literal; the name of a variable or a function
    std::vector<PathExpression> operands;
    std::vector<PathOperator> operators;
    std::vector<PathExpression> predicates; // for the nodes of the operand
    std::vector<PathStep> steps;

    /// Whether it depends on a node's position when it is used as a predicate.
    [[nodiscard]] bool IsPositional() const noexcept {
        return usesPosition || type == PathType::Number || type == PathType::Unknown;
    }
};

/// Parses an expression and appends its prefixes to `prefixes`. Errors, thrown: PathFailure.
[[nodiscard]] PathExpression ParsePath(std::string_view text, std::vector<std::string> & prefixes);

} // namespace KZPlatform::LibXml2
