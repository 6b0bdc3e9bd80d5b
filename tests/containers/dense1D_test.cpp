#include <kz3/dense1D.h>

#include <limits>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/allocation.h"
#include "support/same.h"

namespace {

using ID_pair = std::pair<unsigned, unsigned>;
constexpr std::size_t most = std::numeric_limits<std::size_t>::max();

template <typename T>
class Dense1DOf : public testing::Test {
};
using element_types = testing::Types<int, unsigned, float, double>;
TYPED_TEST_SUITE(Dense1DOf, element_types);

} // namespace

TYPED_TEST(Dense1DOf, HasItsFieldsInOrder)
{
    const dense1D<TypeParam> v;
    const auto* at = reinterpret_cast<const char*>(&v);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.vec) - at, 0);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.size) - at, 8);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.offset) - at, 16);
    EXPECT_EQ(sizeof(v), 24u);
}

TYPED_TEST(Dense1DOf, StartsEmptyWithAStorageOfItsOwn)
{
    dense1D<TypeParam> v;
    ASSERT_NE(v.vec.get(), nullptr);
    EXPECT_EQ(v.vec->data, nullptr);
    EXPECT_EQ(v.vec->capacity, 0u);
    EXPECT_EQ(v.vec->align_shift, 0);
    EXPECT_EQ(v.vec->not_owned, 0);
    EXPECT_EQ(v.vec->count, 1);
    EXPECT_EQ(v.size, 0u);
    EXPECT_EQ(v.offset, 0u);
    for (const TypeParam& x : v) ADD_FAILURE() << x;
}

TYPED_TEST(Dense1DOf, ConstructsWithASizeAndAValue)
{
    const dense1D<TypeParam> v(5);
    EXPECT_EQ(v.size, 5u);
    EXPECT_GE(v.vec->capacity, 5u);
    const dense1D<TypeParam> w(5, TypeParam(3));
    EXPECT_TRUE(same(w, dense1D<TypeParam>{3, 3, 3, 3, 3}));
    EXPECT_EQ(dense1D<TypeParam>(0, TypeParam(3)).size, 0u);
}

TYPED_TEST(Dense1DOf, ConstructionWithoutMemoryGivesAnEmptyVector)
{
    const allocation::fail_containers none_left(1, true);
    EXPECT_EQ(dense1D<TypeParam>(5).size, 0u);
    EXPECT_EQ(dense1D<TypeParam>(5, TypeParam(3)).size, 0u);
    EXPECT_EQ((dense1D<TypeParam>{1, 2}).size, 0u);
    EXPECT_TRUE(none_left.fired());
}

TYPED_TEST(Dense1DOf, CopyConstructionAndAssignmentShareElements)
{
    dense1D<TypeParam> a{1, 2, 3};
    dense1D<TypeParam> b(a);
    EXPECT_EQ(b.vec.get(), a.vec.get());
    EXPECT_EQ(a.vec->count, 2);
    b[1] = 20;
    EXPECT_EQ(a[1], TypeParam(20));
    dense1D<TypeParam> c{7};
    c = a;
    EXPECT_EQ(a.vec->count, 3);
    EXPECT_EQ(c.size, 3u);
}

TYPED_TEST(Dense1DOf, PushBackDoublesFromRoomForFour)
{
    const std::size_t before = allocation::calls();
    dense1D<TypeParam> v;
    ASSERT_TRUE(v.push_back(TypeParam(0)));
    EXPECT_GE(v.vec->capacity, 4u);
    for (int i = 1; i < 1000; ++i) ASSERT_TRUE(v.push_back(TypeParam(i)));
    EXPECT_EQ(v.size, 1000u);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(v[std::size_t(i)], TypeParam(i));
    EXPECT_EQ(allocation::calls() - before, 9u); // 4, 8, ..., 1024
}

TEST(Dense1D, PushBackDoublesFromTheCapacityLeftByAnOddBlock)
{
    const allocation::misalign odd(4);
    dense1D<unsigned> v;
    ASSERT_TRUE(v.push_back(0));
    EXPECT_EQ(v.vec->capacity, 3u);
    for (unsigned i = 1; i < 4; ++i) ASSERT_TRUE(v.push_back(i));
    EXPECT_EQ(allocation::last_request(), 24u); // the larger of 3 * 2 and 4 + 2 slots
    EXPECT_EQ(v.vec->capacity, 5u);
    EXPECT_TRUE(same(v, dense1D<unsigned>{0, 1, 2, 3}));
}

