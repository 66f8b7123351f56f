// Built with the flags of pkg-config alone. Uses a string, and catches a fault.
#include <ZerlithCore/ZerlithCore.h>

#include <iostream>

int main() {
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
