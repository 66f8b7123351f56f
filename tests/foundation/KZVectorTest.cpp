#include "ZerlithCore/foundation/KZPointerVector.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/foundation/KZSmartPtrVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Item : KZRefCount {
    explicit Item(int n) : number(n) { ++alive; }
    ~Item() override { --alive; }
    int number;
    static inline int alive = 0;
};
using Handle = KZSmartPtr<Item>;
using Handles = KZSmartPtrVector<Handle>;

template <class Vector>
std::vector<unsigned int> CapacitiesOfGrowth(Vector vector, typename Vector::value_type const & value) {
    std::vector<unsigned int> seen;
    for (int i = 0; i < 10; ++i) {
        vector.push_back(value);
        if (seen.empty() || seen.back() != vector.capacity()) seen.push_back(vector.capacity());
    }
    return seen;
}

TEST(KZVector, GrowsByHalfAndLaterByATenth) {
    std::vector<unsigned int> const expected{1, 2, 3, 4, 6, 9, 13};
    EXPECT_EQ(CapacitiesOfGrowth(KZTypedRawVector<short>(), 7), expected);
    EXPECT_EQ(CapacitiesOfGrowth(KZPointerVector<char *>(), nullptr), expected);
    EXPECT_EQ(CapacitiesOfGrowth(Handles(), new Item(1)), expected);
    EXPECT_EQ(Item::alive, 0);

    struct Case {
        unsigned int size, added, capacity;
    };
    for (Case const & c : {Case{4, 100, 104}, Case{100000, 1, 150000}, Case{100001, 1, 110001}}) {
        KZTypedRawVector<int> vector;
        vector.reserve(c.size);
        EXPECT_EQ(vector.capacity(), c.size);
        auto const * const block = vector.begin();
        vector.reserve(c.size);
        EXPECT_EQ(vector.begin(), block);
        vector.resize(c.size, 5);
        vector.insert(vector.end(), c.added, 6);
        EXPECT_EQ(vector.capacity(), c.capacity) << c.size;
        EXPECT_EQ(vector[c.size - 1] * 10 + vector[c.size], 56);
    }
}

TEST(KZVector, TellsItsLimitsAndRefusesWhatLiesBehindThem) {
    KZRawVector raw(12);
    KZPointerVector<int *> pointers;
    EXPECT_TRUE(raw.begin() == nullptr && raw.size() == 0 && raw.capacity() == 0 && raw.empty());
    EXPECT_EQ(raw.max_size(), 357913941U);
    EXPECT_EQ(KZRawVector(0xFFFFFFFFU).max_size(), 1U);
    EXPECT_EQ(pointers.max_size(), 0xFFFFFFFFU / sizeof(void *));
    raw.pop_back();
    raw.clear();
    EXPECT_EQ(raw.erase(raw.end()), raw.end());
    auto const text = [](auto && action) -> std::string {
        try {
            action();
        } catch (std::out_of_range const & e) {
            return e.what();
        } catch (std::length_error const & e) {
            return e.what();
        }
        return "nothing";
    };
    EXPECT_EQ(text([&] { (void)raw[0]; }), "Invalid KZRawVector subscript!");
    EXPECT_EQ(text([&] { (void)pointers[0xFFFFFFFFU]; }), "Invalid KZVoidPtrVector subscript!");
    pointers.push_back(nullptr);
    EXPECT_EQ(text([&] { pointers.resize(0xFFFFFFFFU); }), "vector<T> too long");
    EXPECT_EQ(text([&] { raw.reserve(357913942U); }), "vector<T> too long");
    EXPECT_EQ(text([&] { raw.insert(raw.begin(), 357913942U, nullptr); }), "vector<T> too long");
    EXPECT_THROW(raw = KZRawVector(8), std::invalid_argument);
}

