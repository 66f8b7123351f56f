#include "ZerlithCore/foundation/KZObject.h"

#include <gtest/gtest.h>

#include <set>

namespace {

class Probe : public KZRefCount {
public:
    explicit Probe(int & alive) : alive_(&alive) { ++*alive_; }
    Probe(Probe const & other) : KZRefCount(other), alive_(other.alive_) { ++*alive_; }
    Probe & operator=(Probe const &) = default;
    ~Probe() override { --*alive_; }

private:
    int * alive_;
};

class Numbered : public KZObjectI {
public:
    unsigned long AddRef() const override { return count.Increment(); }
    unsigned long Release() const override { return count.Decrement(); }
    static constexpr int Iuid = 42;
    int GetIUID() const override { return Iuid; }
    KZCounter count;
};

class OfSameNumber : public Numbered {};

TEST(KZRefCount, CountBelongsToTheObjectAndIsNeverCopied) {
    int alive = 0;
    KZSmartPtr<Probe> a(new Probe(alive)), b(new Probe(alive)), second = a;
    Probe copy(*a);
    EXPECT_EQ(copy, 0UL);
    *b = *a;
    EXPECT_EQ(*a, 2UL);
    EXPECT_EQ(*b, 1UL);
    EXPECT_EQ(a->AddRef(), 3UL);
    EXPECT_EQ(a->Release(), 2UL);
    a = 7;
    second.Clear();
    b = nullptr;
    EXPECT_TRUE(a.IsNull());
    EXPECT_EQ(alive, 1) << "only the copy on the stack is left";
    ++alive; // the copy constructor doesn't count the copy
}

TEST(KZSmartPtr, CopiesMovesAndComparesByIdentity) {
    int alive = 0;
    KZSmartPtr<Probe> empty;
    EXPECT_TRUE(empty == 0 && empty == 0L && empty == NULL && NULL == empty && empty == nullptr &&
                !(empty != 0U));
    KZSmartPtr<Probe> a(new Probe(alive));
    KZSmartPtrToConst<Probe> c = a;
    KZSmartPtr<KZRefCountI> base;
    base = a;
    EXPECT_EQ(*a, 3UL);
    EXPECT_TRUE(a == c && base == a && c == a.GetPtr() && a != 0 && a != empty);
    auto & alias = a;
    a = alias;
    EXPECT_EQ(*a, 3UL);
    KZSmartPtr<Probe> moved = std::move(a);
    EXPECT_EQ(*moved, 3UL);
    a = std::move(moved);
    c = a;
    EXPECT_EQ(c.GetPtr(), a.GetPtr());
    std::set<KZSmartPtr<Probe>> ordered{a, empty};
    EXPECT_TRUE(ordered.begin()->IsNull());
    EXPECT_EQ(sizeof a, sizeof(void *));
    auto const address = reinterpret_cast<std::uintptr_t>(a.GetPtr());
    EXPECT_TRUE(a == address && c == address && a != 7 && a != 'x' && a != NULL && c != 0L);
    KZSmartPtr<Probe> const kept = a;
    EXPECT_TRUE((a = NULL).IsNull() && (c = NULL).IsNull() && (base = 0L).IsNull());
    EXPECT_TRUE((a = kept) == kept && (a = {}).IsNull() && (c = kept) == kept && (c = 0U).IsNull());
    EXPECT_TRUE((a = kept) == kept && (a = address).IsNull());
}

TEST(KZSmartPtr, AssignmentReleasesBeforeItAdds) {
    static std::string log;
    struct Tracer {
        char name;
        void AddRef() const { log += '+', log += name; }
        void Release() const { log += '-', log += name; }
    } x{'x'}, y{'y'};
    {
        KZSmartPtr<Tracer> handle(&x);
        handle = &x;
        handle = &y;
    }
    EXPECT_EQ(log, "+x-x+y-y");
}

TEST(KZObjectI, AnswersItsOwnNumberOnly) {
    Numbered object;
    EXPECT_TRUE(object.IsKindOf(42));
    EXPECT_FALSE(object.IsKindOf(41));
    EXPECT_EQ(object.count.Get(), 0UL);
    KZSmartPtr<KZObjectI> const handle = object.QueryInterface(42);
    EXPECT_EQ(object.count.Get(), 1UL);
    EXPECT_EQ(handle, &object);
    EXPECT_TRUE(object.QueryInterface(3).IsNull());
    EXPECT_EQ(KZInterfaceOf<Numbered>(object), &object);
    EXPECT_TRUE(KZInterfaceOf<OfSameNumber>(object).IsNull());
    EXPECT_EQ(object.count.Get(), 1UL);
}

} // namespace
