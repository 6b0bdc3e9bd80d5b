#include <kz3/vector_num.h>

#include <array>
#include <cstdint>
#include <limits>
#include <utility>

#include <gtest/gtest.h>
#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

#include "support/allocation.h"

using kz3::dense1D;
using kz3::dense2D;
using kz3::vector_num;

namespace {

using ID_pair = std::pair<unsigned, unsigned>;
constexpr std::size_t most = std::numeric_limits<std::size_t>::max();

template <typename T>
bool aligned(const vector_num<T>& v)
{
    return reinterpret_cast<std::uintptr_t>(v.data) % 8 == 0;
}

template <typename T>
void expect_same_storage(const vector_num<T>& v, const T* data, std::size_t capacity)
{
    EXPECT_EQ(v.data, data);
    EXPECT_EQ(v.capacity, capacity);
}

// Grows from nothing under every alignment of the block; bytes asked for and slots in the end.
template <typename T>
void expect_growth(std::size_t needed, std::size_t bytes, std::array<std::size_t, 8> slots)
{
    for (std::size_t by = 0; by < 8; ++by) {
        const allocation::misalign odd(by);
        const std::size_t before = allocation::live_blocks();
        {
            vector_num<T> v;
            ASSERT_TRUE(v.grow(needed, 0, 1));
            EXPECT_EQ(allocation::last_request(), bytes);
            EXPECT_EQ(v.capacity, slots[by]) << "block " << by << " past 8 bytes";
            EXPECT_EQ(v.align_shift, (8 - by) % 8);
            EXPECT_EQ(v.not_owned, 0);
            EXPECT_TRUE(aligned(v));
            EXPECT_GE(v.capacity, needed);
            EXPECT_EQ(allocation::live_blocks(), before + 1);
        }
        EXPECT_EQ(allocation::live_blocks(), before);
    }
}

} // namespace

TEST(VectorNum, HasItsFieldsInOrder)
{
    const vector_num<double> v;
    const auto* at = reinterpret_cast<const char*>(&v);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.data) - at, 16);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.capacity) - at, 24);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.align_shift) - at, 32);
    EXPECT_EQ(reinterpret_cast<const char*>(&v.not_owned) - at, 33);
    EXPECT_EQ(sizeof(v.align_shift), 1u);
    EXPECT_EQ(sizeof(v.not_owned), 1u);
    EXPECT_EQ(sizeof(v), 40u);
    EXPECT_TRUE((std::is_base_of_v<kz3::ref_counted, vector_num<double>>));
}

TEST(VectorNum, StartsWithNothingAllocated)
{
    const std::size_t before = allocation::calls();
    const vector_num<unsigned> v;
    EXPECT_EQ(v.data, nullptr);
    EXPECT_EQ(v.capacity, 0u);
    EXPECT_EQ(v.align_shift, 0);
    EXPECT_EQ(v.not_owned, 0);
    EXPECT_EQ(v.count, 0);
    EXPECT_EQ(allocation::calls(), before);
}

TEST(VectorNum, AsksForSixteenBytesForOneSlotOfFour)
{
    vector_num<unsigned> v;
    ASSERT_TRUE(v.grow(1, 0, 1));
    EXPECT_EQ(allocation::last_request(), 16u);
    EXPECT_EQ(v.capacity, 4u);

    const allocation::misalign odd(4);
    vector_num<unsigned> w;
    ASSERT_TRUE(w.grow(1, 0, 1));
    EXPECT_EQ(allocation::last_request(), 16u);
    EXPECT_EQ(w.capacity, 3u);
    EXPECT_EQ(w.align_shift, 4);
}

TEST(VectorNum, CountsUsableSlotsForEveryAlignmentOfTheBlock)
{
    expect_growth<char>(1, 8, {8, 1, 2, 3, 4, 5, 6, 7});
    expect_growth<char>(10, 17, {17, 10, 11, 12, 13, 14, 15, 16});
    expect_growth<short>(1, 10, {5, 1, 2, 2, 3, 3, 4, 4});
    expect_growth<short>(10, 28, {14, 10, 11, 11, 12, 12, 13, 13});
    expect_growth<unsigned>(1, 16, {4, 2, 2, 2, 3, 3, 3, 3});
    expect_growth<unsigned>(10, 48, {12, 10, 10, 10, 11, 11, 11, 11});
    expect_growth<float>(3, 20, {5, 3, 3, 3, 4, 4, 4, 4});
    expect_growth<double>(1, 32, {4, 3, 3, 3, 3, 3, 3, 3});
    expect_growth<double>(10, 88, {11, 10, 10, 10, 10, 10, 10, 10});
    expect_growth<ID_pair>(1, 32, {4, 3, 3, 3, 3, 3, 3, 3});
    expect_growth<ID_pair*>(4, 40, {5, 4, 4, 4, 4, 4, 4, 4});
    expect_growth<dense1D<ID_pair>>(1, 96, {4, 3, 3, 3, 3, 3, 3, 3});
    expect_growth<dense2D<unsigned>>(1, 192, {4, 3, 3, 3, 3, 3, 3, 3});
    expect_growth<dense2D<unsigned>>(10, 528, {11, 10, 10, 10, 10, 10, 10, 10});
}

