// Any text is parsed as a pattern. If it is one, it is compiled, and must match the same texts as its tree built a
// second time with an accepting end.
#include "ZerlithCore/pattern/KZRegEx.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

extern "C" int LLVMFuzzerTestOneInput(unsigned char const * data, std::size_t size) {
    // Nested counts multiply. A few dozen units reach every path of the code, and limit the number of states.
    if (size > 48) return 0;
    std::u16string text(data, data + size);
    std::size_t const split = text.find(u'\0');
    KZString const pattern(text.substr(0, split));
    KZString const subject(split == text.npos ? std::u16string() : text.substr(split + 1));
    if (std::ranges::count(text, u'{') > 4) return 0;
    KZParsedRegEx const parsed = KZStringRegExParser(pattern).Parse();
    try {
        KZRegEx const regEx(parsed);
        bool const matches = regEx.Match(subject);
        if (parsed.root.IsNull() && matches) std::abort();
        // "(p)|(p)" means what "p" means.
        if (!parsed.root.IsNull()) {
            KZString const twice = KZString(u"(") + pattern + u")|(" + pattern + u")";
            KZParsedRegEx const again = KZStringRegExParser(twice).Parse();
            bool const endsInBackslash = pattern.RFind(u'\\') == pattern.Length() - 1;
            if (!endsInBackslash && KZRegEx(again).Match(subject) != matches) std::abort();
        }
        static_cast<void>(regEx.GetConstantStart());
    } catch (std::bad_alloc const &) {
        // Too many states.
    }
    return 0;
}
