#include "ZerlithCore/platform/CaseMap.h"
#include "ZerlithCore/text/KZString.h"

namespace {

void MapToTerminator(char16_t * text, KZPlatform::CaseMap const & map) {
    for (; *text != 0; ++text) *text = map(*text);
}

} // namespace

void KZString::Upper() {
    ResizeCapacity(Length());
    MapToTerminator(data_->text, KZPlatform::UpperCaseMap());
}

void KZString::Lower() {
    ResizeCapacity(Length());
    MapToTerminator(data_->text, KZPlatform::LowerCaseMap());
}

char16_t KZtowupper(char16_t unit) { return KZPlatform::UpperCaseMap()(unit); }

char16_t KZtowlower(char16_t unit) { return KZPlatform::LowerCaseMap()(unit); }
