// The grammar of configuration texts: one character of look-ahead, no backtracking, straight on the stream's buffer,
// since a formatted or even a guarded read of each character would cost more than all the rest. Texts gather in one
// buffer that is reused, so a line costs one allocation for its key and one for its value.
#include "ZerlithCore/app/KZConfigFile.h"
#include "ZerlithCore/app/KZConfigStreamException.h"
#include "ZerlithCore/text/KZWideText.h"

#include <istream>
#include <iterator>
#include <ostream>
#include <utility>

namespace {

/// The characters of class space, whatever the locale: no-break spaces aren't among them.
constexpr bool IsWhiteSpace(char16_t unit) {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'\u0085' || unit == u'\u1680' ||
           (unit >= u'\u2000' && unit <= u'\u200A' && unit != u'\u2007') || unit == u'\u2028' ||
           unit == u'\u2029' || unit == u'\u205F' || unit == u'\u3000';
}

constexpr bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t'; }

/// The text without what `isDropped` accepts at its end.
template <class Predicate>
KZString WithoutTail(std::u16string_view text, Predicate isDropped) {
    while (!text.empty() && isDropped(text.back())) text.remove_suffix(1);
    return KZString(text);
}

using Traits = std::char_traits<wchar_t>;
constexpr Traits::int_type endOfText = Traits::eof();

} // namespace

/// Reads the parts of one stream. A stream that isn't good reads as an empty one.
class KZConfigReader {
public:
    using Texts = std::vector<KZString>;

    explicit KZConfigReader(std::wistream & stream)
        : stream_(stream), buffer_(stream.good() ? stream.rdbuf() : nullptr) {}

    void ReadCommentsOf(KZConfigComments & comments) { ReadComments(comments.texts_); }
    void ReadCommentsOf(KZConfigLine & line) { ReadComments(line.comments_.texts_); }
    void ReadCommentsOf(KZConfigSection & section) { ReadComments(section.comments_.texts_); }

    void ReadKeyAndValue(KZConfigLine & line);
    void ReadHeader(KZConfigSection & section);
    void ReadFile(KZConfigFile & file);

    /// Tells the stream when its end was reached; may throw what the stream throws then.
    void Finish() {
        if (IsAtEnd()) stream_.setstate(std::ios_base::eofbit);
    }

private:
    Traits::int_type Peek() { return buffer_ ? buffer_->sgetc() : endOfText; }
    Traits::int_type Take() { return buffer_ ? buffer_->sbumpc() : endOfText; }
    bool IsAtEnd() { return Peek() == endOfText; }

    void Gather(Traits::int_type character) {
        if (character < 0x10000)
            text_.push_back(static_cast<char16_t>(character));
        else
            KZAppendWide(text_, Traits::to_char_type(character));
    }

    void ReadComments(Texts & comments);
    KZString ReadComment();
    void ReadLine(KZConfigSection & section, Texts && comments);
    static void Append(KZConfigFile & file, KZConfigSection & working);

    std::wistream & stream_;
    std::wstreambuf * buffer_;
    std::u16string text_;
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
    while (text_.ends_with(u'\r')) text_.pop_back(); // all of them, so that a rewrite reads as it was written
    return KZString(std::u16string_view(text_));
}

