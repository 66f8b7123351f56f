/// @file
/// The parts of a configuration file: comments, lines and sections.
///
///     KZConfigSection section(u"Server");
///     section.AddLine(u"port", u"8080")->GetComments().AddComment(u" 0 chooses a free one");
///     std::wcout << section;
///
/// prints
///
///     [Server]
///     ; 0 chooses a free one
///     port=8080
///
/// Iterators are pointers. As an argument, null means the end when adding and the beginning when finding; any other
/// iterator must be one of the same container. Iterators are valid until the container changes, so threads that share a
/// file use them only while they hold its lock.
///
/// Thread safety of all classes here: operations that change a list take the lock of the owner. For all others the caller must
/// hold that lock, by `Lock` of the part or of the file, if other threads may change the file.
///
/// Errors: std::bad_alloc; the stream operators at the end of this header throw more.
#pragma once

#include "ZerlithCore/app/KZConfigLockable.h"
#include "ZerlithCore/app/detail/NamedList.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <iosfwd>
#include <vector>

/// The comment lines above a line or a section, each without its ";". An empty one is a blank line.
class KZ_EXPORT KZConfigComments : public KZConfigLockable {
public:
    using iterator = KZString *;
    using const_iterator = KZString const *;

    KZConfigComments() noexcept = default;
    KZConfigComments(KZConfigComments const & other) = default;
    KZConfigComments(KZConfigComments && other) noexcept = default;
    KZConfigComments & operator=(KZConfigComments const & other) = default;
    KZConfigComments & operator=(KZConfigComments && other) noexcept = default;
    ~KZConfigComments() override;

    [[nodiscard]] std::size_t GetSize() const noexcept { return texts_.size(); }
    [[nodiscard]] iterator GetCommentsBegin() noexcept { return texts_.data(); }
    [[nodiscard]] iterator GetCommentsEnd() noexcept { return texts_.data() + texts_.size(); }
    [[nodiscard]] const_iterator GetCommentsBegin() const noexcept { return texts_.data(); }
    [[nodiscard]] const_iterator GetCommentsEnd() const noexcept { return texts_.data() + texts_.size(); }

    /// Inserts one line before `position` and returns its place. `text` must not contain line ends.
    iterator AddComment(KZString const & text, const_iterator position = nullptr);
    /// Deletes one line. The end and null delete nothing.
    void DeleteComment(const_iterator position);
    void Clear();

private:
    friend class KZConfigReader;
    friend class KZConfigLine;
    friend class KZConfigSection;

    std::vector<KZString> texts_;
};

/// One `key=value` with the comments directly above it.
class KZ_EXPORT KZConfigLine : public KZConfigLockable {
public:
    KZConfigLine() { comments_.Adopt(this); }
    KZConfigLine(KZString const & key, KZString const & value);
    KZConfigLine(KZConfigLine const & other);
    KZConfigLine(KZConfigLine && other) noexcept;
    KZConfigLine & operator=(KZConfigLine const & other);
    KZConfigLine & operator=(KZConfigLine && other) noexcept;
    ~KZConfigLine() override;

    [[nodiscard]] KZString const & GetKey() const noexcept { return key_; }
    void SetKey(KZString const & key) {
        key_ = key;
        Renamed(key_);
    }

    [[nodiscard]] KZString const & GetValue() const noexcept { return value_; }
    void SetValue(KZString const & value) { value_ = value; }
    void SetValue(char16_t const * value) { value_ = KZString(value); }
    void SetValue(int value) { SetValue(static_cast<long>(value)); }
    void SetValue(long value);
    /// Written with six digits after the point.
    void SetValue(double value);
    /// Written as "yes" or "no".
    void SetValue(bool value);

    /// The value as `KZString::AsLong` reads it: 0 if it isn't a number.
    [[nodiscard]] long GetValueAsLong() const { return value_.AsLong(); }
    [[nodiscard]] double GetValueAsDouble() const { return value_.AsDouble(); }
    /// True for "1", "yes", "true" and "on", ignoring case; false for all other texts.
    [[nodiscard]] bool GetValueAsBool() const;

