// The tables are made by the compiler, so nothing has to be allocated or read before the first use.
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/detail/KZCaseMap.h"

namespace KZDetail {

namespace {

constexpr CaseMap::Run upperCaseRuns[] = {
#include "ZerlithCore/text/generated/UpperCaseMap.inl"
};

constexpr CaseMap::Run lowerCaseRuns[] = {
#include "ZerlithCore/text/generated/LowerCaseMap.inl"
};

void MapToTerminator(char16_t * text, CaseMap const & map) {
    for (; *text != 0; ++text) *text = map(*text);
}

} // namespace

constinit CaseMap const upperCaseMap(upperCaseRuns);
constinit CaseMap const lowerCaseMap(lowerCaseRuns);

} // namespace KZDetail

void KZString::Upper() {
    ResizeCapacity(Length());
    KZDetail::MapToTerminator(data_->text, KZDetail::upperCaseMap);
}

void KZString::Lower() {
    ResizeCapacity(Length());
    KZDetail::MapToTerminator(data_->text, KZDetail::lowerCaseMap);
}

char16_t KZtowupper(char16_t unit) noexcept { return KZDetail::upperCaseMap(unit); }

char16_t KZtowlower(char16_t unit) noexcept { return KZDetail::lowerCaseMap(unit); }
