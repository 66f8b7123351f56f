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
#include <vector>

/// Sections of `key=value` lines with comments, all in memory, in the order of the file.
///
/// The text, in UTF-8, or in UTF-16 if it begins with a byte-order mark:
///
///     ;comment                comments belong to what stands below them
///     [section]               nothing but white space may follow the "]"
///     key = value ; more      the value is "value ; more"; a key alone has an empty value
///
/// A rewrite keeps comments, blank lines, order, and sections and keys that occur twice. It drops white space in front of
/// a line, around the "=" and at the end of a line, and makes a lone ";" a blank line. Two consequences of the order of
/// reading that callers rely on: lines in front of the first header are read and dropped, and comments behind the last
/// line become a last section with an empty name.
///
/// `Save` and `SaveAtomically` refuse to save what is less than the text that was read, so that they never cut a file
/// in silence. The last error then says which of these it is:
///
/// - Reading ended early: the text breaks the grammar, the file could not be read on, or memory ran out.
/// - A file that exists could not be opened, and the object held nothing.
/// - The text holds something that is no character, as a UTF-16 file does that was cut inside one.
/// - Lines in front of the first header, which are dropped, hold 0 characters, as in a UTF-16 file without a mark.
///
/// After `Clear`, or after a text that was read whole, the object can be saved again.
///
/// Thread safety: the getters, the setters, `FindSection`, everything that adds or deletes, both ways to save, `Reload`
/// and the stream operators hold the object's lock. What an iterator leads to is safe while the caller holds the lock: take it
/// with `Lock`, here or through any section, line or comments of the file, whenever several calls belong together.
class KZ_EXPORT KZConfigFile : public KZConfigI, public KZConfigLockableI {
public:
    using iterator = KZConfigSection *;
    using const_iterator = KZConfigSection const *;

    /// Keeps the name and reads nothing.
    explicit KZConfigFile(KZString const & fileName);
    KZConfigFile(KZConfigFile const &) = delete;
    KZConfigFile & operator=(KZConfigFile const &) = delete;
    ~KZConfigFile() override;

    /// A new object with the contents of the file; null when `Reload` fails.
    [[nodiscard]] static KZSmartPtr<KZConfigFile> Load(KZString const & fileName);

    unsigned long AddRef() const override;
    unsigned long Release() const override;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

    /// The value, also when it is empty.
    [[nodiscard]] KZString const GetString(KZString const & section, KZString const & key,
                                           KZString const & defaultValue) const override;
    [[nodiscard]] long GetLong(KZString const & section, KZString const & key,
                               long defaultValue) const override;
    /// By `KZConfigLine::GetValueAsBool`.
    [[nodiscard]] bool GetBool(KZString const & section, KZString const & key,
                               bool defaultValue) const override;

    /// Enters and leaves the critical section of the file; one thread may enter repeatedly.
    void Lock() const override;
    void Unlock() const override;

    /// Replaces the contents by those of the file. False when the file can't be opened, and the contents stay; false
    /// too when it can't be read or breaks the grammar, and then the sections in front of that place are held.
    [[nodiscard]] bool Reload();
    /// Rewrites the file in place, without any other file, in the encoding and with the mark that `Reload` met. The
    /// text is complete and room for it reserved before anything is written, and the file gets its old content back
    /// when writing fails; a process that is killed meanwhile leaves a part. True when the disk has it.
    /// Errors: false, with the reason in the thread's last error, and the file as it was (KZFile::Overwrite says more).
    /// Throws std::bad_alloc before the file is touched.
    [[nodiscard]] bool Save() const;
    /// As `Save`, but a new file takes the place of the old one at once, so that nobody ever sees or is left with a part.
    /// Permissions and links stay, and so does the owner as far as the system allows (KZFile::Replace). The folder must be one
    /// in which this user may make files.
    [[nodiscard]] bool SaveAtomically() const;
    /// Drops all sections, in memory only.
    void Clear();
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }

    /// The first section at or behind `start` with this name, ignoring case; the end when there is none.
    [[nodiscard]] const_iterator FindSection(KZString const & name, const_iterator start = nullptr) const;
    [[nodiscard]] iterator FindSection(KZString const & name, const_iterator start = nullptr);

    /// Inserts a copy in front of `position` (null: at the end) and returns its place. Sections with the same name
    /// aren't looked for.
    iterator AddSection(KZConfigSection const & section, const_iterator position = nullptr);
    iterator AddSection(KZString const & name, const_iterator position = nullptr);

    /// The end, null, and a name that isn't there delete nothing. Locks taken through the section are undone.
    void DeleteSection(const_iterator position);
    /// Deletes the first section that `FindSection` finds.
    void DeleteSection(KZString const & name, const_iterator start = nullptr);

    [[nodiscard]] iterator GetSectionsBegin() noexcept { return sections_.data(); }
    [[nodiscard]] iterator GetSectionsEnd() noexcept { return sections_.data() + sections_.size(); }
    [[nodiscard]] const_iterator GetSectionsBegin() const noexcept { return sections_.data(); }
    [[nodiscard]] const_iterator GetSectionsEnd() const noexcept {
        return sections_.data() + sections_.size();
    }

    [[nodiscard]] bool IsSectionPresent(KZString const & section) const;
    [[nodiscard]] bool IsLinePresent(KZString const & section, KZString const & key) const;

    /// Replace the value of the first such line, and append section and line where they are missing. The comments stay.
    /// Nothing is saved. Numbers are written in decimal, truth as "yes" and "no".
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

    KZCounter count_;
    std::vector<KZConfigSection> sections_;
    KZString fileName_;
    mutable KZCriticalSection lock_;
    KZTextEncoding encoding_ = KZTextEncoding::Utf8;
    char16_t const * whyPartial_ = nullptr; // why the text that was read isn't all here; null when it is
};

/// Replaces the contents of `file` by the text of `stream`, up to its end. A stream that isn't good has no text.
/// Errors: KZConfigStreamException where the text breaks the grammar; the sections in front of that place are held.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZConfigFile & file);
/// Writes all sections, as `Save` does.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZConfigFile const & file);
