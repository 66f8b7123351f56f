/// @file
/// A configuration file that can be changed and written back.
///
///     KZSmartPtr<KZConfigFile> file = KZConfigFile::Load(u"server.ini");
///     if (file.IsNull()) return;
///     long const port = file->GetLong(u"Server", u"port", 8080);
///     file->SetBool(u"Server", u"verbose", true);
///     file->Save();
#pragma once

#include "ZerlithCore/app/KZConfigI.h"
#include "ZerlithCore/app/KZConfigLockable.h"
#include "ZerlithCore/app/KZConfigSection.h"
#include "ZerlithCore/files/KZTextEncoding.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <cstddef>
#include <iosfwd>

/// Sections of `key=value` lines with comments, all in memory, in the order of the file.
///
/// The file is in UTF-8, or in UTF-16 if it begins with a byte-order mark:
///
///     ;comment                a comment belongs to the section or line below it
///     [section]               nothing but white space may follow the "]"
///     key = value ; more      the value is "value ; more"; a key alone has an empty value
///
/// Saving keeps comments, blank lines, the order, and sections and keys that occur twice. It drops white space before
/// a line, around the "=" and at the end of a line, and turns a ";" without text into a blank line. Callers also rely on this:
/// lines before the first header are read and dropped, and comments after the last line become a last section with an empty
/// name.
///
/// `Save` and `SaveAtomically` fail if the object holds less than the file did, so that they never cut a file unnoticed. The
/// last error then says which of these is the reason:
///
/// - Reading ended early: the text breaks the grammar, the rest of the file could not be read, or memory ran out.
/// - A file that exists could not be opened, and the object was empty.
/// - The text has something that isn't a character, as in a UTF-16 file that was cut inside a character.
/// - Lines before the first header, which are dropped, contain 0 characters, as in a UTF-16 file without a mark.
///
/// After `Clear`, or after a text was read as a whole, the object can be saved again.
///
/// Thread safety: the getters, the setters, `FindSection`, everything that adds or deletes, both ways to save, `Reload`
/// and the stream operators take the object's lock. Use iterators, and what they point to, only while the calling thread holds
/// the lock. Take it with `Lock`, here or on any section, line or comments of the file, whenever several calls belong
/// together.
class KZ_EXPORT KZConfigFile : public KZCounted<KZConfigFile, KZConfigI>, public KZConfigLockableI {
public:
    using iterator = KZConfigSection *;
    using const_iterator = KZConfigSection const *;

    /// Keeps the name; the file isn't read.
    explicit KZConfigFile(KZString const & fileName);
    KZConfigFile(KZConfigFile const &) = delete;
    KZConfigFile & operator=(KZConfigFile const &) = delete;
    ~KZConfigFile() override;

    /// A new object with the contents of the file; null when `Reload` fails.
    [[nodiscard]] static KZSmartPtr<KZConfigFile> Load(KZString const & fileName);

    /// The value, which may be empty; the default if it is missing.
    [[nodiscard]] KZString const GetString(KZString const & section, KZString const & key,
                                           KZString const & defaultValue) const override;
    [[nodiscard]] long GetLong(KZString const & section, KZString const & key,
                               long defaultValue) const override;
    /// By `KZConfigLine::GetValueAsBool`.
    [[nodiscard]] bool GetBool(KZString const & section, KZString const & key,
                               bool defaultValue) const override;

    /// Take and release the lock of the file. It is recursive: a thread may take it again and must release it as often.
    void Lock() const override;
    void Unlock() const override;

    /// Replaces the contents by those of the file. False when the file can't be opened; the contents then stay. Also false when
    /// it can't be read or breaks the grammar; the object then holds the sections before that place.
    [[nodiscard]] bool Reload();
    /// Writes the contents into the existing file, without a second file, in the encoding that `Reload` found. The whole text is
    /// made and room for it is reserved before anything is written. If writing fails, the file gets its old content back; if
    /// the process is killed meanwhile, the file may hold a part. True when the contents are on the disk.
    /// Errors: false, with the reason in the thread's last error, and the file as it was (KZFile::Overwrite says more).
    /// std::bad_alloc, before the file is changed.
    [[nodiscard]] bool Save() const;
    /// As `Save`, but a new file replaces the old one in one step, so that nobody ever sees a part and a kill never leaves one.
    /// Permissions and links stay, and so does the owner as far as the system permits (KZFile::Replace). This user must be
    /// allowed to make files in the folder.
    [[nodiscard]] bool SaveAtomically() const;
    /// Removes all sections in memory. The file doesn't change.
    void Clear();
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }

    /// The first section with this name at or after `start`, ignoring case; the end when there is none.
    [[nodiscard]] const_iterator FindSection(KZString const & name, const_iterator start = nullptr) const;
    [[nodiscard]] iterator FindSection(KZString const & name, const_iterator start = nullptr);

    /// Inserts a copy before `position` (null: at the end) and returns its place. There may be another section with that name
    /// already.
    iterator AddSection(KZConfigSection const & section, const_iterator position = nullptr);
    iterator AddSection(KZString const & name, const_iterator position = nullptr);

    /// Deletes the section, and releases locks that were taken through it. The end and null delete nothing.
    void DeleteSection(const_iterator position);
    /// Deletes the first section that `FindSection` finds, if any.
    void DeleteSection(KZString const & name, const_iterator start = nullptr);

    // The sections in the order of the file.
    [[nodiscard]] iterator GetSectionsBegin() noexcept { return sections_.begin(); }
    [[nodiscard]] iterator GetSectionsEnd() noexcept { return sections_.end(); }
    [[nodiscard]] const_iterator GetSectionsBegin() const noexcept { return sections_.begin(); }
    [[nodiscard]] const_iterator GetSectionsEnd() const noexcept { return sections_.end(); }

    // Both ignore case. A line is looked for only in the first section of that name.
    [[nodiscard]] bool IsSectionPresent(KZString const & section) const;
    [[nodiscard]] bool IsLinePresent(KZString const & section, KZString const & key) const;

    /// Sets the value of the first such line. A missing section or line is appended. Comments stay, and the file doesn't change
    /// until it is saved. Numbers are written in decimal, true and false as "yes" and "no". Errors: std::bad_alloc, and nothing
    /// has changed.
    void SetString(KZString const & section, KZString const & key, KZString const & value);
    void SetLong(KZString const & section, KZString const & key, long value);
    void SetBool(KZString const & section, KZString const & key, bool value);

private:
    friend class KZConfigReader;

    [[nodiscard]] KZConfigLine const * LineOf(KZString const & section, KZString const & key) const;
    template <class Value>
    void Set(KZString const & section, KZString const & key, Value const & value);
    iterator Insert(KZConfigSection && section, const_iterator position);
    [[nodiscard]] bool SaveBy(bool (*write)(KZString const & path, void const * bytes,
                                            std::size_t size)) const;

    KZDetail::NamedList<KZConfigSection, &KZConfigSection::GetName> sections_;
    KZString fileName_;
    mutable KZCriticalSection lock_;
    KZTextEncoding encoding_ = KZTextEncoding::Utf8;
    char16_t const * whyPartial_ = nullptr; // why the object holds less than the file did; null if it doesn't
};

/// Replaces the contents of `file` by the text of `stream`, up to its end. A stream that isn't good has no text.
/// Errors: KZConfigStreamException if the text breaks the grammar; `file` then holds the sections before that place.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZConfigFile & file);
/// Writes all sections, in the form that `Save` uses.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZConfigFile const & file);
