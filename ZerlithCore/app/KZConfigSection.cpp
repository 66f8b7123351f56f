// When a part moves within its container, it keeps its locks, and its own parts get its new address (Rebind). When a part is
// copied, the copy starts without locks (Adopt), because the locks belong to the original. When a part is deleted, its locks
// are released first, beginning with the innermost part, because nobody could release them afterwards.
#include "ZerlithCore/app/KZConfigSection.h"

#include "ZerlithCore/app/detail/KZIgnoreCase.h"
#include "ZerlithCore/app/detail/NamedListBody.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <algorithm>
#include <array>
#include <utility>

// --- KZConfigComments

KZConfigComments::~KZConfigComments() = default;

KZConfigComments::iterator KZConfigComments::AddComment(KZString const & text, const_iterator position) {
    KZGuard<KZConfigComments> guard(*this);
    auto const place = position ? texts_.begin() + (position - GetCommentsBegin()) : texts_.end();
    return &*texts_.insert(place, text);
}

void KZConfigComments::DeleteComment(const_iterator position) {
    KZGuard<KZConfigComments> guard(*this);
    if (position && position != GetCommentsEnd())
        texts_.erase(texts_.begin() + (position - GetCommentsBegin()));
}

void KZConfigComments::Clear() {
    KZGuard<KZConfigComments> guard(*this);
    texts_.clear();
}

// --- KZConfigLine

KZConfigLine::KZConfigLine(KZString const & key, KZString const & value) : key_(key), value_(value) {
    comments_.Adopt(this);
}

KZConfigLine::KZConfigLine(KZConfigLine const & other)
    : KZConfigLockable(other), comments_(other.comments_), key_(other.key_), value_(other.value_) {
    comments_.Adopt(this);
}

KZConfigLine::KZConfigLine(KZConfigLine && other) noexcept
    : KZConfigLockable(other)
    , comments_(std::move(other.comments_))
    , key_(std::move(other.key_))
    , value_(std::move(other.value_)) {
    comments_.Rebind(this);
    other.Renamed(other.key_);
}

KZConfigLine & KZConfigLine::operator=(KZConfigLine const & other) {
    if (this != &other) *this = KZConfigLine(other);
    return *this;
}

KZConfigLine & KZConfigLine::operator=(KZConfigLine && other) noexcept {
    KZConfigLockable::operator=(other);
    comments_ = std::move(other.comments_);
    key_ = std::move(other.key_);
    value_ = std::move(other.value_);
    comments_.Rebind(this);
    Renamed(key_);
    other.Renamed(other.key_);
    return *this;
}

KZConfigLine::~KZConfigLine() = default;

void KZConfigLine::SetValue(long value) { value_.Format(u"%ld", value); }

void KZConfigLine::SetValue(double value) { value_.Format(u"%f", value); }

void KZConfigLine::SetValue(bool value) { value_ = value ? u"yes" : u"no"; }

bool KZConfigLine::GetValueAsBool() const {
    static constexpr std::array<std::u16string_view, 4> words{u"1", u"yes", u"true", u"on"};
    return std::any_of(words.begin(), words.end(), [this](std::u16string_view word) {
        return KZDetail::EqualIgnoringCase(std::u16string_view(value_), word);
    });
}

void KZConfigLine::Clear() {
    comments_.Clear();
    SetKey(KZString());
    value_.Clear();
}

void KZConfigLine::DropLocks() const {
    comments_.RemoveAllLocks();
    RemoveAllLocks();
}

// --- KZConfigSection

KZConfigSection::KZConfigSection(KZString const & name) : name_(name) { comments_.Adopt(this); }

KZConfigSection::KZConfigSection(KZConfigSection const & other)
    : KZConfigLockable(other), comments_(other.comments_), name_(other.name_), lines_(other.lines_) {
    AdoptParts();
}

KZConfigSection::KZConfigSection(KZConfigSection && other) noexcept
    : KZConfigLockable(other)
    , comments_(std::move(other.comments_))
    , name_(std::move(other.name_))
    , lines_(std::move(other.lines_)) {
    RebindParts();
    other.Renamed(other.name_);
}

KZConfigSection & KZConfigSection::operator=(KZConfigSection const & other) {
    if (this != &other) *this = KZConfigSection(other);
    return *this;
}

KZConfigSection & KZConfigSection::operator=(KZConfigSection && other) noexcept {
    KZConfigLockable::operator=(other);
    comments_ = std::move(other.comments_);
    name_ = std::move(other.name_);
    lines_ = std::move(other.lines_);
    RebindParts();
    Renamed(name_);
    other.Renamed(other.name_);
    return *this;
}

KZConfigSection::~KZConfigSection() = default;

KZConfigSection::const_iterator KZConfigSection::FindLine(KZString const & key, const_iterator start) const {
    return lines_.Find(key, start);
}

KZConfigSection::iterator KZConfigSection::FindLine(KZString const & key, const_iterator start) {
    return const_cast<iterator>(std::as_const(*this).FindLine(key, start));
}

KZConfigSection::iterator KZConfigSection::AddLine(KZConfigLine const & line, const_iterator position) {
    return Insert(KZConfigLine(line), position);
}

KZConfigSection::iterator KZConfigSection::AddLine(KZString const & key, KZString const & value,
                                                   const_iterator position) {
    return Insert(KZConfigLine(key, value), position);
}

void KZConfigSection::DeleteLine(const_iterator position) {
    KZGuard<KZConfigSection> guard(*this);
    if (!position || position == GetLinesEnd()) return;
    position->DropLocks();
    lines_.Erase(position);
}

void KZConfigSection::DeleteLine(KZString const & key, const_iterator start) {
    KZGuard<KZConfigSection> guard(*this);
    DeleteLine(FindLine(key, start));
}

void KZConfigSection::Clear() {
    KZGuard<KZConfigSection> guard(*this);
    comments_.Clear();
    SetName(KZString());
    DropLinesLocks();
    lines_.Clear();
}

KZConfigSection::iterator KZConfigSection::Insert(KZConfigLine && line, const_iterator position) {
    KZGuard<KZConfigSection> guard(*this);
    return lines_.Insert(std::move(line), position, this);
}

void KZConfigSection::DropLocks() const {
    DropLinesLocks();
    comments_.RemoveAllLocks();
    RemoveAllLocks();
}

void KZConfigSection::DropLinesLocks() const {
    for (KZConfigLine const & line : lines_) line.DropLocks();
}

/// For parts that were copied: they belong to this section now and have no locks.
void KZConfigSection::AdoptParts() noexcept {
    comments_.Adopt(this);
    for (KZConfigLine & line : lines_) line.Adopt(this);
}

/// For parts that have moved: they keep their locks, and this section has a new address.
void KZConfigSection::RebindParts() noexcept {
    comments_.Rebind(this);
    for (KZConfigLine & line : lines_) line.Rebind(this);
}