    [[nodiscard]] KZConfigComments & GetComments() noexcept { return comments_; }
    [[nodiscard]] KZConfigComments const & GetComments() const noexcept { return comments_; }

    /// Empties comments, key and value.
    void Clear();

private:
    friend class KZConfigReader;
    friend class KZConfigSection;

    void DropLocks() const;

    KZConfigComments comments_;
    KZString key_;
    KZString value_;
};

/// A `[name]` with the comments above it and the lines below it. A section with an empty name has no header in the file.
///
/// A copy has copies of the lines, and locking one of those locks the copy.
class KZ_EXPORT KZConfigSection : public KZConfigLockable {
public:
    using iterator = KZConfigLine *;
    using const_iterator = KZConfigLine const *;

    KZConfigSection() { comments_.Adopt(this); }
    explicit KZConfigSection(KZString const & name);
    KZConfigSection(KZConfigSection const & other);
    KZConfigSection(KZConfigSection && other) noexcept;
    KZConfigSection & operator=(KZConfigSection const & other);
    KZConfigSection & operator=(KZConfigSection && other) noexcept;
    ~KZConfigSection() override;

    [[nodiscard]] KZString const & GetName() const noexcept { return name_; }
    void SetName(KZString const & name) {
        name_ = name;
        Renamed(name_);
    }

    [[nodiscard]] KZConfigComments & GetComments() noexcept { return comments_; }
    [[nodiscard]] KZConfigComments const & GetComments() const noexcept { return comments_; }

    [[nodiscard]] iterator GetLinesBegin() noexcept { return lines_.begin(); }
    [[nodiscard]] iterator GetLinesEnd() noexcept { return lines_.end(); }
    [[nodiscard]] const_iterator GetLinesBegin() const noexcept { return lines_.begin(); }
    [[nodiscard]] const_iterator GetLinesEnd() const noexcept { return lines_.end(); }

    /// The first line with this key at or after `start`, ignoring case; the end when there is none.
    /// Cost: the same for any number of lines, unless most of them have this key and `start` is in their midst.
    [[nodiscard]] const_iterator FindLine(KZString const & key, const_iterator start = nullptr) const;
    [[nodiscard]] iterator FindLine(KZString const & key, const_iterator start = nullptr);

    /// Inserts a copy before `position` and returns its place. There may be another line with that key already.
    iterator AddLine(KZConfigLine const & line, const_iterator position = nullptr);
    iterator AddLine(KZString const & key, KZString const & value, const_iterator position = nullptr);

    /// Deletes the line, and releases locks that were taken through it. The end and null delete nothing.
    void DeleteLine(const_iterator position);
    /// Deletes the first line that `FindLine` finds, if any.
    void DeleteLine(KZString const & key, const_iterator start = nullptr);

    /// Empties comments, name and lines.
    void Clear();

private:
    friend class KZConfigReader;
    friend class KZConfigFile;

    iterator Insert(KZConfigLine && line, const_iterator position);
    void DropLocks() const;
    void DropLinesLocks() const;
    void AdoptParts() noexcept;
    void RebindParts() noexcept;

    KZConfigComments comments_;
    KZString name_;
    KZDetail::NamedList<KZConfigLine, &KZConfigLine::GetKey> lines_;
};

// --- The text of the parts. Reading replaces what the part held.
//
// Errors: KZConfigStreamException if the text breaks the grammar; the part keeps what was read before.

/// Reads a comment block: comments, blank lines and white space up to anything else.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZConfigComments & comments);
/// Reads comments, key and value. The last line may end without a line end only if it has a "=".
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZConfigLine & line);
/// Reads comments and header; the lines are left in the stream. At the end of the stream the name is empty.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZConfigSection & section);

KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZConfigComments const & comments);
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZConfigLine const & line);
/// Writes comments, header and lines.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZConfigSection const & section);
