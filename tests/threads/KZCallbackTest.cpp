#include "ZerlithCore/threads/KZCallback.h"
#include "ZerlithCore/threads/KZThreadObject.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

struct Number : KZCallbackArgs {
    explicit Number(int number, bool * ended = nullptr) : value(number), ended_(ended) {}
    ~Number() override {
        if (ended_) *ended_ = true;
    }
    int value;

private:
    bool * ended_;
};

struct Receiver : KZThreadObject {
    std::vector<int> seen;

    void Run() override { seen.push_back(0); }
    void TakePointer(Number * number) { seen.push_back(number ? number->value : -1); }
    void TakeHandle(KZSmartPtr<Number> number) { seen.push_back(number.IsNull() ? -1 : number->value); }
};

} // namespace

TEST(KZCallback, PassesStoredOrGivenArgument) {
    Receiver receiver;
    bool ended = false;
    {
        KZSmartPtr<KZCallback> const pointer(new KZCallbackMeth<Receiver, Number *>(
            u"pointer", &receiver, &Receiver::TakePointer, new Number(7, &ended)));
        (*pointer)();
        (*pointer)(KZSmartPtr<KZCallbackArgs>(new Number(8)));
        (*pointer)(KZSmartPtr<KZCallbackArgs>());
        EXPECT_EQ(receiver.seen, (std::vector<int>{7, 8, -1}));
        EXPECT_TRUE(pointer->GetName() == u"pointer");
        EXPECT_EQ(pointer->NbRef(), 1U);
        EXPECT_FALSE(ended);
    }
    EXPECT_TRUE(ended) << "the argument goes with the callback";

    KZSmartPtr<KZCallback> const handle(new KZCallbackMeth<Receiver, KZSmartPtr<Number>>(
        u"handle", &receiver, &Receiver::TakeHandle, new Number(9)));
    (*handle)();
    EXPECT_EQ(receiver.seen.back(), 9);
}

TEST(KZCallback, WithoutArgumentIgnoresWhatItGets) {
    Receiver receiver;
    KZSmartPtr<KZCallback> const run(
        new KZCallbackMethVoid<KZThreadObject>(u"run", &receiver, &KZThreadObject::Run));
    (*run)();
    (*run)(KZSmartPtr<KZCallbackArgs>(new Number(1)));
    EXPECT_EQ(receiver.seen, (std::vector<int>{0, 0}));
    receiver.Stop(); // does nothing unless overridden
}
