/// @file
/// The parser of regular expressions, whose result KZRegEx compiles. docs/patterns.md has the syntax.
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
///
/// Thread safety: threads may use copies of one record; the trees don't change.
struct KZParsedRegEx {
    KZSmartPtr<KZRegExSyntaxNode> root;
    KZSmartPtr<KZCollatingTable<char>> collatingTable;
    KZSmartPtr<KZCollatingTable<unsigned short>> wCollatingTable;
};

/// Parses a pattern that comes unit by unit from a derived class.
///
/// An error in the pattern gives a null root and no other sign. Parentheses may nest 1,000 deep; deeper ones are an
/// error.
///
/// Thread safety: one object must not be used by two threads at the same time.
class KZ_EXPORT KZRegExParserBase {
public:
    KZRegExParserBase() = default;
    KZRegExParserBase(KZRegExParserBase const &) = delete;
    KZRegExParserBase & operator=(KZRegExParserBase const &) = delete;
    virtual ~KZRegExParserBase();

    /// Returns the next unit of the pattern; at its end 0, at each further call, too.
    virtual char16_t GetNextChar() = 0;

    /// Parses at the first call; later calls return the same tree, or fail again. Errors: std::bad_alloc; all later
    /// calls then throw it, too.
    KZParsedRegEx Parse();

    /// The tables for the match, null at first: a derived class, or a caller before `Parse`, stores them here.
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

    /// Read the next token: the first by the rules outside of "[" and "]", the second by those inside.
    void GetRegExChar();
    void GetGroupChar();
    /// Reads the digits of a count and returns the last one, so that 12 is 2: callers rely on it. Returns
    /// `defaultValue` when there is no digit.
    std::uint32_t GetCount(std::uint32_t defaultValue);
    /// Each reads one level of the grammar and returns its tree, null after an error.
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