TEST(Dense1D, PushBackAndViewsHoldPairs)
{
    for (std::size_t by = 0; by < 8; ++by) {
        const allocation::misalign odd(by);
        dense1D<ID_pair> v;
        for (unsigned i = 0; i < 20; ++i) ASSERT_TRUE(v.push_back({i, 100 + i}));
        const auto view = v.sub_vector(5, 3);
        EXPECT_EQ(view[2], ID_pair(7, 107));
        ASSERT_TRUE(v.resize(25, {1, 2}));
        EXPECT_EQ(v[19], ID_pair(19, 119));
        EXPECT_EQ(v[24], ID_pair(1, 2));
    }
}

TEST(Dense1D, PushBackWithoutMemoryLeavesTheViewUnchanged)
{
    dense1D<unsigned> v{1, 2, 3};
    while (v.size < v.vec->capacity) ASSERT_TRUE(v.push_back(9));
    const auto before = duplicate(v);
    const unsigned* data = v.vec->data;
    {
        const allocation::fail_containers refused(1);
        EXPECT_FALSE(v.push_back(4));
    }
    EXPECT_EQ(v.vec->data, data);
    EXPECT_TRUE(same(v, before));
}

TEST(Dense1D, PushBackOnAViewOverwritesWhatStandsBehindIt)
{
    dense1D<unsigned> v{1, 2, 3, 4};
    dense1D<unsigned> front = v.sub_vector(0, 2);
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(front.push_back(30));
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_TRUE(same(front, dense1D<unsigned>{1, 2, 30}));
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 30, 4}));
}

TEST(Dense1D, PushBackThatMovesTheStorageMovesAllViews)
{
    dense1D<unsigned> v{1, 2, 3, 4, 5};
    dense1D<unsigned> rest = v.sub_vector(3, 2);
    while (v.vec->capacity > rest.offset + rest.size) ASSERT_TRUE(rest.push_back(7));
    const unsigned* data = v.vec->data;
    ASSERT_TRUE(rest.push_back(8));
    EXPECT_NE(v.vec->data, data);
    EXPECT_EQ(rest.vec.get(), v.vec.get());
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3, 4, 5}));
    rest[0] = 40;
    EXPECT_EQ(v[3], 40u);
}

TEST(Dense1D, ShallowCopyBecomesAViewAndReleasesItsStorage)
{
    const std::size_t before = allocation::live_blocks();
    dense1D<float> a{1, 2, 3};
    dense1D<float> b{7, 8};
    EXPECT_EQ(allocation::live_blocks(), before + 2);
    EXPECT_TRUE((std::is_void_v<decltype(b.shallow_copy(a))>));
    b.shallow_copy(a.sub_vector(1, 2));
    EXPECT_EQ(allocation::live_blocks(), before + 1);
    EXPECT_EQ(b.offset, 1u);
    EXPECT_EQ(b.size, 2u);
    b[0] = 20;
    EXPECT_EQ(a[1], 20.0f);
    b.shallow_copy(b);
    EXPECT_EQ(b.size, 2u);
    EXPECT_EQ(a.vec->count, 2);
}

TEST(Dense1D, SubVectorsOfSubVectorsAddTheirOffsets)
{
    dense1D<double> v{0, 1, 2, 3, 4, 5};
    dense1D<double> tail = v.sub_vector(2, 4);
    EXPECT_EQ(tail.offset, 2u);
    const dense1D<double> middle = tail.sub_vector(1, 2);
    EXPECT_TRUE(same(middle, dense1D<double>{3, 4}));
    tail[1] = 30;
    EXPECT_EQ(middle[0], 30);
    EXPECT_EQ(v[3], 30);
    const dense1D<double>& constant = v;
    EXPECT_TRUE((std::is_const_v<decltype(constant.sub_vector(0, 1))>));
    EXPECT_FALSE((std::is_const_v<decltype(v.sub_vector(0, 1))>));
}

TEST(Dense1D, ViewsOutliveTheVectorTheyWereTakenFrom)
{
    dense1D<unsigned> view;
    {
        dense1D<unsigned> v{1, 2, 3};
        view.shallow_copy(v.sub_vector(1, 2));
    }
    EXPECT_EQ(view.vec->count, 1);
    EXPECT_TRUE(same(view, dense1D<unsigned>{2, 3}));
}

