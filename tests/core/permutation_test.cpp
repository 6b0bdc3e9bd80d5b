#include <kz3/lattiq/core.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "plain/core/permutation.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

template <typename T>
class Permutation : public testing::Test {
};
using value_types = testing::Types<unsigned, double, float>;
TYPED_TEST_SUITE(Permutation, value_types);

} // namespace

TYPED_TEST(Permutation, MovesElementsToTheirNewPlaces)
{
    dense1D<TypeParam> values{10, 20, 30};
    permutation(values, dense1D<unsigned>{2, 0, 1});
    EXPECT_TRUE(same(values, dense1D<TypeParam>{20, 30, 10}));
}

TYPED_TEST(Permutation, LeavesPlacesThatNothingAddresses)
{
    dense1D<TypeParam> values{10, 20, 30};
    permutation(values, dense1D<unsigned>{1});
    EXPECT_TRUE(same(values, dense1D<TypeParam>{10, 10, 30}));
}

TYPED_TEST(Permutation, TheLastOfSeveralThatAddressAPlaceWins)
{
    dense1D<TypeParam> values{10, 20, 30, 40};
    permutation(values, dense1D<unsigned>{3, 3, 3});
    EXPECT_TRUE(same(values, dense1D<TypeParam>{10, 20, 30, 30}));
}

TYPED_TEST(Permutation, AnElementThatStaysDoesNotWinBackItsPlace)
{
    dense1D<TypeParam> values{10, 20, 30};
    permutation(values, dense1D<unsigned>{1, 1, 1});
    EXPECT_TRUE(same(values, dense1D<TypeParam>{10, 30, 30}));
    dense1D<TypeParam> again{10, 20, 30};
    permutation(again, dense1D<unsigned>{1, 1, 2});
    EXPECT_TRUE(same(again, dense1D<TypeParam>{10, 10, 30}));
}

TYPED_TEST(Permutation, OverlooksHolesAndPlacesBeyondTheEnd)
{
    dense1D<TypeParam> values{10, 20, 30};
    permutation(values, dense1D<unsigned>{none, 3, 0});
    EXPECT_TRUE(same(values, dense1D<TypeParam>{30, 20, 30}));
}

TYPED_TEST(Permutation, OverlooksTheEndOfALongerTable)
{
    dense1D<TypeParam> values{10, 20};
    permutation(values, dense1D<unsigned>{1, 0, 0, 1});
    EXPECT_TRUE(same(values, dense1D<TypeParam>{20, 10}));
}

TYPED_TEST(Permutation, AcceptsEmptyInput)
{
    dense1D<TypeParam> values;
    permutation(values, dense1D<unsigned>{1, 0});
    EXPECT_EQ(values.size, 0u);
    dense1D<TypeParam> kept{10, 20};
    permutation(kept, dense1D<unsigned>());
    EXPECT_TRUE(same(kept, dense1D<TypeParam>{10, 20}));
}

TYPED_TEST(Permutation, WritesThroughTheCallersView)
{
    dense1D<TypeParam> values{1, 10, 20, 30, 2};
    dense1D<TypeParam> middle = values.sub_vector(1, 3);
    permutation(middle, dense1D<unsigned>{2, 0, 1});
    EXPECT_TRUE(same(values, dense1D<TypeParam>{1, 20, 30, 10, 2}));
    EXPECT_EQ(middle.vec.get(), values.vec.get());
}

