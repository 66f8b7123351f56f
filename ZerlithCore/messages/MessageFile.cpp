// Finds, reads and writes message files. The language is changed in two steps: `NearestLanguage` finds a language that has a
// file, and `SwitchTo` makes it the current one. The first step is left out for a language whose file is in memory, so that
// changing between such languages doesn't read the disk.
//
// When a file is in memory, the current language and file name share their text with the entry of that file. So a pointer to
// their text stays valid when the language is changed.
#include "ZerlithCore/messages/MessageFile.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/files/KZPath.h"
#include "ZerlithCore/messages/DBMessage.h"
#include "ZerlithCore/platform/Files.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Process.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string_view>
#include <utility>

using KZDetail::OwnError;
using KZDetail::OwnMessage;

namespace {

struct CodePage {
    char16_t const * language;
    std::uint32_t number;
};

constexpr CodePage codePages[] = {{u"jpn", 932}, {u"kor", 949}, {u"cht", 950}, {u"chs", 936}};

constexpr char16_t const * lastResort = u"enu";

// Most names are spelt alike, and to compare them exactly is cheaper than to ignore the case of letters.
bool IsSame(KZString const & a, KZString const & b) { return a == b || a.IsEqual(b, KZString::IgnoreCase); }

// The files of a directory, sorted. False when it can't be read.
bool ListFiles(KZString const & directory, std::vector<KZString> & names) {
    std::vector<KZPlatform::DirectoryEntry> entries;
    bool const isRead = KZPlatform::ListDirectory(std::u16string_view(directory), entries);
    for (KZPlatform::DirectoryEntry const & entry : entries)
        if (entry.kind == KZPlatform::PathKind::File) names.emplace_back(entry.name);
    std::sort(names.begin(), names.end());
    return isRead;
}

// `path` itself if there is such a file; else the path of the first file in the directory whose name differs in the case of
// letters only; `path` if there is no such file either.
KZString RealPath(KZString const & path) {
    if (KZPlatform::KindOfPath(std::u16string_view(path)) == KZPlatform::PathKind::File) return path;
    KZPath const parts(path);
    KZString const wanted = parts.GetFileName();
    std::vector<KZString> names;
    ListFiles(parts.GetDirectory(), names);
    auto const found =
        std::ranges::find_if(names, [&](KZString const & name) { return IsSame(name, wanted); });
    return found == names.end() ? path : KZPath(parts.GetDirectory(), *found).AsString();
}

// Reads a file, up to the size that it had when it was opened. A device that never ends has size 0, so nothing of it is read.
bool ReadFile(KZString const & path, std::string & bytes) {
    constexpr std::size_t blockBytes = 65536;
    KZPlatform::FileHandle file;
    if (!file.Open(std::u16string_view(path), KZPlatform::FileAccess::Read,
                   KZPlatform::FileCreation::OpenExisting))
        return false;
    std::size_t left = static_cast<std::size_t>(std::max<std::int64_t>(file.Size(), 0));
    while (left != 0) {
        std::size_t const begin = bytes.size();
        std::size_t count = 0;
        bytes.resize(begin + std::min(left, blockBytes));
        if (!file.Read(bytes.data() + begin, bytes.size() - begin, count)) return false;
        bytes.resize(begin + count);
        if (count == 0) break;
        left -= count;
    }
    return true;
}

// Tells whether the last record is complete. If it isn't, a record that is written after it is read as a part of its text.
bool EndsWithARecord(std::string_view bytes) {
    constexpr std::size_t numberBytes = 4, headBytes = 2 * numberBytes;
    while (bytes.size() >= headBytes) {
        std::size_t length = 0;
        for (char const byte : bytes.substr(numberBytes, numberBytes))
            length = length << 8 | static_cast<unsigned char>(byte);
        bytes.remove_prefix(headBytes);
        if (length > bytes.size()) return false;
        bytes.remove_prefix(length);
    }
    return bytes.empty();
}

} // namespace

KZSmartPtr<MessageFile> MessageFile::Create(KZString const & path, KZString const & prefix) {
    return KZSmartPtr<MessageFile>(new MessageFile(path, prefix));
}

KZErrorID MessageFile::SetLanguage(KZString const & language) {
    if (language.IsNull()) return OwnError(OwnMessage::InvalidLanguage);
    if (IsSame(language, language_) || IsSame(language, standIn_)) return KZErrorID(0);
    KZString const nearest = IsInMemory(language) ? language : NearestLanguage(language);
    KZErrorID id(0);
    if (nearest.IsNull()) {
        if (IsSame(language, lastResort)) return id;
        id = SetLanguage(lastResort);
    } else if (!IsSame(nearest, language_)) {
        id = SwitchTo(nearest);
    }
    if (id.Good() && IsOpen() && !IsSame(language, language_)) standIn_ = language;
    return id;
}