TEST(Dense1D, CopySharesNothing)
{
    dense1D<unsigned> a{1, 2, 3};
    dense1D<unsigned> b;
    ASSERT_TRUE(b.copy(a));
    EXPECT_NE(b.vec.get(), a.vec.get());
    b[0] = 10;
    EXPECT_EQ(a[0], 1u);
    ASSERT_TRUE(b.copy(a.sub_vector(1, 2)));
    EXPECT_TRUE(same(b, dense1D<unsigned>{2, 3}));
    ASSERT_TRUE(b.copy(dense1D<unsigned>()));
    EXPECT_EQ(b.size, 0u);
}

TEST(Dense1D, CopyUsesAStorageHeldAloneAgain)
{
    const dense1D<unsigned> a{1, 2, 3};
    dense1D<unsigned> b(10, 9u);
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(b.copy(a));
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_TRUE(same(b, a));
}

TEST(Dense1D, CopyIntoASharedStorageLeavesTheOtherViews)
{
    dense1D<unsigned> b{7, 8, 9};
    const dense1D<unsigned> other(b);
    ASSERT_TRUE(b.copy(dense1D<unsigned>{1, 2}));
    EXPECT_TRUE(same(b, dense1D<unsigned>{1, 2}));
    EXPECT_TRUE(same(other, dense1D<unsigned>{7, 8, 9}));
}

TEST(Dense1D, CopyOfAViewOfItselfDetachesIt)
{
    dense1D<unsigned> a{1, 2, 3, 4};
    const dense1D<unsigned> whole(a);
    ASSERT_TRUE(a.copy(a.sub_vector(1, 3)));
    EXPECT_TRUE(same(a, dense1D<unsigned>{2, 3, 4}));
    a[0] = 20;
    EXPECT_TRUE(same(whole, dense1D<unsigned>{1, 2, 3, 4}));
    ASSERT_TRUE(a.copy(a));
    EXPECT_TRUE(same(a, dense1D<unsigned>{20, 3, 4}));
}

TEST(Dense1D, CopyWithoutMemoryLeavesTheTargetUnchanged)
{
    const dense1D<unsigned> a(100, 1u);
    dense1D<unsigned> b{7, 8};
    allocation::sweep<allocation::fail_containers>([&](std::size_t n, auto guarded) {
        EXPECT_EQ(guarded([&] { return b.copy(a); }), n > 1);
        EXPECT_TRUE(same(b, n > 1 ? a : dense1D<unsigned>{7, 8}));
    });
    dense1D<unsigned> c{7, 8};
    {
        const allocation::fail_new refused(1);
        EXPECT_FALSE(c.copy(a));
    }
    EXPECT_TRUE(same(c, dense1D<unsigned>{7, 8}));
}

TEST(Dense1D, AssignmentOfAValueFillsTheViewOnly)
{
    dense1D<unsigned> v{1, 2, 3, 4};
    dense1D<unsigned> middle = v.sub_vector(1, 2);
    EXPECT_EQ((middle = 9u), 9u);
    EXPECT_EQ(middle.size, 2u);
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 9, 9, 4}));
}

TEST(Dense1D, ReserveKeepsSizeAndContent)
{
    dense1D<unsigned> v{1, 2, 3};
    ASSERT_TRUE(v.reserve(50, 1));
    EXPECT_EQ(allocation::last_request(), 208u); // 50 + 2 slots
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3}));
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(v.reserve(50, 1));
    ASSERT_TRUE(v.reserve(1, 1));
    ASSERT_TRUE(v.reserve(0, 1));
    EXPECT_EQ(allocation::calls(), before);
    ASSERT_TRUE(v.reserve(53, 4));
    EXPECT_EQ(allocation::last_request(), 832u); // 52 * 4 slots
}

TEST(Dense1D, ReserveOfNothingOnAnEmptyVectorAllocatesNothing)
{
    dense1D<unsigned> v;
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(v.reserve(0, 1));
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_EQ(v.vec->capacity, 0u);
}

