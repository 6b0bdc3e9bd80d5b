#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "connectivity/random_entries.h"
#include "plain/connectivity/get_connected_elements.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

TEST(GetConnectedElements, GivesEachNodeOfATriangleTheTriangle)
{
    const auto tria = columns<unsigned>({{0, 1, 2}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_connected_elements(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 2, 3}));
    EXPECT_TRUE(same(values, {0, 0, 0}));
}

TEST(GetConnectedElements, ListsElementsInRisingOrder)
{
    const auto tria = columns<unsigned>({{4, 2, 0}, {0, 1, 2}, {2, 1, 4}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_connected_elements(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 2, 4, 7, 7, 9}));
    EXPECT_TRUE(same(values, {0, 1, 1, 2, 0, 1, 2, 0, 2}));
}

TEST(GetConnectedElements, OfNoElementsIsNoRow)
{
    for (const auto& empty :
         {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(0, 3)}) {
        dense1D<unsigned> starts{7, 8, 9};
        dense1D<unsigned> values{5};
        ASSERT_EQ(get_connected_elements(empty, starts, values), 0);
        EXPECT_TRUE(same(starts, {0}));
        EXPECT_EQ(values.size, 0U);
    }
}

TEST(GetConnectedElements, OfHolesAloneIsOneEmptyRow)
{
    const dense2D<unsigned> holes(3, 2, none);
    dense1D<unsigned> starts, values{5};
    ASSERT_EQ(get_connected_elements(holes, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 0}));
    EXPECT_EQ(values.size, 0U);
}

TEST(GetConnectedElements, SkipsHolesAnywhereInAColumn)
{
    const auto mixed = columns<unsigned>({{0, 1, 2, none}, {none, 2, none, 3}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_connected_elements(mixed, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 2, 4, 5}));
    EXPECT_TRUE(same(values, {0, 0, 0, 1, 1}));
}

TEST(GetConnectedElements, GivesANodeThatNoElementNamesAnEmptyRow)
{
    const auto bar = columns<unsigned>({{1, 4}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_connected_elements(bar, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 0, 1, 1, 1, 2}));
    EXPECT_TRUE(same(values, {0, 0}));
}

TEST(GetConnectedElements, ListsADegenerateElementTwiceForItsRepeatedNode)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {1, 2, 1}});
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_connected_elements(tria, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 4, 6}));
    EXPECT_TRUE(same(values, {0, 0, 1, 1, 0, 1}));
}

TEST(GetConnectedElements, ReadsOnlyTheRowsOfAStridedView)
{
    strided<unsigned> tria(columns<unsigned>({{0, 1, 2}, {2, 1, 3}}));
    dense1D<unsigned> starts, values;
    ASSERT_EQ(get_connected_elements(tria.view, starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 3, 5, 6}));
    EXPECT_TRUE(same(values, {0, 0, 1, 0, 1, 1}));
    EXPECT_TRUE(tria.gaps_untouched());
}

TEST(GetConnectedElements, ReplacesLongerResults)
{
    dense1D<unsigned> starts(20, 77U);
    dense1D<unsigned> values(20, 77U);
    ASSERT_EQ(get_connected_elements(columns<unsigned>({{1, 0}}), starts, values), 0);
    EXPECT_TRUE(same(starts, {0, 1, 2}));
    EXPECT_TRUE(same(values, {0, 0}));
}

TEST(GetConnectedElements, AgreesWithThePlainVersion)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto m = random_entries(random, 1 + seed % 8, random() % 50,
                                      1 + unsigned(random()) % 60, seed % 5);
        const plain::relation expected = plain::get_connected_elements(m);
        dense1D<unsigned> starts, values;
        ASSERT_EQ(get_connected_elements(m, starts, values), 0);
        EXPECT_TRUE(same(starts, list(expected.starts)));
        EXPECT_TRUE(same(values, list(expected.values)));
        const strided<unsigned> gapped(m);
        ASSERT_EQ(get_connected_elements(gapped.view, starts, values), 0);
        EXPECT_TRUE(same(starts, list(expected.starts)));
        EXPECT_TRUE(same(values, list(expected.values)));
    }
}

TEST(GetConnectedElements, SizesTheLargestNodeWithoutWrapping)
{
    const auto bar = columns<unsigned>({{0, 0xFFFFFFFE}});
    dense1D<unsigned> starts, values{5};
    const allocation::fail_containers none_left(1, true);
    EXPECT_EQ(get_connected_elements(bar, starts, values), -199);
    EXPECT_GE(allocation::last_request(), (std::size_t(1) << 32) * sizeof(unsigned));
    EXPECT_EQ(starts.size, 0U);
    EXPECT_EQ(values.size, 0U);
}

TEST(GetConnectedElements, RefusesMoreEntriesThanPositions)
{
    // One column of storage, seen 65536 times.
    std::vector<unsigned> nodes(65536, 1);
    const auto tall = dense2D<unsigned>::wrap(nodes.data(), nodes.size(), 65536, 0);
    dense1D<unsigned> starts{1}, values{1};
    EXPECT_EQ(get_connected_elements(tall, starts, values), -199);
    EXPECT_EQ(starts.size, 0U);
    EXPECT_EQ(values.size, 0U);
}

TEST(GetConnectedElements, LeavesBothResultsEmptyWithoutMemory)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 30}});
    for (const bool onwards : {false, true}) {
        const std::size_t refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto&& run) {
                dense1D<unsigned> starts{1};
                dense1D<unsigned> values{1};
                const int code = run([&] { return get_connected_elements(tria, starts, values); });
                if (n > 2) {
                    EXPECT_EQ(code, 0);
                    return;
                }
                EXPECT_EQ(code, -199) << n;
                EXPECT_EQ(starts.size, 0U) << n;
                EXPECT_EQ(values.size, 0U) << n;
                // What was sized before the second refusal is given up.
                EXPECT_EQ(starts.vec->capacity, n == 1 ? 4U : 0U);
            },
            onwards);
        EXPECT_EQ(refused, 2U);
    }
}

TEST(GetConnectedElements, ReportsThatTheSingleStartCouldNotBeSized)
{
    dense1D<unsigned> starts, values;
    const allocation::fail_containers none_left(1);
    EXPECT_EQ(get_connected_elements(dense2D<unsigned>(), starts, values), -199);
    EXPECT_EQ(starts.size, 0U);
}

TEST(GetConnectedElements, NeedsNoMemoryButItsResults)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense1D<unsigned> starts(5), values(6);
    const std::size_t before = allocation::calls();
    const allocation::fail_new none_left(1, true);
    EXPECT_EQ(get_connected_elements(tria, starts, values), 0);
    EXPECT_FALSE(none_left.fired());
    EXPECT_EQ(allocation::calls(), before);
}
