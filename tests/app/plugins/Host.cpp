// The host of the plug-in tests: a program of its own, so that its console is compared as a user would see it.
#include "ZerlithCore/ZerlithCore.h"

int main(int argc, char ** argv) {
    KZApplicationWithPlugIns application(argc, argv);
    return application.LoadAndRun();
}
