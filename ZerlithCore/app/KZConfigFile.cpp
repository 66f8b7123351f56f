// The sections are values in one vector, as iterators are pointers. When they move, their parts get the new address as their owner
// (KZConfigSection.cpp). The grammar is in KZConfigStream.cpp.
#include "ZerlithCore/app/KZConfigFile.h"

#include "ZerlithCore/app/detail/KZConfigText.h"
#include "ZerlithCore/app/detail/NamedListBody.h"
#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/files/detail/KZEncodedText.h"
#include "ZerlithCore/files/detail/UnitFile.h"
#include "ZerlithCore/platform/LastError.h"

#include <string>
#include <utility>

using namespace std::string_literals;

using Guard = KZGuard<KZConfigFile const>;

KZConfigI::~KZConfigI() = default;

KZConfigFile::KZConfigFile(KZString const & fileName) : fileName_(fileName) {}

KZConfigFile::~KZConfigFile() = default;

KZSmartPtr<KZConfigFile> KZConfigFile::Load(KZString const & fileName) {
    KZSmartPtr<KZConfigFile> file(new KZConfigFile(fileName));
    if (!file->Reload()) file.Clear();
    return file;
}

KZString const KZConfigFile::GetString(KZString const & section, KZString const & key,
                                       KZString const & defaultValue) const {
    Guard guard(*this);
    KZConfigLine const * const line = LineOf(section, key);
    return line ? line->GetValue() : defaultValue;
}

long KZConfigFile::GetLong(KZString const & section, KZString const & key, long defaultValue) const {
    Guard guard(*this);
    KZConfigLine const * const line = LineOf(section, key);
    return line ? line->GetValueAsLong() : defaultValue;
}

bool KZConfigFile::GetBool(KZString const & section, KZString const & key, bool defaultValue) const {
    Guard guard(*this);
    KZConfigLine const * const line = LineOf(section, key);
    return line ? line->GetValueAsBool() : defaultValue;
}

void KZConfigFile::Lock() const { lock_.Lock(); }

void KZConfigFile::Unlock() const { lock_.Unlock(); }

bool KZConfigFile::Reload() {
    if (fileName_.IsNull()) return false;
    Guard guard(*this);
    // Set before anything can fail: an empty object must not be saved over a file that was never read.
    char16_t const * const former = whyPartial_;
    if (sections_.begin() == sections_.end()) whyPartial_ = u"the file could not be opened";
    try {
        KZDetail::UnitFile text;
        if (!text.Open(std::u16string_view(fileName_), std::ios_base::in)) {
            if (!KZFile::Exists(fileName_)) whyPartial_ = former;
            return false;
        }
        KZDetail::ReadConfig(*this, text);
        encoding_ = text.GetEncoding();
        return true;
    } catch (...) {
        return false;
    }
}

bool KZConfigFile::Save() const { return SaveBy(KZFile::Overwrite); }

bool KZConfigFile::SaveAtomically() const { return SaveBy(KZFile::Replace); }

bool KZConfigFile::SaveBy(bool (*write)(KZString const & path, void const * bytes, std::size_t size)) const {
    Guard guard(*this);
    if (whyPartial_) {
        KZPlatform::SetLastErrorText(u"not saved, since not all of the text was read: "s + whyPartial_);
        return false;
    }
    std::string bytes(KZDetail::MarkOf(encoding_));
    KZDetail::AppendEncoded(bytes, KZDetail::TextOf(*this), encoding_);
    return write(fileName_, bytes.data(), bytes.size());
}

void KZConfigFile::Clear() {
    Guard guard(*this);
    for (KZConfigSection const & section : sections_) section.DropLocks();
    sections_.Clear();
    whyPartial_ = nullptr;
}

KZConfigFile::const_iterator KZConfigFile::FindSection(KZString const & name, const_iterator start) const {
    Guard guard(*this);
    return sections_.Find(name, start);
}

KZConfigFile::iterator KZConfigFile::FindSection(KZString const & name, const_iterator start) {
    return const_cast<iterator>(std::as_const(*this).FindSection(name, start));
}

KZConfigFile::iterator KZConfigFile::AddSection(KZConfigSection const & section, const_iterator position) {
    return Insert(KZConfigSection(section), position);
}

KZConfigFile::iterator KZConfigFile::AddSection(KZString const & name, const_iterator position) {
    return Insert(KZConfigSection(name), position);
}

void KZConfigFile::DeleteSection(const_iterator position) {
    Guard guard(*this);
    if (!position || position == GetSectionsEnd()) return;
    position->DropLocks();
    sections_.Erase(position);
}

void KZConfigFile::DeleteSection(KZString const & name, const_iterator start) {
    Guard guard(*this);
    DeleteSection(FindSection(name, start));
}

bool KZConfigFile::IsSectionPresent(KZString const & section) const {
    Guard guard(*this);
    return FindSection(section) != GetSectionsEnd();
}

bool KZConfigFile::IsLinePresent(KZString const & section, KZString const & key) const {
    Guard guard(*this);
    return LineOf(section, key) != nullptr;
}

void KZConfigFile::SetString(KZString const & section, KZString const & key, KZString const & value) {
    Set(section, key, value);
}

void KZConfigFile::SetLong(KZString const & section, KZString const & key, long value) {
    Set(section, key, value);
}

void KZConfigFile::SetBool(KZString const & section, KZString const & key, bool value) {
    Set(section, key, value);
}

/// The line; null if the section or the line is missing. Only the first section of that name is searched. Requires: the lock.
KZConfigLine const * KZConfigFile::LineOf(KZString const & section, KZString const & key) const {
    const_iterator const found = FindSection(section);
    if (found == GetSectionsEnd()) return nullptr;
    KZConfigSection::const_iterator const line = found->FindLine(key);
    return line == found->GetLinesEnd() ? nullptr : line;
}

/// A new line is completed before it is added: if memory ran out in between, a line with an empty value would stay.
template <class Value>
void KZConfigFile::Set(KZString const & section, KZString const & key, Value const & value) {
    Guard guard(*this);
    KZConfigLine fresh(key, KZString());
    fresh.SetValue(value);
    iterator const found = FindSection(section);
    if (found == GetSectionsEnd()) {
        KZConfigSection added(section);
        added.AddLine(fresh);
        Insert(std::move(added), nullptr);
        return;
    }
    KZConfigSection::iterator const line = found->FindLine(key);
    if (line == found->GetLinesEnd())
        found->AddLine(fresh);
    else
        line->SetValue(fresh.GetValue());
}

KZConfigFile::iterator KZConfigFile::Insert(KZConfigSection && section, const_iterator position) {
    Guard guard(*this);
    return sections_.Insert(std::move(section), position, this);
}
