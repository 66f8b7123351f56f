/// @file
/// The files of an MSGLibMessageSource: finds, reads and writes them.
///
///     KZSmartPtr<MessageFile> const file = MessageFile::Create(u"/opt/app/messages", u"app");
///     file->SetLanguageCode(u"deu");
///     file->SetFileName(file->GetMessageFileName(u"deu"));
///     file->Open(MessageFile::Write);
///     KZErrorID id = file->WriteMessage(7, u"Datei fehlt: %s");
///     file->Close();
///
/// A program that only wants texts uses an MSGLibMessageSource. The program `kzlan` makes these files from text files of a
/// project.
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"

#include <iosfwd>
#include <map>
#include <vector>

class DBMessage;

/// The message files of one product, `prefix.language.LAN` in one directory. One of the languages is the current one.
///
/// A file is read once, into an index in memory. The index stays until `Reload`, even while another language is current.
/// The object is counted; the last holder's release destroys it.
///
/// Thread safety: `AddRef`, `Release` and `NbRef` may be called from any thread; all else needs outside locking.
class KZ_EXPORT MessageFile : public KZCounted<MessageFile> {
public:
    /// The texts of a file by their numbers.
    using Index = std::map<long, KZString>;

    /// The modes of `Open`.
    enum OpenMode : int { Read = 0, Write = 1, Append = 2 };

    /// Makes an object with no file open. `path` is the directory, empty for the current one. `prefix` should have no point in
    /// it, because the language in a file name is taken to begin after the first point.
    [[nodiscard]] static KZSmartPtr<MessageFile> Create(KZString const & path, KZString const & prefix);
    MessageFile(MessageFile const &) = delete;
    MessageFile & operator=(MessageFile const &) = delete;

    /// Makes `language`, in letters of either case, the current one, and reads its file unless the file is in memory.
    ///
    /// If the language has no file, the first file (in the order of names) whose language begins with the same two letters is
    /// taken in its place, so "esm" may get "esp". If there is none, "enu" is taken. If that has no file either, nothing
    /// changes, and the result is success: an object that had no file open still has none. The language that was taken in
    /// place of a missing one is remembered until another language is set or `Reload` is called, so that setting the missing
    /// one again doesn't read the directory.
    ///
    /// Errors: 2 for an empty language and for a file that can't be opened; 3 when the file's name can't be made; 4 for a
    /// language whose code page the system lacks. After 4, and after 2 for a file, `language` is the current one all the
    /// same, with no file open, and setting it again succeeds and does nothing. After std::bad_alloc the former language is
    /// still the current one.
    KZErrorID SetLanguage(KZString const & language);

    /// Opens the file of the current name. If no file has that name, one whose name differs in the case of letters only is
    /// taken. For an empty name the line "Message Library Fatal Error" is written to the console; the program goes on.
    ///
    /// `Read` reads the file into memory, as the texts of the current language, unless it is there already. `Write` and
    /// `Append` open the file for `WriteMessage`, and `Write` empties it first. So write a file that must survive a failure
    /// under another name first. `Append` fails for a file that ends inside a message, since a message written after that
    /// couldn't be read.
    ///
    /// In all three modes the result is `IsOpen()`, so it is false for a file that is open for writing but isn't in memory;
    /// `WriteMessage` tells whether the file can be written. It is also false when the system can't open the file.
    bool Open(int mode);
    /// True when the texts of the current language, from the file of the current name, are in memory.
    [[nodiscard]] bool IsOpen() const { return FindLanguage() != nullptr; }
    /// True between `Open(Append)` and `Close`; `Open(Write)` doesn't count.
    [[nodiscard]] bool IsWriting() const noexcept { return isWriting_; }
    /// Ends writing and clears the current name and language. Files that were read stay in memory. Always returns true.
    bool Close();
    /// Calls `Close` and forgets all files that were read, so that the next `SetLanguage` reads its file again.
    void Reload();

