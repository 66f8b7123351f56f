// A container of two plug-ins, the second of which depends on plug-in A; with CONTAINER_FAILS the first refuses to
// initialise.
#include "ZerlithCore/ZerlithCore.h"

namespace {

class Member : public KZRunPlugIn {
public:
    Member(KZString const & name, std::uint32_t id, std::vector<PlugInIdEx> dependents)
        : name_(name), id_(id), dependents_(std::move(dependents)) {}
    KZString GetName() const override { return name_; }
    KZGuid GetId() const override { return {id_, 0, 0, 0}; }
    std::vector<PlugInIdEx> GetDependentV() const override { return dependents_; }
    KZErrorID Init(KZApplicationWithPlugIns const &) override {
#ifdef CONTAINER_FAILS
        return KZErrorID(new KZErrorString(u"no"));
#else
        return KZErrorID(0);
#endif
    }
    KZErrorID Run() override { return KZErrorID(0); }

private:
    KZString name_;
    std::uint32_t id_;
    std::vector<PlugInIdEx> dependents_;
};

class Container : public KZPlugInContainer {
public:
    Container() {
        AddMember(KZSmartPtr<KZPlugIn>(new Member(u"First", 201, {})));
        AddMember(KZSmartPtr<KZPlugIn>(new Member(u"Second", 202, {{KZGuid{1, 0, 0, 0}, u"A"}})));
    }
    KZString GetName() const override { return u"Container"; }
    KZGuid GetId() const override { return {200, 0, 0, 0}; }
};

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Container; }
