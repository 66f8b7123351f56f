// A host in a few lines: everything it does is in its plug-ins.
#include <ZerlithCore/ZerlithCore.h>

namespace {

class Host : public KZApplicationWithPlugIns {
public:
    using KZApplicationWithPlugIns::KZApplicationWithPlugIns;

    // Asked for here, behind the loading, the usage has the options of the plug-ins too.
    int Run() override { return DisplayUsageIfNecessary() ? 0 : KZApplicationWithPlugIns::Run(); }
};

} // namespace

int main(int argc, char ** argv) { return Host(argc, argv).LoadAndRun(); }
