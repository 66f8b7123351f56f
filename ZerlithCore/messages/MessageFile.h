/// @file
/// The files behind an MSGLibMessageSource: finding, reading and writing them.
///
///     KZSmartPtr<MessageFile> const file = MessageFile::Create(u"/opt/app/messages", u"app");
///     file->SetLanguageCode(u"deu");
///     file->SetFileName(file->GetMessageFileName(u"deu"));
///     file->Open(MessageFile::Write);
///     KZErrorID id = file->WriteMessage(7, u"Datei fehlt: %s");
///     file->Close();
///
/// Programs that only want texts take an MSGLibMessageSource. Texts that stand in a project are made into files by the
/// program `kzlan`.
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"

#include <iosfwd>
#include <map>
#include <vector>

/// The message files of one product in one directory, `prefix.language.LAN`, one of them the current one.
///
/// A file is read once, into an index in memory that stays until `Reload`, also when another language takes its turn.
/// The object is counted and ends with its last holder.
///
/// Thread safety: `AddRef`, `Release` and `NbRef` may be called from any thread; all else needs outside locking.
class KZ_EXPORT MessageFile : public KZCounted<MessageFile> {
public:
    /// Texts by number.
    using Index = std::map<long, KZString>;

    /// What `Open` takes.
    enum OpenMode : int { Read = 0, Write = 1, Append = 2 };

    /// An object with no file open. `path` is the directory, empty for the current one. A `prefix` should have no point
    /// in it: the language is looked for behind the first one of a file's name.
    [[nodiscard]] static KZSmartPtr<MessageFile> Create(KZString const & path, KZString const & prefix);
    MessageFile(MessageFile const &) = delete;
    MessageFile & operator=(MessageFile const &) = delete;

    /// Makes `language`, case ignored, the current one, and reads its file unless that is in memory.
    ///
    /// When there is no file of it, the first one (in the order of names) whose language begins with the same two letters
    /// serves: "esm" lands on "esp"; then "enu". When even that is missing nothing changes, and this counts as success:
    /// with nothing open before, the object stays without a file. What a missing language has landed on is kept until
    /// another language is set or `Reload`, so that asking again looks at no directory.
    /// Errors: 2 for an empty language, and for a file that can't be opened; 3 when there is no name for the file; 4 for
    /// a language whose code page the system lacks. Behind 2 (with an argument) and 4 the language is the current one
    /// all the same, with no file open; setting it again is a success that does nothing. Behind std::bad_alloc the former
    /// language is.
    KZErrorID SetLanguage(KZString const & language);

    /// Opens the file of the current name. An empty name is told on the console ("Message Library Fatal Error"), and
    /// nothing is stopped. A name that isn't there is looked for with its case ignored.
    ///
    /// `Read`: reads it into memory as the texts of the current language; a file that is there already isn't touched.
    /// `Write` empties it, `Append` doesn't, for `WriteMessage`. What shall survive a failure goes into a file of another
    /// name first. A file that ends inside a record, which would hide what is written behind it, isn't opened to append.
    /// The result is `IsOpen()` in all three modes, so false for a file that is being written and isn't in memory: whether
    /// it can be written `WriteMessage` tells. False also when the system refuses.
    bool Open(int mode);
    /// True when the texts of exactly the current language are in memory.
    [[nodiscard]] bool IsOpen() const { return FindLanguage() != nullptr; }
    /// True between `Open(Append)` and `Close`; `Open(Write)` doesn't count.
    [[nodiscard]] bool IsWriting() const noexcept { return isWriting_; }
    /// Ends writing and forgets the current name and language; what was read stays in memory. True.
    bool Close();
    /// Forgets what was read, and `Close`: the next `SetLanguage` reads the file anew.
    void Reload();

    /// Appends a message to the file that is open for writing, by the code page of the current language; it has reached
    /// the system when this returns. What is in memory stays as it is.
    /// Errors: 6 when no file is open for writing; the system's when it refuses, and nothing of the message is left in
    /// the file then.
    KZErrorID WriteMessage(long id, KZString const & text);

    /// Puts the text of `code` into `out`.
    /// Errors: 5, with the code and the file name, when there is none; `out` is empty then.
    KZErrorID FetchMessage(KZString & out, long code) const;

    /// Reads all messages of `stream`, from its start to its end or the first one cut short, by the converter of the
    /// current language, into `index`, where a number that is there keeps its text. True.
    bool BuildFileIndex(Index & index, std::istream & stream) const;

    /// The languages that have files, in lower case, by the order of the file names, one entry a file. Read from the
    /// directory when `refresh` is true and as long as none is known. A file counts when its name has the extension LAN and the
    /// prefix somewhere in it, case ignored. A directory that can't be read is told on the console ("Message Library
    /// Fatal Error"), and nothing is stopped. Valid until the next call.
    std::vector<KZString> const & GetAvailableLanguages(bool refresh);

    /// The language in the name of a message file: what stands between its first and its second point; empty without.
    [[nodiscard]] static KZString LanguageOf(KZString const & fileName);
    /// The converter of a language, case ignored: code page 932 for "jpn", 949 for "kor", 950 for "cht", 936 for "chs";
    /// null, which is Latin-1, for any other.
    [[nodiscard]] static KZSmartPtr<KZStringConverter> ConverterOf(KZString const & language);

    /// The whole path of a language's file; empty when there is none, because a relative directory has lost the current
    /// directory that it counts from.
    [[nodiscard]] KZString GetMessageFileName(KZString const & language) const;
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }
    void SetFileName(KZString const & fileName) { fileName_ = fileName; }
    [[nodiscard]] KZString const & GetLanguageCode() const noexcept { return language_; }
    /// Sets the current language and does nothing else.
    void SetLanguageCode(KZString const & language);
    [[nodiscard]] KZString const & GetPrefix() const noexcept { return prefix_; }
    [[nodiscard]] KZString const & GetPath() const noexcept { return directory_; }

private:
    friend class KZCounted<MessageFile>;
    friend class MSGLibMessageSource;

    /// What is told on the console: a fatal error with its cause, or a warning of a language's code page.
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
    std::vector<Notice> * deferred_ = nullptr; // where notices wait for who calls under a lock
};