TEST(VectorNum, GrowsByTheFactorWhereThatIsMore)
{
    vector_num<unsigned> v;
    ASSERT_TRUE(v.grow(10, 0, 1));
    ASSERT_EQ(v.capacity, 12u);
    ASSERT_TRUE(v.grow(13, 12, 2));
    EXPECT_EQ(allocation::last_request(), 96u); // 12 * 2 slots
    EXPECT_EQ(v.capacity, 24u);
    ASSERT_TRUE(v.grow(100, 24, 2));
    EXPECT_EQ(allocation::last_request(), 408u); // 100 + 2 slots
    ASSERT_TRUE(v.grow(1, 0, 1));
    EXPECT_EQ(allocation::last_request(), 408u); // never fewer than before
}

TEST(VectorNum, KeepsTheLeadingElementsAcrossAlignments)
{
    for (std::size_t from = 0; from < 8; ++from)
        for (std::size_t to = 0; to < 8; ++to) {
            vector_num<short> v;
            {
                const allocation::misalign odd(from);
                ASSERT_TRUE(v.grow(5, 0, 1));
            }
            for (short i = 0; i < 5; ++i) v.data[i] = short(100 + i);
            const allocation::misalign odd(to);
            ASSERT_TRUE(v.grow(50, 5, 1));
            for (short i = 0; i < 5; ++i) EXPECT_EQ(v.data[i], 100 + i);
        }
}