    /// Appends `MakeMessage` of the current language to the file that is open for writing. The message has been
    /// passed to the system when this returns. The texts in memory don't change.
    /// Errors: 6 when no file is open for writing; the system's when it can't write, and then no part of the message is left
    /// in the file, unless another process has written after it.
    KZErrorID WriteMessage(long id, KZString const & text);

    /// Puts the text of `code` into `out`.
    /// Errors: 5, with the code and the file name as arguments and an empty `out`, when there is no such text.
    KZErrorID FetchMessage(KZString & out, long code) const;

    /// Reads the messages of `stream` into `index`, from the start of the stream to its end or to the first message that is
    /// cut short. The texts are in the code page of the current language. A number that `index` has already keeps its text.
    /// Always returns true.
    bool BuildFileIndex(Index & index, std::istream & stream) const;

    /// The languages that have files, in lower case, in the order of the file names, with one entry for each file. A file
    /// counts when its name has the extension LAN and contains the prefix, in letters of either case. The directory is read when
    /// `refresh` is true, and as long as no language is known. If it can't be read, the line "Message Library Fatal Error" is
    /// written to the console; the program goes on. The result is valid until the next call.
    std::vector<KZString> const & GetAvailableLanguages(bool refresh);

    /// The language in the name of a message file: the part between the first point and the second. Empty when there aren't
    /// two points.
    [[nodiscard]] static KZString LanguageOf(KZString const & fileName);
    /// The converter for the code page of a language, in letters of either case: 932 for "jpn", 949 for "kor", 950 for "cht",
    /// 936 for "chs". Null, which means Latin-1, for every other language.
    [[nodiscard]] static KZSmartPtr<KZStringConverter> ConverterOf(KZString const & language);

    /// A message as it is written for `language`: in the code page that `ConverterOf` gives. In a language without a code page of
    /// its own, a text that isn't Latin-1 is written in UTF-8, too (`DBMessage::SetUtf8`).
    [[nodiscard]] static DBMessage MakeMessage(KZString const & language, long id, KZString const & text);

    /// The complete path of the file of a language. Empty when the path can't be made, because the directory is a relative one
    /// and the current directory of the process no longer exists.
    [[nodiscard]] KZString GetMessageFileName(KZString const & language) const;
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }
    void SetFileName(KZString const & fileName) { fileName_ = fileName; }
    [[nodiscard]] KZString const & GetLanguageCode() const noexcept { return language_; }
    /// Sets the current language. No file is opened or read.
    void SetLanguageCode(KZString const & language);
    [[nodiscard]] KZString const & GetPrefix() const noexcept { return prefix_; }
    [[nodiscard]] KZString const & GetPath() const noexcept { return directory_; }

private:
    friend class KZCounted<MessageFile>;
    friend class MSGLibMessageSource;

    /// A line for the console: a fatal error with its cause, or a warning that the code page of a language isn't installed.
    struct Notice {
        bool isFatal;
        KZString about;
    };

    struct OpenFile {
        KZString language;
        KZString fileName;
        Index index;
    };

    MessageFile(KZString const & path, KZString const & prefix) : prefix_(prefix), directory_(path) {}
    ~MessageFile() = default;

    void Tell(Notice notice);
    static void Say(Notice const & notice);
    OpenFile const * FindLanguage() const;
    OpenFile const * FindFile(KZString const & fileName) const;
    bool IsInMemory(KZString const & language) const;
    KZString NearestLanguage(KZString const & language);
    KZErrorID SwitchTo(KZString const & language);
    KZErrorID OpenLanguage(KZString const & language, KZString const & fileName);
    bool OpenForReading();
    bool OpenForWriting(KZPlatform::FileAccess access, KZPlatform::FileCreation creation);

    KZString fileName_;
    KZString language_;
    bool isWriting_ = false;
    KZString prefix_;
    KZString directory_;
    KZString standIn_; // the missing language for which the current one stands in
    std::vector<OpenFile> files_;
    KZSmartPtr<KZStringConverter> converter_;
    std::vector<KZString> languages_;
    KZPlatform::FileHandle writer_;
    std::vector<Notice> * deferred_ =
        nullptr; // gathers the notices, if set, for a caller that writes them after unlocking
};
