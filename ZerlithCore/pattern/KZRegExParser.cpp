// A recursive descent that reads one token ahead. Sequences and alternates are read in loops, so only parentheses
// recurse.
#include "ZerlithCore/pattern/KZRegExParser.h"

#include <new>
#include <utility>

namespace {

constexpr std::uint32_t deepestNesting = 1000;

KZSmartPtr<KZRegExSyntaxNode> MakeSet(char16_t low, char16_t high) {
    KZSmartPtr<KZRegExSyntaxNodeCharSet> node(new KZRegExSyntaxNodeCharSet);
    node->AddRange(low, high);
    return node;
}

} // namespace

KZRegExParserBase::~KZRegExParserBase() = default;

KZParsedRegEx KZRegExParserBase::Parse() {
    // A parse that std::bad_alloc has stopped can't continue. It throws again, because a null root would mean that the
    // pattern is wrong.
    if (state_ == State::Begun) throw std::bad_alloc();
    if (state_ == State::Fresh) {
        state_ = State::Begun;
        GetRegExChar();
        root_ = ParseRegEx();
        if (error_ || token_ != Token::End) root_.Clear();
        state_ = State::Parsed;
    }
    return {root_, collatingTable_, wCollatingTable_};
}

void KZRegExParserBase::GetRegExChar() { ReadToken(false); }

void KZRegExParserBase::GetGroupChar() { ReadToken(true); }

std::uint32_t KZRegExParserBase::GetCount(std::uint32_t defaultValue) {
    std::uint32_t value = defaultValue;
    for (; token_ == Token::Character && character_ >= u'0' && character_ <= u'9'; GetRegExChar())
        value = character_ - u'0';
    return value;
}

KZRegExParserBase::Node KZRegExParserBase::ParseRegEx() {
    Node left = ParseSequence();
    while (!error_ && token_ == Token::Alternative) {
        GetRegExChar();
        Node right = ParseSequence();
        if (!error_) left = Node(new KZRegExSyntaxNodeAlternate(std::move(left), std::move(right)));
    }
    return error_ ? Node() : left;
}

KZRegExParserBase::Node KZRegExParserBase::ParseSequence() {
    Node left = ParseRepSubRegEx();
    while (!error_ && token_ != Token::End && token_ != Token::Alternative && token_ != Token::Close) {
        Node right = ParseRepSubRegEx();
        if (!error_) left = Node(new KZRegExSyntaxNodeSequence(std::move(left), std::move(right)));
    }
    return error_ ? Node() : left;
}

KZRegExParserBase::Node KZRegExParserBase::ParseRepSubRegEx() {
    Node node = ParseSubRegEx();
    return error_ ? Node() : ParseSuffix(std::move(node));
}

KZRegExParserBase::Node KZRegExParserBase::ParseSubRegEx() {
    Node node;
    switch (token_) {
    case Token::Character: node = MakeSet(character_, character_); break;
    case Token::Any: node = MakeSet(0, 0xFFFE); break;
    case Token::GroupStart: node = ParseGroupDef(); break;
    case Token::Open:
        if (++depth_ > deepestNesting) return Fail();
        GetRegExChar();
        node = ParseRegEx();
        --depth_;
        if (!error_ && token_ != Token::Close) return Fail();
        break;
    default: return Fail();
    }
    if (error_) return {};
    GetRegExChar();
    return node;
}

KZRegExParserBase::Node KZRegExParserBase::ParseGroupDef() {
    KZSmartPtr<KZRegExSyntaxNodeCharSet> node(new KZRegExSyntaxNodeCharSet);
    GetGroupChar();
    bool const negate = token_ == Token::Negate;
    if (negate) {
        node->AddAllChars();
        GetGroupChar();
    }
    while (token_ == Token::Character)
        if (!ReadGroupItem(*node, negate)) return Fail();
    return token_ == Token::GroupEnd ? Node(node) : Fail();
}

void KZRegExParserBase::ReadToken(bool inGroup) {
    character_ = GetNextChar();
    token_ = Token::Character;
    switch (character_) {
    case u'\0': token_ = Token::End; break;
    case u'[': token_ = Token::GroupStart; break;
    case u']': token_ = Token::GroupEnd; break;
    case u'(': token_ = inGroup ? Token::Character : Token::Open; break;
    case u')': token_ = inGroup ? Token::Character : Token::Close; break;
    case u'{': token_ = inGroup ? Token::Character : Token::CountOpen; break;
    case u'}': token_ = inGroup ? Token::Character : Token::CountClose; break;
    case u'|': token_ = inGroup ? Token::Character : Token::Alternative; break;
    case u'.': token_ = inGroup ? Token::Character : Token::Any; break;
    case u'+': token_ = inGroup ? Token::Character : Token::OneOrMore; break;
    case u'*': token_ = inGroup ? Token::Character : Token::ZeroOrMore; break;
    case u'?': token_ = inGroup ? Token::Character : Token::Optional; break;
    case u'-': token_ = inGroup ? Token::Range : Token::Character; break;
    case u'^': token_ = inGroup ? Token::Negate : Token::Character; break;
    case u'\\':
        // A backslash at the end of the pattern stands for itself.
        if (char16_t const next = GetNextChar()) character_ = next;
        break;
    default: break;
    }
}

KZRegExParserBase::Node KZRegExParserBase::ParseSuffix(Node node) {
    std::uint32_t minimum = 0;
    std::uint32_t maximum = KZRegExSyntaxNodeRepeat::Unbounded;
    switch (token_) {
    case Token::OneOrMore: minimum = 1; break;
    case Token::ZeroOrMore: break;
    case Token::Optional: maximum = 1; break;
    case Token::CountOpen: return ParseCount(std::move(node));
    default: return node;
    }
    GetRegExChar();
    return Node(new KZRegExSyntaxNodeRepeat(std::move(node), minimum, maximum));
}

// Any character may stand between the two counts.
KZRegExParserBase::Node KZRegExParserBase::ParseCount(Node node) {
    GetRegExChar();
    std::uint32_t const minimum = GetCount(1);
    std::uint32_t maximum = minimum;
    if (token_ != Token::CountClose) {
        if (token_ != Token::Character) return Fail();
        GetRegExChar();
        maximum = GetCount(KZRegExSyntaxNodeRepeat::Unbounded);
        if (token_ != Token::CountClose) return Fail();
    }
    if (maximum < minimum) return Fail();
    GetRegExChar();
    if (minimum == 1 && maximum == 1) return node;
    return Node(new KZRegExSyntaxNodeRepeat(std::move(node), minimum, maximum));
}

KZRegExParserBase::Node KZRegExParserBase::Fail() {
    error_ = true;
    return {};
}

// Reads a character, or a range of characters.
bool KZRegExParserBase::ReadGroupItem(KZUWCharSet & set, bool negate) {
    char16_t const low = character_;
    char16_t high = low;
    GetGroupChar();
    if (token_ == Token::Range) {
        GetGroupChar();
        high = character_;
        if (token_ != Token::Character || high < low) return false;
        GetGroupChar();
    }
    negate ? set.DelRange(low, high) : set.AddRange(low, high);
    return true;
}

KZStringRegExParser::~KZStringRegExParser() = default;

char16_t KZStringRegExParser::GetNextChar() {
    char16_t const unit = text_[position_];
    if (unit != 0) ++position_;
    return unit;
}
