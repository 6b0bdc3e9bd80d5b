#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "connectivity/random_entries.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetAncestors, KeepsTheLastElementThatHoldsANode)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense1D<unsigned> ancestors;
    ASSERT_EQ(get_ancestors(tria, ancestors), 0);
    EXPECT_TRUE(same(ancestors, {0, 1, 1, 1}));
}

TEST(GetAncestors, MarksANodeThatNoElementNames)
{
    const auto bar = columns<unsigned>({{4, 1}});
    dense1D<unsigned> ancestors;
    ASSERT_EQ(get_ancestors(bar, ancestors), 0);
    EXPECT_TRUE(same(ancestors, {none, 0, none, none, 0}));
}

TEST(GetAncestors, OfNoElementsLeavesTheListAsItWas)
{
    for (const auto& empty :
         {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(0, 3)}) {
        dense1D<unsigned> sized{7, 8};
        EXPECT_EQ(get_ancestors(empty, sized), 0);
        EXPECT_TRUE(same(sized, {7, 8}));
        dense1D<unsigned> unsized;
        EXPECT_EQ(get_ancestors(empty, unsized), 0);
        EXPECT_EQ(unsized.size, 0U);
    }
}

TEST(GetAncestors, RefusesAnyHoleWhereTheListIsEmpty)
{
    dense1D<unsigned> ancestors;
    EXPECT_EQ(get_ancestors(dense2D<unsigned>(3, 2, none), ancestors), -1);
    EXPECT_EQ(ancestors.size, 0U);
    EXPECT_EQ(get_ancestors(columns<unsigned>({{0, 1, 2, 3}, {1, 2, 3, none}}), ancestors), -1);
    EXPECT_EQ(ancestors.size, 0U);
}

TEST(GetAncestors, SkipsHolesWhereTheListIsSized)
{
    dense1D<unsigned> ancestors{70, 71, 72, 73, 74};
    ASSERT_EQ(get_ancestors(columns<unsigned>({{0, 1, 2, none}, {none, none, 1, 4}}), ancestors),
              0);
    EXPECT_TRUE(same(ancestors, {0, 1, 0, 73, 1}));
}

TEST(GetAncestors, SkipsHolesEvenWhereTheListHasAnEntryForThem)
{
    // Only the first three entries stand in memory; no other is touched.
    unsigned entries[] = {70, 71, 72};
    auto ancestors = dense1D<unsigned>::wrap(entries, std::size_t(1) << 32);
    ASSERT_EQ(get_ancestors(columns<unsigned>({{0, none}, {none, 2}}), ancestors), 0);
    EXPECT_TRUE(same(ancestors.sub_vector(0, 3), {0, 71, 1}));
}

TEST(GetAncestors, FillsOnlyTheEntryOfAOneEntryList)
{
    dense1D<unsigned> ancestors{9};
    ASSERT_EQ(get_ancestors(columns<unsigned>({{3, 2, 1}, {1, 0, 2}, {5, 6, 7}}), ancestors), 0);
    EXPECT_TRUE(same(ancestors, {1}));
}

TEST(GetAncestors, WritesThroughEveryViewOfASizedList)
{
    dense1D<unsigned> ancestors{9, 9, 9, 9};
    dense1D<unsigned> middle = ancestors.sub_vector(1, 2);
    ASSERT_EQ(get_ancestors(columns<unsigned>({{0, 5}, {1, 2}}), middle), 0);
    EXPECT_TRUE(same(ancestors, {9, 0, 1, 9}));
}

TEST(GetAncestors, ReadsOnlyTheRowsOfAStridedView)
{
    strided<unsigned> tria(columns<unsigned>({{0, 1, 2}, {2, 1, 3}}), none);
    dense1D<unsigned> ancestors;
    ASSERT_EQ(get_ancestors(tria.view, ancestors), 0);
    EXPECT_TRUE(same(ancestors, {0, 1, 1, 1}));
    EXPECT_TRUE(tria.gaps_untouched());
}

TEST(GetAncestors, NamesForEachNodeTheHighestElementThatHoldsIt)
{
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto m = random_entries(random, 1 + seed % 8, 1 + random() % 50, 60, 0);
        dense1D<unsigned> ancestors;
        ASSERT_EQ(get_ancestors(m, ancestors), 0);
        unsigned largest = 0;
        for (unsigned v = 0; v < 60; ++v) {
            unsigned highest = none;
            for (unsigned j = 0; j < m.cols; ++j)
                for (const unsigned node : m.col(j))
                    if (node == v) highest = j;
            if (highest != none) largest = v;
            if (v < ancestors.size) {
                EXPECT_EQ(ancestors[v], highest) << "node " << v;
            }
        }
        EXPECT_EQ(ancestors.size, largest + 1);
    }
}

TEST(GetAncestors, RefusesHolesBeforeItTakesMemory)
{
    const auto holed = columns<unsigned>({{0, 1, none}});
    dense1D<unsigned> ancestors;
    const allocation::fail_containers none_left(1, true);
    EXPECT_EQ(get_ancestors(holed, ancestors), -1);
    EXPECT_FALSE(none_left.fired());
}

TEST(GetAncestors, StaysEmptyWithoutMemory)
{
    const auto bar = columns<unsigned>({{0, 9}});
    for (const bool onwards : {false, true}) {
        const std::size_t refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto&& run) {
                dense1D<unsigned> ancestors{1, 2, 3};
                ancestors.clear();
                const int code = run([&] { return get_ancestors(bar, ancestors); });
                EXPECT_EQ(code, n == 1 ? -2 : 0);
                EXPECT_EQ(ancestors.size, n == 1 ? 0U : 10U);
            },
            onwards);
        EXPECT_EQ(refused, 1U);
    }
}

TEST(GetAncestors, SizesTheLargestNodeWithoutWrapping)
{
    const auto bar = columns<unsigned>({{0, 0xFFFFFFFE}});
    dense1D<unsigned> ancestors;
    const allocation::fail_containers none_left(1, true);
    EXPECT_EQ(get_ancestors(bar, ancestors), -2);
    EXPECT_GE(allocation::last_request(), 0xFFFFFFFF * sizeof(unsigned));
    EXPECT_EQ(ancestors.size, 0U);
}

TEST(GetAncestors, NeedsNoMemoryWhereTheListIsSized)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense1D<unsigned> ancestors(3);
    const allocation::fail_new no_header(1, true);
    const allocation::fail_containers no_block(1, true);
    EXPECT_EQ(get_ancestors(tria, ancestors), 0);
    EXPECT_FALSE(no_header.fired());
    EXPECT_FALSE(no_block.fired());
}