bool MessageFile::Open(int mode) {
    if (fileName_.IsNull()) Tell({true, u"Invalid (empty) message file name"});
    switch (mode) {
    case Read: return OpenForReading();
    case Write: return OpenForWriting(KZPlatform::FileAccess::Write, KZPlatform::FileCreation::CreateAlways);
    case Append: return OpenForWriting(KZPlatform::FileAccess::Append, KZPlatform::FileCreation::OpenAlways);
    default: return false;
    }
}

void MessageFile::Tell(Notice notice) {
    if (deferred_)
        deferred_->push_back(std::move(notice));
    else
        Say(notice);
}

// The text of a fatal error says that the program stops, but it goes on. Users know the text, and callers rely on going on.
void MessageFile::Say(Notice const & notice) {
    KZLockedCOUT const lock;
    if (notice.isFatal) {
        KZGetConsole() << L"\nMessage Library Fatal Error: " << notice.about
                       << L": stopping program execution" << std::endl;
    } else if (GlbGetTraceLevel() != 0) {
        KZLockedCOUT::GetCout(1) << L"[MSGLib Warning]: " << notice.about
                                 << L": The codepage number doesn't seem to be valid (installed ?)."
                                 << std::endl;
    }
}

bool MessageFile::Close() {
    writer_.Close();
    isWriting_ = false;
    fileName_.Clear();
    SetLanguageCode(KZString());
    return true;
}

void MessageFile::Reload() {
    Close();
    files_.clear();
}

KZErrorID MessageFile::WriteMessage(long id, KZString const & text) {
    if (!writer_.IsOpen()) return OwnError(OwnMessage::NoMessageFile);
    std::ostringstream record;
    record.exceptions(
        std::ios_base::badbit); // Without this, it would keep a part of the record when memory is short.
    record << MakeMessage(language_, id, text);
    std::string const bytes = std::move(record).str();
    std::int64_t const end = writer_.Size();
    std::size_t written = 0;
    if (writer_.Write(bytes.data(), bytes.size(), written)) return KZErrorID(0);
    int const reason = KZPlatform::LastErrorNumber();
    // If a part of the record was written, it is cut off again, because the next record would be read as its text. It stays if
    // another process has written to the file meanwhile.
    bool const isOurs = written != 0 && writer_.Size() == end + static_cast<std::int64_t>(written);
    if (isOurs && writer_.Truncate(end)) writer_.Seek(end, KZPlatform::FileOrigin::Begin);
    KZPlatform::SetLastErrorNumber(reason);
    return KZDetail::LastSystemError();
}

KZErrorID MessageFile::FetchMessage(KZString & out, long code) const {
    for (OpenFile const & file : files_) {
        if (!(file.language == language_) || !(file.fileName == fileName_)) continue;
        if (auto const found = file.index.find(code); found != file.index.end()) {
            out = found->second;
            return KZErrorID(0);
        }
        break;
    }
    out.Clear();
    return OwnError(OwnMessage::NoSuchMessage, {code, fileName_});
}

bool MessageFile::BuildFileIndex(Index & index, std::istream & stream) const {
    stream.clear();
    stream.seekg(0);
    for (DBMessage message(converter_); stream >> message;) index.emplace(message.GetId(), message.GetText());
    return true;
}

std::vector<KZString> const & MessageFile::GetAvailableLanguages(bool refresh) {
    if (!refresh && !languages_.empty()) return languages_;
    languages_.clear();
    std::vector<KZString> names;
    if (!ListFiles(KZPath(directory_).MakeComplete().AsString(), names))
        Tell({true, u"Unable to open directory " + directory_});
    KZString prefix = prefix_;
    prefix.Lower();
    for (KZString & name : names) {
        name.Lower();
        KZString const language = LanguageOf(name);
        bool const counts = name.Find(prefix) != KZString::npos && KZPath(name).GetExtension() == u"lan";
        if (counts && !language.IsNull()) languages_.push_back(language);
    }
    return languages_;
}

KZString MessageFile::LanguageOf(KZString const & fileName) {
    std::uint32_t const first = fileName.Find(u'.');
    if (first == KZString::npos) return {};
    std::uint32_t const second = fileName.Find(u'.', first + 1);
    return second == KZString::npos ? KZString() : fileName.SubStr(first + 1, second - first - 1);
}

KZSmartPtr<KZStringConverter> MessageFile::ConverterOf(KZString const & language) {
    for (CodePage const & page : codePages)
        if (IsSame(language, page.language))
            return KZSmartPtr<KZStringConverter>(new KZMbCodePageConverter(page.number));
    return {};
}