TEST(Dense1D, ReserveCountsFromTheOffset)
{
    dense1D<unsigned> v{1, 2, 3, 4};
    dense1D<unsigned> tail = v.sub_vector(3, 1);
    const std::size_t room = v.vec->capacity - 3;
    const std::size_t before = allocation::calls();
    ASSERT_TRUE(tail.reserve(room, 1));
    EXPECT_EQ(allocation::calls(), before);
    ASSERT_TRUE(tail.reserve(room + 1, 1));
    EXPECT_EQ(allocation::calls(), before + 1);
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3, 4}));
}

TEST(Dense1D, ReserveOfAViewMovesWhatOtherViewsHold)
{
    dense1D<unsigned> v{1, 2, 3, 4, 5, 6, 7, 8};
    dense1D<unsigned> head = v.sub_vector(0, 2);
    ASSERT_TRUE(head.reserve(50, 1));
    EXPECT_EQ(head.size, 2u);
    EXPECT_EQ(head.begin(), v.begin());
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(Dense1D, ReserveRefusesWhatCannotBe)
{
    dense1D<unsigned> v{1, 2, 3};
    dense1D<unsigned> tail = v.sub_vector(2, 1);
    EXPECT_FALSE(tail.reserve(most, 1));
    EXPECT_FALSE(tail.reserve(most - 1, 1));
    EXPECT_FALSE(v.reserve(most / 4, 1));
    {
        const allocation::fail_containers refused(1);
        EXPECT_FALSE(v.reserve(100, 1));
    }
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3}));
}

TEST(Dense1D, ResizeShrinksWithoutTouchingTheStorage)
{
    dense1D<unsigned> v{1, 2, 3, 4};
    const std::size_t before = allocation::calls();
    const unsigned* data = v.vec->data;
    ASSERT_TRUE(v.resize(2));
    EXPECT_EQ(v.size, 2u);
    EXPECT_EQ(v.vec->data, data);
    EXPECT_EQ(allocation::calls(), before);
    ASSERT_TRUE(v.resize(4)); // and what it held is found again
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3, 4}));
}

TEST(Dense1D, ResizeWithoutMemoryTakesTheRoomThereIs)
{
    dense1D<unsigned> v{1, 2, 3};
    const std::size_t capacity = v.vec->capacity;
    const allocation::fail_containers refused(1);
    EXPECT_FALSE(v.resize(100));
    EXPECT_EQ(v.size, capacity);
    EXPECT_EQ(v[2], 3u);
}

TEST(Dense1D, ResizeOfAViewCountsItsRoomFromTheOffset)
{
    dense1D<unsigned> v{1, 2, 3};
    dense1D<unsigned> tail = v.sub_vector(2, 1);
    const allocation::fail_containers refused(1);
    EXPECT_FALSE(tail.resize(100));
    EXPECT_EQ(tail.size, v.vec->capacity - 2);
}

TEST(Dense1D, ResizeWithAValueFillsOnlyNewElements)
{
    dense1D<unsigned> v{1, 2, 3};
    ASSERT_TRUE(v.resize(5, 9));
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3, 9, 9}));
    ASSERT_TRUE(v.resize(1, 7));
    EXPECT_TRUE(same(v, dense1D<unsigned>{1}));
    ASSERT_TRUE(v.resize(3, 7));
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 7, 7}));
    ASSERT_TRUE(v.resize(0, 7));
    EXPECT_EQ(v.size, 0u);
}

TEST(Dense1D, ResizeWithAValueWithoutMemoryChangesNothing)
{
    dense1D<unsigned> v{1, 2, 3};
    const allocation::fail_containers refused(1);
    EXPECT_FALSE(v.resize(100, 9));
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3}));
}

TEST(Dense1D, ClearKeepsTheStorage)
{
    dense1D<unsigned> v{1, 2, 3};
    const unsigned* data = v.vec->data;
    v.clear();
    EXPECT_EQ(v.size, 0u);
    EXPECT_EQ(v.vec->data, data);
}

