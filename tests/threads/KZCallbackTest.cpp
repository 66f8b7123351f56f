#include "ZerlithCore/threads/KZCallback.h"
#include "ZerlithCore/threads/KZThreadObject.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

struct Number : KZCallbackArgs {
    explicit Number(int number) : value(number) {}
    int value;
};

struct Receiver : KZThreadObject {
    std::vector<int> seen;

    void Run() override { seen.push_back(0); }
    void TakePointer(Number * number) { seen.push_back(number ? number->value : -1); }
    void TakeHandle(KZSmartPtr<Number> number) { seen.push_back(number->value); }
};

} // namespace

TEST(KZCallback, PassesStoredOrGivenArgument) {
    Receiver receiver;
    KZSmartPtr<Number> const stored(new Number(7));
    {
        KZSmartPtr<KZCallback> const pointer(
            new KZCallbackMeth<Receiver, Number *>(u"pointer", &receiver, &Receiver::TakePointer, stored));
        KZSmartPtr<KZCallback> const handle(new KZCallbackMeth<Receiver, KZSmartPtr<Number>>(
            u"handle", &receiver, &Receiver::TakeHandle, stored));
        KZSmartPtr<KZCallback> const run(
            new KZCallbackMethVoid<KZThreadObject>(u"run", &receiver, &KZThreadObject::Run));
        (*pointer)();
        (*pointer)(KZSmartPtr<KZCallbackArgs>(new Number(8)));
        (*pointer)(KZSmartPtr<KZCallbackArgs>());
        (*handle)();
        (*run)();
        (*run)(stored);
        EXPECT_EQ(receiver.seen, (std::vector<int>{7, 8, -1, 7, 0, 0}));
        EXPECT_TRUE(pointer->GetName() == u"pointer");
        EXPECT_EQ(stored->NbRef(), 3U);
    }
    EXPECT_EQ(stored->NbRef(), 1U) << "an argument goes with its callback";
}
