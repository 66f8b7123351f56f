// A host in a few lines: everything it does is in its plug-ins.
#include <ZerlithCore/ZerlithCore.h>

int main(int argc, char ** argv) {
    KZApplicationWithPlugIns application(argc, argv);
    if (application.DisplayUsageIfNecessary()) return 0;
    return application.LoadAndRun();
}
