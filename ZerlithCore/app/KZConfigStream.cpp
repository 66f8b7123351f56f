// The grammar of configuration texts: one character of look-ahead, no backtracking. Characters are read directly from the
// stream's buffer, since the stream's own functions would take longer for each character than all the rest. Texts are
// gathered in one buffer, which is reused, so a line costs one allocation for its key and one for its value.
#include "ZerlithCore/app/KZConfigFile.h"
#include "ZerlithCore/app/KZConfigStreamException.h"
#include "ZerlithCore/app/detail/KZConfigText.h"
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/text/KZWideText.h"

#include <cstdint>
#include <istream>
#include <iterator>
#include <ostream>
#include <utility>

namespace {

/// The characters that the C library counts as space, but independent of the locale. No-break spaces aren't among them.
constexpr bool IsWhiteSpace(char16_t unit) {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'\u0085' || unit == u'\u1680' ||
           (unit >= u'\u2000' && unit <= u'\u200A' && unit != u'\u2007') || unit == u'\u2028' ||
           unit == u'\u2029' || unit == u'\u205F' || unit == u'\u3000';
}

/// The text without the units at its end for which `isDropped` is true.
template <class Predicate>
KZString WithoutTail(std::u16string_view text, Predicate isDropped) {
    while (!text.empty() && isDropped(text.back())) text.remove_suffix(1);
    return KZString(text);
}

bool HasZero(KZConfigLine const & line) {
    auto const has = [](std::u16string_view text) { return text.find(u'\0') != std::u16string_view::npos; };
    return has(std::u16string_view(line.GetKey())) || has(std::u16string_view(line.GetValue()));
}

using Traits = std::char_traits<wchar_t>;
constexpr Traits::int_type endOfText = Traits::eof();
constexpr std::uint32_t lastCharacter = 0x10FFFF;

constexpr char16_t const * keyCut = u"unexpected EOF while parsing a key name of a configuration line";
constexpr char16_t const * noHeader = u"expecting a '[' at the beginning of a section";
constexpr char16_t const * nameCut = u"unexpected EOF while parsing a section name";
constexpr char16_t const * strayCharacter = u"unexpected character after the closing ']' of a section name";

} // namespace

/// Reads the parts of a configuration from one stream. A stream that isn't good counts as empty.
class KZConfigReader {
public:
    using Texts = std::vector<KZString>;

    explicit KZConfigReader(std::wistream & stream)
        : stream_(stream), buffer_(stream.good() ? stream.rdbuf() : nullptr), isAtEnd_(!buffer_) {}

    void ReadCommentsOf(KZConfigComments & comments) { ReadComments(comments.texts_); }
    void ReadCommentsOf(KZConfigLine & line) { ReadComments(line.comments_.texts_); }
    void ReadCommentsOf(KZConfigSection & section) { ReadComments(section.comments_.texts_); }

    void ReadKeyAndValue(KZConfigLine & line);
    void ReadHeader(KZConfigSection & section);
    void ReadFile(KZConfigFile & file);

    /// Sets the stream's `eofbit` if its end was reached. That may throw, if the program has told the stream to.
    void Finish() {
        if (IsAtEnd()) stream_.setstate(std::ios_base::eofbit);
    }

private:
    // After the end the buffer isn't read again: that could fail, although the text was read as a whole.
    Traits::int_type Peek() { return Note(isAtEnd_ ? endOfText : buffer_->sgetc()); }
    Traits::int_type Take() { return Note(isAtEnd_ ? endOfText : buffer_->sbumpc()); }
    bool IsAtEnd() { return Peek() == endOfText; }

    Traits::int_type Note(Traits::int_type character) {
        if (character > lastCharacter) (character == endOfText ? isAtEnd_ : hasStranger_) = true;
        return character;
    }

    void Gather(Traits::int_type character) {
        if (character < 0x10000)
            text_.push_back(static_cast<char16_t>(character));
        else
            KZAppendWide(text_, Traits::to_char_type(character));
    }

    [[noreturn]] void Refuse(char16_t const * why) {
        fault_ = why;
        throw KZConfigStreamException(why);
    }

