// The grammar of configuration texts: one unit of look-ahead, no backtracking. Texts are gathered in one buffer, which is reused,
// so a line costs one allocation for its key and one for its value.
#include "ZerlithCore/app/KZConfigFile.h"
#include "ZerlithCore/app/KZConfigStreamException.h"
#include "ZerlithCore/app/detail/ConfigSource.h"
#include "ZerlithCore/app/detail/KZConfigText.h"
#include "ZerlithCore/app/detail/NamedListBody.h"
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/text/detail/KZWriteUnits.h"

#include <istream>
#include <ostream>
#include <utility>
#include <vector>

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

using KZDetail::ConfigSource;
constexpr auto endOfText = ConfigSource::endOfText;

constexpr char16_t const * keyCut = u"unexpected EOF while parsing a key name of a configuration line";
constexpr char16_t const * noHeader = u"expecting a '[' at the beginning of a section";
constexpr char16_t const * nameCut = u"unexpected EOF while parsing a section name";
constexpr char16_t const * strayCharacter = u"unexpected character after the closing ']' of a section name";

} // namespace

/// Reads the parts of a configuration from one source.
class KZConfigReader {
public:
    using Texts = std::vector<KZString>;

    explicit KZConfigReader(ConfigSource & source) : source_(source) {}

    void ReadCommentsOf(KZConfigComments & comments) { ReadComments(comments.texts_); }
    void ReadCommentsOf(KZConfigLine & line) { ReadComments(line.comments_.texts_); }
    void ReadCommentsOf(KZConfigSection & section) { ReadComments(section.comments_.texts_); }

    void ReadKeyAndValue(KZConfigLine & line);
    void ReadHeader(KZConfigSection & section);
    void ReadFile(KZConfigFile & file);

private:
    void Gather(ConfigSource::Unit unit) { text_.push_back(static_cast<char16_t>(unit)); }

    [[noreturn]] void Refuse(char16_t const * why) {
        fault_ = why;
        throw KZConfigStreamException(why);
    }

    void ReadSections(KZConfigFile & file);
    void ReadComments(Texts & comments);
    KZString ReadComment();
    void ReadLine(Texts && comments);
    void Append(KZConfigFile & file, KZConfigSection & section);

    ConfigSource & source_;
    std::u16string text_;
    std::vector<KZConfigLine> lines_;  // since the last header
    bool hasDroppedZero_ = false;      // lines before the first header had 0 characters
    char16_t const * fault_ = nullptr; // the text of the exception that was thrown
};

void KZConfigReader::ReadComments(Texts & comments) {
    comments.clear();
    for (;;) {
        switch (source_.Peek()) {
        case u';': comments.push_back(ReadComment()); break;
        case u'\n': comments.emplace_back(); [[fallthrough]];
        case u' ':
        case u'\t':
        case u'\r': source_.Take(); break;
        default: return;
        }
    }
}

KZString KZConfigReader::ReadComment() {
    text_.clear();
    source_.Take();
    for (auto unit = source_.Take(); unit != endOfText && unit != u'\n'; unit = source_.Take()) Gather(unit);
    while (text_.ends_with(u'\r')) text_.pop_back(); // all of them, so that a saved text reads the same
    return KZString(std::u16string_view(text_));
}

void KZConfigReader::ReadKeyAndValue(KZConfigLine & line) {
    line.SetKey(KZString());
    line.value_.Clear();
    text_.clear();
    auto unit = source_.Take();
    for (; unit != u'=' && unit != u'\n'; unit = source_.Take()) {
        if (unit == endOfText) Refuse(keyCut);
        if (unit != u'\r') Gather(unit);
    }
    line.SetKey(WithoutTail(text_, IsWhiteSpace));
    if (unit == u'\n') return;

    text_.clear();
    for (unit = source_.Take(); unit != u'\n' && unit != endOfText; unit = source_.Take()) {
        bool const isLeadingSpace = text_.empty() && IsWhiteSpace(static_cast<char16_t>(unit));
        if (unit != u'\r' && !isLeadingSpace) Gather(unit);
    }
    line.value_ = WithoutTail(text_, KZEncoding::IsBlank);
}

