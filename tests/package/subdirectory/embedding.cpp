#include <ZerlithCore/ZerlithCore.h>

int main() { KZGetConsole() << KZString(u"embedded") << std::endl; }
