// A plug-in that is what its definitions say: PLUGIN_NAME, PLUGIN_ID, PLUGIN_DEPENDS (a list of identities with names),
// and what its Init, Run and Unload do.
#include "ZerlithCore/ZerlithCore.h"

#include <stdexcept>

#ifndef PLUGIN_DEPENDS
#define PLUGIN_DEPENDS
#endif
#ifndef PLUGIN_INIT
#define PLUGIN_INIT
#endif
#ifndef PLUGIN_RUN
#define PLUGIN_RUN
#endif

namespace {

void Say(char16_t const * what) {
    KZLockedCOUT().GetCout(1) << KZString(u"" PLUGIN_NAME) << L' ' << KZString(what) << std::endl;
}

[[maybe_unused]] KZErrorID Refuse() { return KZErrorID(new KZErrorString(u"refused")); }
// The sanitizers would end the process before the processor can raise the fault.
[[maybe_unused]] __attribute__((no_sanitize("undefined", "address"))) void Fault() {
    *static_cast<int volatile *>(nullptr) = 1;
}
[[maybe_unused]] void Throw() { throw std::runtime_error("thrown on purpose"); }

class Plain : public KZRunPlugIn {
public:
    ~Plain() override { Say(u"is deleted"); }
    KZString GetName() const override { return u"" PLUGIN_NAME; }
    KZGuid GetId() const override { return {PLUGIN_ID, 0, 0, 0}; }
    std::vector<PlugInIdEx> GetDependentV() const override { return {PLUGIN_DEPENDS}; }
    KZErrorID Init(KZApplicationWithPlugIns const &) override {
        PLUGIN_INIT;
        return KZErrorID(0);
    }
    KZErrorID Run() override {
        Say(u"runs");
        PLUGIN_RUN;
        return KZErrorID(0);
    }
};

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Plain; }