void KZConfigReader::ReadHeader(KZConfigSection & section) {
    section.SetName(KZString());
    section.DropLinesLocks();
    section.lines_.Clear();
    if (source_.IsAtEnd()) return;
    if (source_.Peek() != u'[') Refuse(noHeader);
    source_.Take();

    text_.clear();
    for (auto unit = source_.Take(); unit != u']'; unit = source_.Take()) {
        if (unit == endOfText) Refuse(nameCut);
        Gather(unit);
    }
    section.SetName(KZString(std::u16string_view(text_)));

    for (auto unit = source_.Take(); unit != u'\n' && unit != endOfText; unit = source_.Take()) {
        if (unit == u' ' || unit == u'\t' || unit == u'\r') continue;
        if (KZEncoding::IsHighSurrogate(unit) && KZEncoding::IsLowSurrogate(source_.Peek())) source_.Take();
        // A stray character is accepted if it is the last one of the file; callers rely on that.
        if (!source_.IsAtEnd()) Refuse(strayCharacter);
    }
}

void KZConfigReader::ReadLine(Texts && comments) {
    KZConfigLine & line = lines_.emplace_back();
    line.comments_.texts_ = std::move(comments);
    ReadKeyAndValue(line);
}

/// Moves the section that was read to the file. That makes it the owner of its lines.
void KZConfigReader::Append(KZConfigFile & file, KZConfigSection & section) {
    section.lines_.Take(lines_);
    file.Insert(std::move(section), nullptr);
}

void KZConfigReader::ReadFile(KZConfigFile & file) {
    file.Clear();
    file.whyPartial_ = source_.IsGood() ? u"it could not be read to its end" : u"the stream was not good";
    try {
        ReadSections(file);
    } catch (KZConfigStreamException const &) {
        file.whyPartial_ = fault_;
        throw;
    }
    if (source_.HasStranger())
        file.whyPartial_ = u"it holds what is no character, as a text in UTF-16 does that was cut";
    else if (hasDroppedZero_)
        file.whyPartial_ =
            u"lines before the first header hold 0 characters, as a text in UTF-16 without a mark does";
    else if (source_.IsGood())
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
        bool const isEnd = source_.IsAtEnd();
        if (!isEnd && source_.Peek() != u'[') {
            ReadLine(std::move(comments));
            hasDroppedZero_ |= !isPending && HasZero(lines_.back());
            continue;
        }
        keepPending();
        if (isEnd && comments.empty()) break;
        lines_.clear();
        ReadHeader(working);
        working.comments_.texts_ = std::move(comments);
        isPending = true;
    } while (!source_.IsAtEnd());
    keepPending();
}

std::wistream & operator>>(std::wistream & stream, KZConfigComments & comments) {
    KZDetail::ConfigStreamSource source(stream);
    KZConfigReader reader(source);
    reader.ReadCommentsOf(comments);
    source.Finish();
    return stream;
}

std::wistream & operator>>(std::wistream & stream, KZConfigLine & line) {
    KZDetail::ConfigStreamSource source(stream);
    KZConfigReader reader(source);
    reader.ReadCommentsOf(line);
    reader.ReadKeyAndValue(line);
    source.Finish();
    return stream;
}

std::wistream & operator>>(std::wistream & stream, KZConfigSection & section) {
    KZDetail::ConfigStreamSource source(stream);
    KZConfigReader reader(source);
    reader.ReadCommentsOf(section);
    reader.ReadHeader(section);
    source.Finish();
    return stream;
}

std::wistream & operator>>(std::wistream & stream, KZConfigFile & file) {
    KZGuard<KZConfigFile> guard(file);
    KZDetail::ConfigStreamSource source(stream);
    KZConfigReader reader(source);
    reader.ReadFile(file);
    source.Finish();
    return stream;
}

void KZDetail::ReadConfig(KZConfigFile & file, UnitFile & text) {
    ConfigFileSource source(text);
    KZConfigReader(source).ReadFile(file);
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

/// Writes all units. `operator<<` of strings would stop at a 0 unit, which a damaged file may have.
template <class Part>
std::wostream & WritePart(std::wostream & stream, Part const & part) {
    std::u16string text;
    Append(text, part);
    return KZDetail::WriteUnits(stream, text);
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
    return KZDetail::WriteUnits(stream, KZDetail::TextOf(file));
}
