#include <kz3/lattiq/connectivity.h>

#include <numeric>

#include <gtest/gtest.h>

#include "connectivity/random_entries.h"
#include "plain/connectivity/get_node_graph.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetNodeGraph, RelatesAllNodesOfATriangle)
{
    const auto tria = columns<unsigned>({{0, 1, 2}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_node_graph(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 2, 4, 6}));
    EXPECT_TRUE(same(values, {1, 2, 0, 2, 0, 1}));
}

TEST(GetNodeGraph, ListsNeighboursInOrderOfDiscovery)
{
    const auto tria = columns<unsigned>({{5, 0, 1}, {1, 2, 0}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_node_graph(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 3, 6, 8, 8, 8, 10}));
    EXPECT_TRUE(same(values, {5, 1, 2, 5, 0, 2, 1, 0, 0, 1}));
}

TEST(GetNodeGraph, MakesAHexahedronAClique)
{
    const auto hexa = columns<unsigned>({{7, 6, 5, 4, 3, 2, 1, 0}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_node_graph(hexa, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 7, 14, 21, 28, 35, 42, 49, 56}));
    EXPECT_TRUE(same(values.sub_vector(21, 7), {7, 6, 5, 4, 2, 1, 0}));
}

TEST(GetNodeGraph, OfNoElementsIsNoRow)
{
    for (const auto& empty :
         {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(0, 3)}) {
        dense1D<unsigned> starts{7, 8, 9};
        dense1D<unsigned> values{5};
        ASSERT_EQ(get_node_graph(empty, starts, values), 0);
        EXPECT_TRUE(same(starts, {0}));
        EXPECT_EQ(values.size, 0U);
    }
}

TEST(GetNodeGraph, OfHolesAloneIsOneEmptyRow)
{
    const dense2D<unsigned> holes(3, 2, none);
    dense1D<unsigned> starts, values{5};
    ASSERT_EQ(get_node_graph(holes, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 0}));
    EXPECT_EQ(values.size, 0U);
}

TEST(GetNodeGraph, SkipsHolesAndGivesAnUnnamedNodeAnEmptyRow)
{
    const auto mixed = columns<unsigned>({{none, 3, 0}, {3, none, 4}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_node_graph(mixed, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 1, 1, 3, 4}));
    EXPECT_TRUE(same(values, {3, 0, 4, 3}));
}

TEST(GetNodeGraph, ListsARepeatedNodeOnceInEachRow)
{
    const auto tria = columns<unsigned>({{1, 2, 1}, {0, 1, 1}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_node_graph(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 3, 4}));
    EXPECT_TRUE(same(values, {1, 2, 0, 1}));
}

TEST(GetNodeGraph, ReadsOnlyTheRowsOfAStridedView)
{
    strided<unsigned> bar(columns<unsigned>({{0, 1}, {1, 2}}));
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_node_graph(bar.view, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 3, 4}));
    EXPECT_TRUE(same(values, {1, 0, 2, 1}));
    EXPECT_TRUE(bar.gaps_untouched());
}

TEST(GetNodeGraph, AgreesWithThePlainVersion)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto m = random_entries(random, 1 + seed % 8, random() % 50,
                                      1 + unsigned(random()) % 60, seed % 5);
        const plain::relation expected = plain::get_node_graph(m);
        dense1D<unsigned> starts, values;
        ASSERT_EQ(get_node_graph(m, starts, values), 0);
        EXPECT_TRUE(same(starts, list(expected.starts)));
        EXPECT_TRUE(same(values, list(expected.values)));
    }
}

TEST(GetNodeGraph, SizesTheLargestNodeWithoutWrapping)
{
    const auto bar = columns<unsigned>({{0, 0xFFFFFFFE}});
    dense1D<unsigned> starts{5}, values{5};
    const allocation::fail_containers none_left(1, true);
    EXPECT_EQ(get_node_graph(bar, starts, values), -199);
    EXPECT_GE(allocation::last_request(), (std::size_t(1) << 32) * sizeof(unsigned));
    EXPECT_EQ(starts.size, 0U);
    EXPECT_EQ(values.size, 0U);
}

TEST(GetNodeGraph, RefusesMoreNeighboursThanPositions)
{
    // A clique of 2^16 + 1 nodes has 2^32 + 2^16 ordered pairs.
    dense2D<unsigned> clique(65537, 1);
    std::iota(clique.col(0).begin(), clique.col(0).end(), 0U);
    dense1D<unsigned> starts{1}, values{1};
    EXPECT_EQ(get_node_graph(clique, starts, values), -199);
    EXPECT_EQ(starts.size, 0U);
    EXPECT_EQ(values.size, 0U);
}

TEST(GetNodeGraph, LeavesBothResultsEmptyWithoutMemory)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 30}});
    const std::size_t live = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const std::size_t refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto&& run) {
                dense1D<unsigned> starts{1};
                dense1D<unsigned> values{1};
                const int code = run([&] { return get_node_graph(tria, starts, values); });
                if (n > 5) {
                    EXPECT_EQ(code, 0);
                    return;
                }
                EXPECT_EQ(code, -199) << n;
                EXPECT_EQ(starts.size, 0U) << n;
                EXPECT_EQ(values.size, 0U) << n;
                if (n == 5) {
                    EXPECT_EQ(starts.vec->capacity, 0U);
                }
            },
            onwards);
        EXPECT_EQ(refused, 5U);
    }
    EXPECT_EQ(allocation::live_blocks(), live);
}

TEST(GetNodeGraph, ThrowsWithoutLeakWhereAWorkListHasNoHeader)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    const std::size_t live = allocation::live_blocks();
    const std::size_t refused =
        allocation::sweep<allocation::fail_new>([&](std::size_t n, auto&& run) {
            dense1D<unsigned> starts{1};
            dense1D<unsigned> values{1};
            if (n > 3) {
                EXPECT_EQ(run([&] { return get_node_graph(tria, starts, values); }), 0);
                return;
            }
            EXPECT_THROW(run([&] { return get_node_graph(tria, starts, values); }), std::bad_alloc);
            EXPECT_EQ(starts.size, 0U);
            EXPECT_EQ(values.size, 0U);
        });
    EXPECT_EQ(refused, 3U);
    EXPECT_EQ(allocation::live_blocks(), live);
}
