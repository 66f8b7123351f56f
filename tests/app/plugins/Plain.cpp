// A plug-in that is described by the definitions of its target: PLUGIN_NAME, PLUGIN_ID, PLUGIN_DEPENDS (a list of
// identities with names), and PLUGIN_REFUSES if its Init fails.
//
// The environment variable PLUGIN_TROUBLE names a plug-in and a function, such as "D GetName", and makes that
// function throw. With "fault" after that the function faults instead; with "later" it throws only after Init has
// been called.
#include "ZerlithCore/ZerlithCore.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

KZ_MODULE_MESSAGES({1, KZLanguage::Neutral, u"refused"})

#ifndef PLUGIN_DEPENDS
#define PLUGIN_DEPENDS
#endif

namespace {

void Say(char16_t const * what) {
    KZLockedCOUT().GetCout(1) << KZString(u"" PLUGIN_NAME) << L' ' << KZString(what) << std::endl;
}

// Not checked by the sanitizers, which would end the process before the processor raises the fault.
__attribute__((no_sanitize("undefined", "address"))) void Fault() {
    *static_cast<int volatile *>(nullptr) = 1;
}

bool isInitialised = false;

template <class T>
T Answer(char const * place, T const & answer) {
    char const * const variable = std::getenv("PLUGIN_TROUBLE");
    std::string const trouble = variable ? variable : "", own = std::string(PLUGIN_NAME " ") + place;
    if (trouble == own || (trouble == own + " later" && isInitialised)) throw std::runtime_error("in " + own);
    if (trouble == own + " fault") Fault();
    return answer;
}

class Plain : public KZRunPlugIn {
public:
    ~Plain() override {
        Say(u"is deleted");
        Answer("destructor", true);
    }
    KZString GetName() const override { return Answer("GetName", KZString(u"" PLUGIN_NAME)); }
    KZGuid GetId() const override { return Answer("GetId", KZGuid{PLUGIN_ID, 0, 0, 0}); }
    Status GetStatus() const override { return Answer("GetStatus", KZRunPlugIn::GetStatus()); }
    KZUsageInfo GetUsageInfo() const override { return Answer("GetUsageInfo", KZUsageInfo()); }
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override {
        return Answer("QueryInterface", KZRunPlugIn::QueryInterface(iuid));
    }
    std::vector<PlugInIdEx> GetDependentV() const override {
        return Answer("GetDependentV", std::vector<PlugInIdEx>{PLUGIN_DEPENDS});
    }
    KZErrorID Init(KZApplicationWithPlugIns const &) override {
        isInitialised = true;
#ifdef PLUGIN_REFUSES
        return KZErrorID(new KZError(new RCMessageTableSource(KZ_THIS_MODULE), 1));
#else
        return Answer("Init", KZErrorID());
#endif
    }
    KZErrorID Run() override {
        Answer("Run", true);
        Say(u"runs");
        return KZErrorID(0);
    }
};

KZPlugIn * lastMade = nullptr; // for the leak checker, when its destructor has failed

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() {
    Answer("GetPlugInObject", true);
    return lastMade = new Plain;
}