    void ReadSections(KZConfigFile & file);
    void ReadComments(Texts & comments);
    KZString ReadComment();
    void ReadLine(KZConfigSection & section, Texts && comments);
    static void Append(KZConfigFile & file, KZConfigSection & working);

    std::wistream & stream_;
    std::wstreambuf * buffer_;
    std::u16string text_;
    bool isAtEnd_;
    bool hasStranger_ = false;         // something was read that isn't a character and can't be kept in units
    bool hasDroppedZero_ = false;      // lines before the first header had 0 characters
    char16_t const * fault_ = nullptr; // the text of the exception that was thrown
};

void KZConfigReader::ReadComments(Texts & comments) {
    comments.clear();
    for (;;) {
        switch (Peek()) {
        case L';': comments.push_back(ReadComment()); break;
        case L'\n': comments.emplace_back(); [[fallthrough]];
        case L' ':
        case L'\t':
        case L'\r': Take(); break;
        default: return;
        }
    }
}

KZString KZConfigReader::ReadComment() {
    text_.clear();
    Take();
    for (auto character = Take(); character != endOfText && character != L'\n'; character = Take())
        Gather(character);
    while (text_.ends_with(u'\r')) text_.pop_back(); // all of them, so that a saved text reads the same
    return KZString(std::u16string_view(text_));
}

void KZConfigReader::ReadKeyAndValue(KZConfigLine & line) {
    line.key_.Clear();
    line.value_.Clear();
    text_.clear();
    auto character = Take();
    for (; character != L'=' && character != L'\n'; character = Take()) {
        if (character == endOfText) Refuse(keyCut);
        if (character != L'\r') Gather(character);
    }
    line.key_ = WithoutTail(text_, IsWhiteSpace);
    if (character == L'\n') return;

    text_.clear();
    for (character = Take(); character != L'\n' && character != endOfText; character = Take()) {
        bool const isLeadingSpace =
            text_.empty() && character < 0x10000 && IsWhiteSpace(static_cast<char16_t>(character));
        if (character != L'\r' && !isLeadingSpace) Gather(character);
    }
    line.value_ = WithoutTail(text_, KZEncoding::IsBlank);
}

void KZConfigReader::ReadHeader(KZConfigSection & section) {
    section.name_.Clear();
    section.DropLinesLocks();
    section.lines_.clear();
    if (IsAtEnd()) return;
    if (Peek() != L'[') Refuse(noHeader);
    Take();

    text_.clear();
    for (auto character = Take(); character != L']'; character = Take()) {
        if (character == endOfText) Refuse(nameCut);
        Gather(character);
    }
    section.name_ = KZString(std::u16string_view(text_));

    for (auto character = Take(); character != L'\n' && character != endOfText; character = Take()) {
        bool const isSkipped = character == L' ' || character == L'\t' || character == L'\r';
        // A stray character is accepted if it is the last one of the file; callers rely on that.
        if (!isSkipped && !IsAtEnd()) Refuse(strayCharacter);
    }
}

void KZConfigReader::ReadLine(KZConfigSection & section, Texts && comments) {
    KZConfigLine & line = section.lines_.emplace_back();
    line.Adopt(&section);
    line.comments_.texts_ = std::move(comments);
    ReadKeyAndValue(line);
}

/// Appends the section that was read to the file and moves its lines into a vector of exactly their number. The memory of
/// `working` is kept for the lines of the next section.
void KZConfigReader::Append(KZConfigFile & file, KZConfigSection & working) {
    KZConfigSection & section = file.sections_.emplace_back();
    section.Adopt(&file);
    section.comments_.texts_ = std::move(working.comments_.texts_);
    section.name_ = std::move(working.name_);
    section.lines_.assign(std::move_iterator(working.lines_.begin()),
                          std::move_iterator(working.lines_.end()));
    section.RebindParts();
    working.lines_.clear();
}

void KZConfigReader::ReadFile(KZConfigFile & file) {
    file.Clear();
    file.whyPartial_ = buffer_ ? u"it could not be read to its end" : u"the stream was not good";
    try {
        ReadSections(file);
    } catch (KZConfigStreamException const &) {
        file.whyPartial_ = fault_;
        throw;
    }
    if (hasStranger_)
        file.whyPartial_ = u"it holds what is no character, as a text in UTF-16 does that was cut";
    else if (hasDroppedZero_)
        file.whyPartial_ =
            u"lines before the first header hold 0 characters, as a text in UTF-16 without a mark does";
    else if (buffer_)
        file.whyPartial_ = nullptr;
}

