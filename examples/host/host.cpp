// A host in a few lines: its plug-ins do all the work.
#include <ZerlithCore/ZerlithCore.h>

namespace {

class Host : public KZApplicationWithPlugIns {
public:
    using KZApplicationWithPlugIns::KZApplicationWithPlugIns;

    // Here the plug-ins are loaded, so the usage also has their options.
    int Run() override { return DisplayUsageIfNecessary() ? 0 : KZApplicationWithPlugIns::Run(); }
};

} // namespace

int main(int argc, char ** argv) { return Host(argc, argv).LoadAndRun(); }