// Does a long series of random operations on the vector and on a std::vector of numbers; about half of the sources lie in the
// vector itself. `items` are the elements to take, and `numberOf` tells the number of one. After each step the contents are
// equal, and `check` is called with the vector.
template <class Vector>
void Walk(std::array<typename Vector::value_type, 8> const & items, auto numberOf, auto check) {
    using Element = typename Vector::value_type;
    constexpr unsigned int seed = 20260302;
    std::mt19937 random(seed);
    auto const upTo = [&](unsigned int limit) { return static_cast<unsigned int>(random() % (limit + 1U)); };
    Vector vector;
    std::vector<int> model;
    for (int step = 0; step < 4000; ++step) {
        unsigned int const size = vector.size(), at = upTo(size), from = upTo(size),
                           to = from + upTo(size - from);
        auto const place = model.begin() + at;
        // The model's source is copied: the standard doesn't allow it to lie in the vector.
        std::vector<int> const range(model.begin() + from, model.begin() + to);
        Element const & value = size != 0 && upTo(1) ? vector[upTo(size - 1)] : items[upTo(7)];
        int const number = numberOf(value);
        auto * result = vector.begin();
        switch (size > 60 ? 3 : upTo(9)) {
        case 0:
            model.insert(place, number), result = vector.insert(vector.begin() + at, value);
            EXPECT_EQ(result, vector.begin() + at);
            break;
        case 1: model.insert(place, 3, number), vector.insert(vector.begin() + at, 3U, value); break;
        case 2:
            model.insert(place, range.begin(), range.end());
            vector.insert(vector.begin() + at, vector.begin() + from, vector.begin() + to);
            break;
        case 3:
            model.erase(model.begin() + from, model.begin() + to);
            EXPECT_EQ(vector.erase(vector.begin() + from, vector.begin() + to), vector.begin() + from);
            break;
        case 4:
            if (at != size) model.erase(place);
            EXPECT_EQ(vector.erase(vector.begin() + at), vector.begin() + at);
            break;
        case 5: model = range, vector.assign(vector.begin() + from, vector.begin() + to); break;
        case 6: model.assign(at, number), vector.assign(at, value); break;
        case 7: model.resize(from + 2, number), vector.resize(from + 2, value); break;
        case 8:
            if (size != 0) model.pop_back();
            vector.pop_back();
            break;
        default: {
            Vector copy(vector), moved(std::move(copy));
            EXPECT_EQ(copy.capacity(), 0U);
            vector = moved, vector = static_cast<Vector const &>(vector), vector.reserve(size + at);
        }
        }
        std::vector<int> seen;
        std::ranges::transform(vector, std::back_inserter(seen), numberOf);
        ASSERT_EQ(seen, model) << "seed " << seed << " step " << step;
        check(vector);
    }
}

TEST(KZVector, BehavesAsTheStandardVector) {
    auto const areEmpty = [](auto & vector) {
        EXPECT_TRUE(std::all_of(vector.end(), vector.begin() + vector.capacity(),
                                [](auto const & spare) { return spare == 0; }));
    };
    auto const number = [](int element) { return element % 1000; };
    Walk<KZTypedRawVector<int>>({1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007}, number, areEmpty);
    int n[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    auto const target = [](int const * element) { return *element; };
    Walk<KZPointerVector<int *>>({n, n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7}, target, [](auto &) {});

    std::array<Handle, 8> items;
    for (int i = 0; i < 8; ++i) items[static_cast<std::size_t>(i)] = new Item(i);
    Walk<Handles>(
        items, [](Handle const & item) { return item->number; },
        [&](Handles & vector) {
            areEmpty(vector);
            for (Handle const & item : items)
                ASSERT_EQ(*item, 1UL + static_cast<unsigned long>(std::ranges::count(vector, item)))
                    << "exact";
        });
    items = {};
    EXPECT_EQ(Item::alive, 0) << "the vector's destructor releases";
}

TEST(KZSmartPtrVectorMutexedBase, LocksTheEraseOfOneElementOnly) {
    struct Lock {
        void lock() { ++taken, ++held; }
        void unlock() { --held; }
        int taken = 0, held = 0;
    } lock;
    KZSmartPtrVectorMutexedBase<Handle, Lock> vector(lock);
    vector.assign(3U, new Item(1));
    vector.insert(vector.begin(), new Item(2));
    vector.erase(vector.begin() + 2, vector.end());
    EXPECT_EQ(lock.taken, 0);
    vector.erase(vector.begin());
    EXPECT_EQ(lock.taken, 1);
    EXPECT_EQ(lock.held, 0);
    EXPECT_EQ(*vector[0], 1UL);
}

} // namespace
