#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/app/KZThreadedRunPlugIn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

class Named : public KZRunPlugIn {
public:
    Named(char16_t const * name, std::uint32_t id, std::vector<std::uint32_t> dependents)
        : name_(name), id_(id), dependents_(std::move(dependents)) {}
    KZString GetName() const override { return name_; }
    KZGuid GetId() const override { return {id_, 0, 0, 0}; }
    std::vector<PlugInIdEx> GetDependentV() const override {
        std::vector<PlugInIdEx> all;
        for (std::uint32_t const id : dependents_) all.emplace_back(KZGuid{id, 0, 0, 0}, u"it");
        return all;
    }
    KZErrorID Run() override { return KZErrorID(0); }

private:
    KZString name_;
    std::uint32_t id_;
    std::vector<std::uint32_t> dependents_;
};

class Threaded : public KZThreadedRunPlugIn {
public:
    KZString GetName() const override { return u"Threaded"; }
    KZGuid GetId() const override { return {9, 0, 0, 0}; }
    KZErrorID Run() override {
        RequestExit(false); // it runs, so it is asked; without a wait this comes back
        return KZErrorID(0);
    }
    void StopRequested() override { ++stops; }
    int stops = 0;
};

class Host : public KZApplicationWithPlugIns {
public:
    Host() : KZApplicationWithPlugIns(KZString(u"host /config:/dev/null /noConsole")) {}

    std::string Order(std::vector<KZSmartPtr<KZPlugIn>> const & plugIns) {
        PlugInVector list;
        for (KZSmartPtr<KZPlugIn> const & plugIn : plugIns) {
            EXPECT_TRUE(AddPlugIn(plugIn, false).Good());
            list.push_back(plugIn);
        }
        std::string names;
        for (KZSmartPtr<KZPlugIn> const & plugIn : GetPlugInHier(list)) names += plugIn->GetName().AsUTF8();
        return names;
    }
};

TEST(KZPlugIn, EachKindAnswersItsNumbers) {
    KZSmartPtr<Threaded> const threaded(new Threaded);
    for (int const number : {4, 5, 7}) EXPECT_TRUE(threaded->IsKindOf(number)) << number;
    for (int const number : {0, 3, 6, 8}) EXPECT_FALSE(threaded->IsKindOf(number)) << number;
    EXPECT_EQ(threaded->GetIUID(), 7);
    EXPECT_EQ(threaded->NbRef(), 1UL);
    EXPECT_EQ(KZLibPlugIn().GetName(), u"ZerlithCore PlugIn");
}

TEST(KZThreadedRunPlugIn, IsAskedToStopOnlyWhileItRuns) {
    KZSmartPtr<Threaded> const threaded(new Threaded);
    threaded->RequestExit(true);
    EXPECT_EQ(threaded->stops, 0);
    EXPECT_EQ(threaded->GetStatus(), KZPlugIn::NotInitialised);
    threaded->RunInThread();
    EXPECT_EQ(threaded->stops, 1);
    EXPECT_EQ(threaded->GetStatus(), KZPlugIn::Ended);
    threaded->RequestExit(true);
    EXPECT_EQ(threaded->stops, 1);
}

TEST(KZApplicationWithPlugIns, OrdersByDepthThroughDiamondsAndCycles) {
    auto const make = [](char16_t const * name, std::uint32_t id, std::vector<std::uint32_t> dependents) {
        return KZSmartPtr<KZPlugIn>(new Named(name, id, std::move(dependents)));
    };
    EXPECT_EQ(
        Host().Order({make(u"d", 4, {2, 3}), make(u"c", 3, {1}), make(u"b", 2, {1}), make(u"a", 1, {77})}),
        "acbd");
    Host host;
    KZSmartPtr<KZPlugIn> const x = make(u"x", 1, {2}), y = make(u"y", 2, {1}), self = make(u"s", 3, {3});
    EXPECT_EQ(host.Order({x, y, self}).size(), 3U);
    EXPECT_EQ(static_cast<int>(host.LoadPlugIn(x)), 14);
    EXPECT_EQ(static_cast<int>(host.LoadPlugIn(y)), 14);
    EXPECT_EQ(x->GetStatus(), KZPlugIn::NotInitialised);
    EXPECT_EQ(host.FindPlugIn(x->GetId()), x);
    EXPECT_EQ(host.GetLoadedPlugIns().size(), 4U);
    EXPECT_TRUE(host.LoadPlugIn(KZSmartPtr<KZPlugIn>()).Good());
}

} // namespace