DBMessage MessageFile::MakeMessage(KZString const & language, long id, KZString const & text) {
    KZSmartPtr<KZStringConverter> const converter = ConverterOf(language);
    DBMessage message(id, text, converter);
    bool const isLatin = std::ranges::all_of(std::u16string_view(text), [](char16_t u) { return u <= 0xFF; });
    message.SetUtf8(converter.IsNull() && !isLatin);
    return message;
}

KZString MessageFile::GetMessageFileName(KZString const & language) const {
    KZString name;
    name.Format(u"%s.%s.LAN", prefix_.c_str(), language.c_str());
    KZPath path(directory_, name);
    if (!path.IsComplete() && KZPlatform::GetWorkingDirectory().empty()) return {};
    return path.MakeComplete().AsString();
}

void MessageFile::SetLanguageCode(KZString const & language) {
    language_ = language;
    standIn_.Clear();
}

MessageFile::OpenFile const * MessageFile::FindLanguage() const {
    auto const found =
        std::ranges::find_if(files_, [this](OpenFile const & file) { return file.language == language_; });
    return found == files_.end() ? nullptr : &*found;
}

MessageFile::OpenFile const * MessageFile::FindFile(KZString const & fileName) const {
    auto const found =
        std::ranges::find_if(files_, [&](OpenFile const & file) { return file.fileName == fileName; });
    return found == files_.end() ? nullptr : &*found;
}

bool MessageFile::IsInMemory(KZString const & language) const {
    if (files_.empty()) return false;
    OpenFile const * const file = FindFile(GetMessageFileName(language));
    return file && file->language == language;
}

/// `language` if it has a file, else the nearest language that has one; empty when there is none.
KZString MessageFile::NearestLanguage(KZString const & language) {
    // Looks again if nothing was found, since the file may be missing for a moment while somebody replaces it.
    for (int look = 0; look < 2; ++look)
        if (std::ranges::any_of(GetAvailableLanguages(true),
                                [&](KZString const & e) { return IsSame(e, language); }))
            return language;
    KZString const family = language.SubStr(0, 2);
    auto const found = std::ranges::find_if(
        languages_, [&](KZString const & entry) { return IsSame(entry.SubStr(0, 2), family); });
    return found == languages_.end() ? KZString() : *found;
}

/// Changes to `language`. When there is no memory, the former language is restored; otherwise the new one would count as set,
/// and setting it again would do nothing.
KZErrorID MessageFile::SwitchTo(KZString const & language) {
    KZString const fileName = GetMessageFileName(language);
    if (fileName.IsNull()) return OwnError(OwnMessage::NoFileName, {language});
    KZString const formerLanguage = language_, formerName = fileName_, formerStandIn = standIn_;
    KZSmartPtr<KZStringConverter> const formerConverter = converter_;
    try {
        return OpenLanguage(language, fileName);
    } catch (...) {
        language_ = formerLanguage;
        fileName_ = formerName;
        standIn_ = formerStandIn;
        converter_ = formerConverter;
        throw;
    }
}

KZErrorID MessageFile::OpenLanguage(KZString const & language, KZString const & fileName) {
    if (IsOpen()) Close();
    SetLanguageCode(language);
    fileName_ = fileName;
    KZSmartPtr<KZStringConverter> const former = converter_;
    converter_ = ConverterOf(language);
    if (!converter_.IsNull() && !converter_->IsValid()) {
        Tell({false, language});
        return OwnError(OwnMessage::InvalidCodePage, {language});
    }
    if (Open(Read)) return KZErrorID(0);
    converter_ = former;
    return OwnError(OwnMessage::InvalidLanguage, {language});
}

bool MessageFile::OpenForReading() {
    if (OpenFile const * const file = FindFile(fileName_)) {
        fileName_ = file->fileName;
        if (file->language == language_) language_ = file->language;
        return true;
    }
    std::string bytes;
    if (!ReadFile(RealPath(fileName_), bytes)) return false;
    std::istringstream stream(std::move(bytes));
    OpenFile file{language_, fileName_, {}};
    BuildFileIndex(file.index, stream);
    files_.push_back(std::move(file));
    return IsOpen();
}

bool MessageFile::OpenForWriting(KZPlatform::FileAccess access, KZPlatform::FileCreation creation) {
    bool const appends = access == KZPlatform::FileAccess::Append;
    KZString const path = RealPath(fileName_);
    std::string bytes;
    writer_.Close();
    if (appends && ReadFile(path, bytes) && !EndsWithARecord(bytes)) return false;
    if (!writer_.Open(std::u16string_view(path), access, creation)) return false;
    isWriting_ = isWriting_ || appends;
    return IsOpen();
}