TYPED_TEST(Permutation, LeavesTheValuesWhereMemoryIsExhausted)
{
    const dense1D<unsigned> perm{2, 0, 1};
    const std::size_t before = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const std::size_t runs = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto guarded) {
                dense1D<TypeParam> values{10, 20, 30};
                guarded([&] { permutation(values, perm); });
                EXPECT_TRUE(same(values, n == 1 ? dense1D<TypeParam>{10, 20, 30}
                                                : dense1D<TypeParam>{20, 30, 10}));
            },
            onwards);
        EXPECT_EQ(runs, 1u);
    }
    const std::size_t runs =
        allocation::sweep<allocation::fail_new>([&](std::size_t, auto guarded) {
            dense1D<TypeParam> values{10, 20, 30};
            bool moved = true;
            guarded([&] {
                const auto held = values; // a call that fails must not depend on being alone
                try {
                    permutation(values, perm);
                } catch (const std::bad_alloc&) {
                    moved = false;
                }
            });
            if (!moved || values[0] == TypeParam(10))
                EXPECT_TRUE(same(values, dense1D<TypeParam>{10, 20, 30}));
            else
                EXPECT_TRUE(same(values, dense1D<TypeParam>{20, 30, 10}));
        });
    EXPECT_GE(runs, 1u);
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(PermutationOfItself, ReadsTheTableAsItWas)
{
    dense1D<unsigned> values{2, 0, 1};
    permutation(values, values);
    // [2] becomes 2, [0] becomes 0, [1] becomes 1.
    EXPECT_TRUE(same(values, dense1D<unsigned>{0, 1, 2}));
}

TEST(PermutationOfRandomTables, IsUndoneByTheInverse)
{
    std::mt19937 random(7);
    for (size_t n = 1; n < 60; ++n) {
        dense1D<unsigned> perm(n);
        std::iota(perm.begin(), perm.end(), 0u);
        std::shuffle(perm.begin(), perm.end(), random);
        dense1D<unsigned> inverse(n);
        for (size_t i = 0; i < n; ++i) inverse[perm[i]] = unsigned(i);
        dense1D<double> values(n);
        for (double& x : values) x = double(random());
        const auto before = duplicate(values);
        permutation(values, perm);
        for (size_t i = 0; i < n; ++i) ASSERT_EQ(values[perm[i]], before[i]);
        permutation(values, inverse);
        ASSERT_TRUE(same(values, before));
    }
}

TEST(PermutationOfItself, ReadsATableThatOverlapsTheValuesAsItWas)
{
    std::mt19937 random(11);
    for (const size_t n : {1U, 2U, 3U, 17U, 200U})
        for (size_t gap = 0; gap <= n; gap += 1 + n / 5)
            for (const bool table_first : {false, true}) {
                dense1D<unsigned> both(n + gap);
                for (unsigned& x : both) x = unsigned(random() % (n + 2));
                auto expected = duplicate(both);
                const auto run = [&](dense1D<unsigned>& whole, auto permute) {
                    auto values = whole.sub_vector(table_first ? gap : 0, n);
                    permute(values, whole.sub_vector(table_first ? 0 : gap, n));
                };
                run(both, [](auto& v, const auto& p) { permutation(v, p); });
                run(expected, [](auto& v, const auto& p) { plain::permutation(v, p); });
                EXPECT_TRUE(same(both, expected)) << n << " with gap " << gap;
            }
}

TEST(PermutationOfItself, ReadsATableWrappedAroundTheSameElementsAsItWas)
{
    unsigned elements[] = {3, 0, 1, 2, 1};
    auto values = dense1D<unsigned>::wrap(elements, 4);
    const auto table = dense1D<unsigned>::wrap(elements + 1, 4);
    permutation(values, table);
    // [3] becomes 0, [0] becomes 1, [1] becomes 2 and [2] becomes 1, which wins.
    EXPECT_TRUE(same(values, dense1D<unsigned>{3, 2, 1, 2}));
}

TYPED_TEST(Permutation, AgreesWithTheStepsOneByOne)
{
    std::mt19937 random(5);
    for (const size_t n : {1U, 2U, 5U, 64U, 1000U})
        for (const size_t entries : {size_t(0), n / 2, n, n + 3})
            for (int turn = 0; turn < 5; ++turn) {
                dense1D<unsigned> perm(entries);
                for (unsigned& p : perm) // repeats, holes and places beyond the end
                    p = unsigned(random() % 8 == 0 ? none - random() % 2 : random() % (n + 2));
                dense1D<TypeParam> values(n);
                for (auto& x : values) x = TypeParam(random());
                auto expected = duplicate(values);
                permutation(values, perm);
                plain::permutation(expected, perm);
                ASSERT_TRUE(same(values, expected)) << n << ", " << entries;
            }
}
