#include <ZerlithCore/ZerlithCore.h>

int main() {
    KZApplicationWithPlugIns application(KZString(u"stranger \"/osxpath:" PLUGIN_FOLDER "\""));
    return application.LoadAndRun();
}