TEST(VectorNum, FreesTheOldBlockAfterGrowth)
{
    const std::size_t before = allocation::live_blocks();
    {
        vector_num<double> v;
        for (std::size_t n = 1; n < 100; n += 7) {
            ASSERT_TRUE(v.grow(n, v.capacity, 1));
            EXPECT_EQ(allocation::live_blocks(), before + 1);
        }
    }
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(VectorNum, ConstructsWithAValueInEverySlot)
{
    const vector_num<unsigned> v(5, 7u);
    EXPECT_EQ(allocation::last_request(), 28u); // 5 + 2 slots
    EXPECT_EQ(v.capacity, 7u);
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(v.data[i], 7u);
    EXPECT_EQ(v.count, 0);
}

TEST(VectorNum, ConstructsWithRoomForFourEvenForNoElements)
{
    const vector_num<unsigned> v(0, 7u);
    EXPECT_EQ(allocation::last_request(), 16u);
    EXPECT_EQ(v.capacity, 4u);
}

TEST(VectorNum, ConstructionWithoutMemoryLeavesItEmpty)
{
    const allocation::fail_containers none_left(1);
    const vector_num<unsigned> v(5, 7u);
    EXPECT_TRUE(none_left.fired());
    EXPECT_EQ(v.data, nullptr);
    EXPECT_EQ(v.capacity, 0u);
}

TEST(VectorNum, RefusesOverflowWithoutAskingTheAllocator)
{
    vector_num<unsigned> v;
    ASSERT_TRUE(v.grow(4, 0, 1));
    v.data[3] = 33;
    const unsigned* data = v.data;
    const std::size_t capacity = v.capacity;
    const std::size_t before = allocation::calls();
    EXPECT_FALSE(v.grow(most, capacity, 1));
    EXPECT_FALSE(v.grow(most - 1, capacity, 1));
    EXPECT_FALSE(v.grow(most / 4 - 1, capacity, 1)); // the slack takes it over
    EXPECT_FALSE(v.grow(most / 4, capacity, 1));
    EXPECT_FALSE(v.grow(1, capacity, most / 4));
    EXPECT_FALSE(v.grow(1, capacity, most));
    EXPECT_EQ(allocation::calls(), before);
    expect_same_storage(v, data, capacity);
    EXPECT_EQ(v.data[3], 33u);
}

TEST(VectorNum, AsksForTheLargestSizeThatDoesNotOverflow)
{
    vector_num<unsigned> v;
    const std::size_t before = allocation::calls();
    const allocation::fail_containers refused(1);
    EXPECT_FALSE(v.grow(most / 4 - 2, 0, 1));
    EXPECT_EQ(allocation::calls(), before + 1);
    EXPECT_EQ(allocation::last_request(), most / 4 * 4);
}

TEST(VectorNum, FailedGrowthChangesNothing)
{
    vector_num<unsigned> v;
    ASSERT_TRUE(v.grow(4, 0, 1));
    for (unsigned i = 0; i < 4; ++i) v.data[i] = 10 + i;
    const unsigned* data = v.data;
    const std::size_t live = allocation::live_blocks();
    {
        const allocation::fail_containers refused(1);
        EXPECT_FALSE(v.grow(100, 4, 2));
    }
    expect_same_storage(v, data, 6);
    EXPECT_EQ(v.align_shift, 0);
    EXPECT_EQ(allocation::live_blocks(), live);
    for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(v.data[i], 10 + i);
}

TEST(VectorNum, NeverFreesABlockItDoesNotOwn)
{
    unsigned block[3] = {1, 2, 3};
    const std::size_t before = allocation::live_blocks();
    {
        vector_num<unsigned> v;
        v.data = block;
        v.capacity = 3;
        v.not_owned = 1;
    }
    vector_num<unsigned> v;
    v.data = block;
    v.capacity = 3;
    v.not_owned = 1;
    ASSERT_TRUE(v.grow(4, 3, 1));
    EXPECT_NE(v.data, block);
    EXPECT_EQ(v.not_owned, 0);
    EXPECT_EQ(v.data[2], 3u);
    EXPECT_EQ(block[0], 1u);
    EXPECT_EQ(allocation::live_blocks(), before + 1);
}

TEST(VectorNum, DestroysEveryConstructedSlot)
{
    const dense2D<unsigned> shared(2, 2, 5u);
    {
        vector_num<dense2D<unsigned>> v;
        ASSERT_TRUE(v.grow(3, 0, 1));
        for (std::size_t i = 0; i < v.capacity; ++i) {
            EXPECT_TRUE(v.data[i].empty());
            EXPECT_EQ(v.data[i].vec->count, 1);
            v.data[i] = shared;
        }
        EXPECT_EQ(shared.vec->count, std::int32_t(v.capacity) + 1);
        ASSERT_TRUE(v.grow(20, 2, 1));
        EXPECT_EQ(shared.vec->count, 3);
        EXPECT_EQ(v.data[1](1, 1), 5u);
        for (std::size_t i = 2; i < v.capacity; ++i) EXPECT_TRUE(v.data[i].empty());
    }
    EXPECT_EQ(shared.vec->count, 1);
}

TEST(VectorNum, FillsSlotsOfContainersWithViews)
{
    const dense2D<unsigned> shared(2, 2, 5u);
    {
        const vector_num<dense2D<unsigned>> v(3, shared);
        EXPECT_EQ(shared.vec->count, 4);
    }
    EXPECT_EQ(shared.vec->count, 1);
}

TEST(VectorNum, FailureInsideAnElementsConstructorChangesNothing)
{
    const dense2D<unsigned> shared(2, 2, 5u);
    const std::size_t before = allocation::live_blocks();
    const std::size_t runs =
        allocation::sweep<allocation::fail_new>([&](std::size_t, auto guarded) {
            vector_num<dense2D<unsigned>> v;
            ASSERT_TRUE(v.grow(3, 0, 1));
            for (std::size_t i = 0; i < v.capacity; ++i) v.data[i] = shared;
            const auto* data = v.data;
            const bool grown = guarded([&] { return v.grow(10, v.capacity, 1); });
            EXPECT_EQ(grown, v.data != data);
            EXPECT_EQ(v.capacity, grown ? 11u : 4u);
            for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(v.data[i](1, 1), 5u);
            EXPECT_EQ(shared.vec->count, 5);
        });
    EXPECT_EQ(runs, 7u); // the slots behind the four that are kept
    EXPECT_EQ(allocation::live_blocks(), before);
    EXPECT_EQ(shared.vec->count, 1);
}

TEST(VectorNum, ReleaseGivesUpTheBlock)
{
    const std::size_t before = allocation::live_blocks();
    vector_num<double> v(3, 1.0);
    EXPECT_EQ(allocation::live_blocks(), before + 1);
    v.release();
    EXPECT_EQ(allocation::live_blocks(), before);
    expect_same_storage<double>(v, nullptr, 0);
    ASSERT_TRUE(v.grow(1, 0, 1));
    EXPECT_EQ(v.capacity, 4u);
}