void KZConfigReader::ReadKeyAndValue(KZConfigLine & line) {
    line.key_.Clear();
    line.value_.Clear();
    text_.clear();
    auto character = Take();
    for (; character != L'=' && character != L'\n'; character = Take()) {
        if (character == endOfText)
            throw KZConfigStreamException(u"unexpected EOF while parsing a key name of a configuration line");
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
    line.value_ = WithoutTail(text_, IsBlank);
}

void KZConfigReader::ReadHeader(KZConfigSection & section) {
    section.name_.Clear();
    section.DropLinesLocks();
    section.lines_.clear();
    if (IsAtEnd()) return;
    if (Peek() != L'[') throw KZConfigStreamException(u"expecting a '[' at the beginning of a section");
    Take();

    text_.clear();
    for (auto character = Take(); character != L']'; character = Take()) {
        if (character == endOfText)
            throw KZConfigStreamException(u"unexpected EOF while parsing a section name");
        Gather(character);
    }
    section.name_ = KZString(std::u16string_view(text_));

    for (auto character = Take(); character != L'\n' && character != endOfText; character = Take()) {
        bool const isSkipped = character == L' ' || character == L'\t' || character == L'\r';
        // Files whose last character is a stray one have always been accepted.
        if (!isSkipped && !IsAtEnd())
            throw KZConfigStreamException(u"unexpected character after the closing ']' of a section name");
    }
}

void KZConfigReader::ReadLine(KZConfigSection & section, Texts && comments) {
    KZConfigLine & line = section.lines_.emplace_back();
    line.Adopt(&section);
    line.comments_.texts_ = std::move(comments);
    ReadKeyAndValue(line);
}

/// Moves what was read of a section into one of its own, with lines in a block of just their size; the block of
/// `working` stays for the lines of the next section.
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

/// A section joins the file when the next one begins: what was read of a section in front of an error doesn't, nor do
/// lines in front of the first header, which no section was pending for.
void KZConfigReader::ReadFile(KZConfigFile & file) {
    file.Clear();
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

/// Gathers text as the stream wants it and hands it over in blocks. Unlike `operator<<` of strings it keeps 0 units,
/// which a damaged file may hold.
class Writer {
public:
    explicit Writer(std::wostream & stream) : stream_(stream) {}
    ~Writer() = default;
    Writer(Writer const &) = delete;
    Writer & operator=(Writer const &) = delete;

    void Put(KZConfigComments const & comments);
    void Put(KZConfigLine const & line);
    void Put(KZConfigSection const & section);

    void Flush() {
        stream_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
        text_.clear();
    }

private:
    static constexpr std::size_t blockCharacters = 8192;

    void Put(KZString const & units);
    void PutLineEnd() {
        text_ += L'\n';
        if (text_.size() >= blockCharacters) Flush();
    }

    std::wostream & stream_;
    std::wstring text_;
};

void Writer::Put(KZString const & units) {
    auto const sink = [this](wchar_t character) { text_ += character; };
    KZWideJoiner joiner;
    for (char16_t const unit : units) joiner.Put(unit, sink);
    joiner.Flush(sink);
}

void Writer::Put(KZConfigComments const & comments) {
    for (auto each = comments.GetCommentsBegin(); each != comments.GetCommentsEnd(); ++each) {
        if (!each->IsNull()) {
            text_ += L';';
            Put(*each);
        }
        PutLineEnd();
    }
}

void Writer::Put(KZConfigLine const & line) {
    Put(line.GetComments());
    Put(line.GetKey());
    text_ += L'=';
    Put(line.GetValue());
    PutLineEnd();
}

void Writer::Put(KZConfigSection const & section) {
    Put(section.GetComments());
    if (!section.GetName().IsNull()) {
        text_ += L'[';
        Put(section.GetName());
        text_ += L']';
        PutLineEnd();
    }
    for (auto line = section.GetLinesBegin(); line != section.GetLinesEnd(); ++line) Put(*line);
}

template <class Part>
std::wostream & Write(std::wostream & stream, Part const & part) {
    Writer writer(stream);
    writer.Put(part);
    writer.Flush();
    return stream;
}

} // namespace

std::wostream & operator<<(std::wostream & stream, KZConfigComments const & comments) {
    return Write(stream, comments);
}

std::wostream & operator<<(std::wostream & stream, KZConfigLine const & line) { return Write(stream, line); }

std::wostream & operator<<(std::wostream & stream, KZConfigSection const & section) {
    return Write(stream, section);
}

std::wostream & operator<<(std::wostream & stream, KZConfigFile const & file) {
    KZGuard<KZConfigFile const> guard(file);
    Writer writer(stream);
    for (auto section = file.GetSectionsBegin(); section != file.GetSectionsEnd(); ++section)
        writer.Put(*section);
    writer.Flush();
    return stream;
}
