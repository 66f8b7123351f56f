/// @file
/// The parser of patterns. docs/patterns.md has the syntax.
///
///     KZRegEx const regEx(KZStringRegExParser(u"[a-z]+(, [a-z]+)*").Parse());
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/pattern/KZRegExSyntaxNode.h"
#include "ZerlithCore/text/KZCollator.h"
#include "ZerlithCore/text/KZString.h"

#include <cstdint>

/// A parsed pattern: its tree, null after an error, and the collating tables to match with, which may be null.
struct KZParsedRegEx {
    KZSmartPtr<KZRegExSyntaxNode> root;
    KZSmartPtr<KZCollatingTable<char>> collatingTable;
    KZSmartPtr<KZCollatingTable<unsigned short>> wCollatingTable;
};

/// Parses a pattern that comes unit by unit from a derived class.
///
/// An error is shown by a null root alone. Parentheses may nest 1,000 deep; deeper ones are an error.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZRegExParserBase {
public:
    KZRegExParserBase() = default;
    KZRegExParserBase(KZRegExParserBase const &) = delete;
    KZRegExParserBase & operator=(KZRegExParserBase const &) = delete;
    virtual ~KZRegExParserBase();

    /// The next unit of the pattern; 0 at its end, and again when asked once more.
    virtual char16_t GetNextChar() = 0;

    /// Parses at the first call; later ones give the same tree, or the same failure. Errors: std::bad_alloc, from then on by
    /// each call.
    KZParsedRegEx Parse();

    /// Where the tables for the match are put; null until then.
    [[nodiscard]] KZSmartPtr<KZCollatingTable<char>> & GetCollatingTableP() noexcept {
        return collatingTable_;
    }
    [[nodiscard]] KZSmartPtr<KZCollatingTable<unsigned short>> & GetWCollatingTableP() noexcept {
        return wCollatingTable_;
    }

protected:
    using Node = KZSmartPtr<KZRegExSyntaxNode>;

    enum class Token : std::uint8_t {
        Character,
        End,
        GroupEnd,
        GroupStart,
        Open,
        Close,
        CountOpen,
        CountClose,
        Alternative,
        Any,
        OneOrMore,
        ZeroOrMore,
        Optional,
        Range,
        Negate,
    };

    /// Reads the next token, by the rules outside and inside of "[" and "]".
    void GetRegExChar();
    void GetGroupChar();
    /// Reads the digits of a count and keeps the last one, so that 12 is 2: callers rely on it. `defaultValue` when
    /// there is none.
    std::uint32_t GetCount(std::uint32_t defaultValue);
    /// Each reads one level of the grammar; null after an error.
    Node ParseRegEx();
    Node ParseSequence();
    Node ParseRepSubRegEx();
    Node ParseSubRegEx();
    Node ParseGroupDef();

private:
    enum class State : std::uint8_t { Fresh, Begun, Parsed };

    void ReadToken(bool inGroup);
    Node ParseSuffix(Node node);
    Node ParseCount(Node node);
    Node Fail();
    bool ReadGroupItem(KZUWCharSet & set, bool negate);

    KZSmartPtr<KZCollatingTable<char>> collatingTable_;
    KZSmartPtr<KZCollatingTable<unsigned short>> wCollatingTable_;
    Token token_ = Token::End;
    char16_t character_ = 0;
    bool error_ = false;
    State state_ = State::Fresh;
    std::uint32_t depth_ = 0;
    Node root_;
};

/// Parses the pattern in a string, up to its first 0 unit.
class KZ_EXPORT KZStringRegExParser : public KZRegExParserBase {
public:
    explicit KZStringRegExParser(KZString const & text) : text_(text) {}
    ~KZStringRegExParser() override;

    char16_t GetNextChar() override;

private:
    KZString text_;
    std::uint32_t position_ = 0;
};
