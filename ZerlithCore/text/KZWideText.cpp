// Appends wide characters to strings.
#include "ZerlithCore/text/KZWideText.h"

#include "ZerlithCore/text/KZString.h"

void KZAppendWide(KZString & string, wchar_t character) {
    KZEncoding::SplitWide(character, [&string](char16_t unit) { string += unit; });
}

void KZAppendWide(std::u16string & string, wchar_t character) {
    KZEncoding::SplitWide(character, [&string](char16_t unit) { string += unit; });
}
