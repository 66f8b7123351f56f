// Built with the flags of pkg-config alone. Uses a string, an error of its own beside one of the library, and catches a
// fault.
#include <ZerlithCore/ZerlithCore.h>

#include <iostream>

KZ_MODULE_MESSAGES({8, KZLanguage::EnglishUS, u"An error of the program"})

int main() {
    KZErrorID const own(new KZError(new RCMessageTableSource(KZ_THIS_MODULE), 8));
    if (own.AsString() != u"An error of the program") return 2;
    if (KZDateTime().FromString(u"x", u"%Y").AsString() != u"Date 'x' is invalid for format '%Y'.") return 3;
    KZString greeting(u"pkg-config");
    greeting.Upper();
    KZInitCatchSignal();
    try {
        *static_cast<int volatile *>(nullptr) = 1;
    } catch (KZException const &) {
        std::cout << greeting.AsUTF8() << " works\n";
        return 0;
    }
    return 1;
}