TEST(Dense1D, ClearHardGivesUpTheMemoryWithoutAskingForAny)
{
    const std::size_t before = allocation::live_blocks();
    dense1D<unsigned> v{1, 2, 3};
    v.shallow_copy(v.sub_vector(1, 2));
    const allocation::fail_new no_new(1, true);
    const allocation::fail_containers no_blocks(1, true);
    v.clear_hard();
    EXPECT_EQ(v.size, 0u);
    EXPECT_EQ(v.offset, 0u);
    EXPECT_EQ(v.vec->capacity, 0u);
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(Dense1D, ClearHardLeavesTheOtherViews)
{
    dense1D<unsigned> v{1, 2, 3};
    const dense1D<unsigned> other = v.sub_vector(1, 2);
    v.clear_hard();
    EXPECT_EQ(v.size, 0u);
    EXPECT_EQ(v.vec->capacity, 0u);
    EXPECT_TRUE(same(other, dense1D<unsigned>{2, 3}));
    EXPECT_EQ(other.vec->count, 1);
    ASSERT_TRUE(v.push_back(5));
    EXPECT_TRUE(same(other, dense1D<unsigned>{2, 3}));
}

TEST(Dense1D, ClearHardOfASharedStorageWithoutMemoryEmptiesTheView)
{
    dense1D<unsigned> v{1, 2, 3};
    const dense1D<unsigned> other(v);
    {
        const allocation::fail_new no_new(1, true);
        v.clear_hard();
    }
    EXPECT_EQ(v.size, 0u);
    EXPECT_TRUE(same(other, dense1D<unsigned>{1, 2, 3}));
}

TEST(Dense1D, WrapUsesTheCallersBlockAndNeverFreesIt)
{
    unsigned block[] = {1, 2, 3};
    const std::size_t before = allocation::live_blocks();
    {
        auto v = dense1D<unsigned>::wrap(block, 3);
        v[1] = 20;
        EXPECT_EQ(v.size, 3u);
        EXPECT_EQ(v.vec->not_owned, 1);
    }
    EXPECT_EQ(block[1], 20u);
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(Dense1D, WrapMovesToAnOwnedBlockWhenItGrows)
{
    unsigned block[] = {1, 2, 3, 77};
    const std::size_t before = allocation::live_blocks();
    {
        auto v = dense1D<unsigned>::wrap(block, 3);
        ASSERT_TRUE(v.push_back(4));
        EXPECT_EQ(v.vec->not_owned, 0);
        EXPECT_EQ(allocation::live_blocks(), before + 1);
        v[0] = 10;
        EXPECT_TRUE(same(v, dense1D<unsigned>{10, 2, 3, 4}));
    }
    EXPECT_EQ(block[0], 1u);
    EXPECT_EQ(block[3], 77u);
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(Dense1D, WrapOfAnOddAddressGrowsToo)
{
    alignas(8) unsigned block[] = {0, 1, 2};
    auto v = dense1D<unsigned>::wrap(block + 1, 2); // 4 past an 8-byte boundary
    ASSERT_TRUE(v.resize(9, 5));
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 5, 5, 5, 5, 5, 5, 5}));
}

TEST(Dense1D, CopyBetweenAVectorAndAWrapOfItsElementsSharesNothing)
{
    dense1D<unsigned> v{1, 2, 3};
    auto w = dense1D<unsigned>::wrap(v.begin() + 1, 2);
    ASSERT_TRUE(w.copy(v.sub_vector(0, 2)));
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3}));
    w[0] = 9;
    EXPECT_EQ(v[0], 1u);

    const auto x = dense1D<unsigned>::wrap(v.begin() + 1, 2);
    dense1D<unsigned> u(v);
    v.clear_hard();
    ASSERT_TRUE(u.copy(x));
    u[0] = 9;
    EXPECT_TRUE(same(u, dense1D<unsigned>{9, 3}));
}

TEST(Dense1D, ClearHardOfAWrapLeavesTheBlockToTheCaller)
{
    unsigned block[] = {1, 2, 3};
    auto v = dense1D<unsigned>::wrap(block, 3);
    v.clear_hard();
    EXPECT_EQ(v.vec->not_owned, 0);
    ASSERT_TRUE(v.push_back(9));
    EXPECT_EQ(block[0], 1u);
}

TEST(Dense1D, ViewsAreTakenAndReleasedOnAnyThread)
{
    dense1D<unsigned> v{1, 2, 3};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&v] {
            for (int i = 0; i < 20000; ++i) {
                const dense1D<unsigned> view(v);
                dense1D<unsigned> part;
                part = view;
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(v.vec->count, 1);
    EXPECT_TRUE(same(v, dense1D<unsigned>{1, 2, 3}));
}