/// A section is appended to the file only when the next one begins or the text ends. So a section in which an error occurs isn't
/// appended, and neither are lines before the first header, which belong to no section.
void KZConfigReader::ReadSections(KZConfigFile & file) {
    KZConfigSection working;
    bool isPending = false;
    auto const keepPending = [&] {
        if (isPending) Append(file, working);
        isPending = false;
    };
    do {
        Texts comments;
        ReadComments(comments);
        bool const isEnd = IsAtEnd();
        if (!isEnd && Peek() != L'[') {
            ReadLine(working, std::move(comments));
            hasDroppedZero_ |= !isPending && HasZero(working.lines_.back());
            continue;
        }
        keepPending();
        if (isEnd && comments.empty()) break;
        ReadHeader(working);
        working.comments_.texts_ = std::move(comments);
        isPending = true;
    } while (!IsAtEnd());
    keepPending();
}

std::wistream & operator>>(std::wistream & stream, KZConfigComments & comments) {
    KZConfigReader reader(stream);
    reader.ReadCommentsOf(comments);
    reader.Finish();
    return stream;
}

std::wistream & operator>>(std::wistream & stream, KZConfigLine & line) {
    KZConfigReader reader(stream);
    reader.ReadCommentsOf(line);
    reader.ReadKeyAndValue(line);
    reader.Finish();
    return stream;
}

std::wistream & operator>>(std::wistream & stream, KZConfigSection & section) {
    KZConfigReader reader(stream);
    reader.ReadCommentsOf(section);
    reader.ReadHeader(section);
    reader.Finish();
    return stream;
}

std::wistream & operator>>(std::wistream & stream, KZConfigFile & file) {
    KZGuard<KZConfigFile> guard(file);
    KZConfigReader reader(stream);
    reader.ReadFile(file);
    reader.Finish();
    return stream;
}

// --- Writing

namespace {

void Append(std::u16string & text, KZConfigComments const & comments) {
    for (auto each = comments.GetCommentsBegin(); each != comments.GetCommentsEnd(); ++each) {
        if (!each->IsNull()) (text += u';') += std::u16string_view(*each);
        text += u'\n';
    }
}

void Append(std::u16string & text, KZConfigLine const & line) {
    Append(text, line.GetComments());
    (text += std::u16string_view(line.GetKey())) += u'=';
    (text += std::u16string_view(line.GetValue())) += u'\n';
}

void Append(std::u16string & text, KZConfigSection const & section) {
    Append(text, section.GetComments());
    if (!section.GetName().IsNull()) ((text += u'[') += std::u16string_view(section.GetName())) += u"]\n";
    for (auto line = section.GetLinesBegin(); line != section.GetLinesEnd(); ++line) Append(text, *line);
}

/// Writes the whole text. `operator<<` of strings would stop at a 0 unit, which a damaged file may have.
std::wostream & Write(std::wostream & stream, std::u16string const & text) {
    std::wstring const wide = KZToWide(text);
    return stream.write(wide.data(), static_cast<std::streamsize>(wide.size()));
}

template <class Part>
std::wostream & WritePart(std::wostream & stream, Part const & part) {
    std::u16string text;
    Append(text, part);
    return Write(stream, text);
}

} // namespace

std::u16string KZDetail::TextOf(KZConfigFile const & file) {
    std::u16string text;
    for (auto section = file.GetSectionsBegin(); section != file.GetSectionsEnd(); ++section)
        Append(text, *section);
    return text;
}

std::wostream & operator<<(std::wostream & stream, KZConfigComments const & comments) {
    return WritePart(stream, comments);
}

std::wostream & operator<<(std::wostream & stream, KZConfigLine const & line) {
    return WritePart(stream, line);
}

std::wostream & operator<<(std::wostream & stream, KZConfigSection const & section) {
    return WritePart(stream, section);
}

std::wostream & operator<<(std::wostream & stream, KZConfigFile const & file) {
    KZGuard<KZConfigFile const> guard(file);
    return Write(stream, KZDetail::TextOf(file));
}
