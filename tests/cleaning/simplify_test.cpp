#include <random>

#include <kz3/lattiq/cleaning.h>

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::simplify;

// Node j stands at (j, 10 * j).
dense2D<double> points(std::size_t n)
{
    dense2D<double> pos(2, n);
    for (std::size_t j = 0; j < n; ++j) {
        pos(0, j) = double(j);
        pos(1, j) = 10.0 * double(j);
    }
    return pos;
}

} // namespace

TEST(Simplify, DropsUnusedNodesAndRenumbersTheRest)
{
    auto pos = points(6);
    auto tria = columns<unsigned>({{5, 1, 3}, {3, 1, 4}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(simplify(pos, tria, id_map, 0), 2);
    EXPECT_TRUE(same(pos, columns<double>({{1, 10}, {3, 30}, {4, 40}, {5, 50}})));
    EXPECT_TRUE(same(tria, columns<unsigned>({{3, 0, 1}, {1, 0, 2}})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{none, 0, none, 1, 2, 3}));
}

TEST(Simplify, WorksInThreeDimensionsAndWithoutAMap)
{
    auto pos = columns<double>({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    auto bars = columns<unsigned>({{2, 0}});
    EXPECT_EQ(simplify(pos, bars), 1);
    EXPECT_TRUE(same(pos, columns<double>({{1, 2, 3}, {7, 8, 9}})));
    EXPECT_TRUE(same(bars, columns<unsigned>({{1, 0}})));
}

TEST(Simplify, TakesCoordinatesOfAnyHeight)
{
    auto pos = columns<double>({{1}, {4}, {7}});
    auto nodes = columns<unsigned>({{2}});
    EXPECT_EQ(simplify(pos, nodes), 2);
    EXPECT_TRUE(same(pos, columns<double>({{7}})));
}

TEST(Simplify, KeepsWhatAnyConnectivityOfTheRangeUses)
{
    auto pos = points(6);
    dense2D<unsigned> range[] = {columns<unsigned>({{5, 1}}), dense2D<unsigned>(),
                                 columns<unsigned>({{3, 5, 4}})};
    dense1D<unsigned> id_map;
    ASSERT_EQ(simplify(pos, range, range + 3, id_map, 0), 2);
    EXPECT_TRUE(same(range[0], columns<unsigned>({{3, 0}})));
    EXPECT_TRUE(range[1].empty());
    EXPECT_TRUE(same(range[2], columns<unsigned>({{1, 3, 2}})));
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{none, 0, none, 1, 2, 3}));
}

TEST(Simplify, GivesTheIdentityWhenEveryNodeIsUsed)
{
    auto pos = points(3);
    auto tria = columns<unsigned>({{2, 0, 1}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(simplify(pos, tria, id_map, 0), 0);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2}));
    EXPECT_TRUE(same(pos, points(3)));
    EXPECT_TRUE(same(tria, columns<unsigned>({{2, 0, 1}})));
}

TEST(Simplify, LeavesTheMapEmptyWhenStartIsBehindTheLastNode)
{
    for (const unsigned start : {3U, 4U, none}) {
        auto pos = points(3);
        auto bars = columns<unsigned>({{0, 1}});
        dense1D<unsigned> id_map{8, 8};
        EXPECT_EQ(simplify(pos, bars, id_map, start), 0);
        EXPECT_EQ(id_map.size, 0U);
        EXPECT_EQ(pos.cols, 3U);
    }
}

TEST(Simplify, KeepsUnusedNodesBelowStartWithTheirNumbers)
{
    auto pos = points(6);
    auto bars = columns<unsigned>({{1, 5}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(simplify(pos, bars, id_map, 3), 2);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, 2, none, none, 3}));
    EXPECT_TRUE(same(pos, columns<double>({{0, 0}, {1, 10}, {2, 20}, {5, 50}})));
    EXPECT_TRUE(same(bars, columns<unsigned>({{1, 3}})));
}

TEST(Simplify, MayRemoveTheLastNodeAlone)
{
    auto pos = points(3);
    auto bars = columns<unsigned>({{0, 1}});
    dense1D<unsigned> id_map;
    EXPECT_EQ(simplify(pos, bars, id_map, 2), 1);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, 1, none}));
    EXPECT_EQ(pos.cols, 2U);
}

TEST(Simplify, RemovesAllNodesFromStartOnWhenOnlyHolesAreNamed)
{
    auto pos = points(4);
    auto tria = columns<unsigned>({{none, none, none}});
    dense1D<unsigned> id_map;
    ASSERT_EQ(simplify(pos, tria, id_map, 1), 3);
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{0, none, none, none}));
    EXPECT_TRUE(same(pos, points(1)));
    EXPECT_TRUE(same(tria, columns<unsigned>({{none, none, none}})));
}

TEST(Simplify, RemovesAllNodesOfAnEmptyConnectivity)
{
    auto pos = points(2);
    dense2D<unsigned> nothing;
    dense1D<unsigned> id_map;
    EXPECT_EQ(simplify(pos, nothing, id_map, 0), 2);
    EXPECT_TRUE(pos.empty());
    EXPECT_TRUE(same(id_map, dense1D<unsigned>{none, none}));
}

TEST(Simplify, KeepsHolesInMixedColumns)
{
    auto pos = points(5);
    auto faces = columns<unsigned>({{4, 2, 1, none}, {4, 1, 0, 2}});
    EXPECT_EQ(simplify(pos, faces), 1);
    EXPECT_TRUE(same(faces, columns<unsigned>({{3, 2, 1, none}, {3, 1, 0, 2}})));
}

TEST(Simplify, ReportsTheFirstFaultInItsArguments)
{
    struct {
        const char* what;
        std::size_t nodes;
        int first, last;
        unsigned node;
        unsigned start;
        int expected;
    } const ladder[] = {
        {"empty range, bad node, start too large", 2, 1, 1, 9, 7, 0},
        {"reversed range, bad node", 2, 1, 0, 9, 0, -3},
        {"reversed range", 2, 1, 0, 1, 0, -3},
        {"bad node, start too large", 2, 0, 1, 2, 7, -2},
        {"bad node, no coordinates", 0, 0, 1, 0, 0, -2},
        {"bad node", 2, 0, 1, 2, 0, -2},
        {"no coordinates, start at the end", 0, 0, 1, none, 0, 0},
        {"start at the end", 2, 0, 1, 1, 2, 0},
    };
    for (const auto& step : ladder) {
        SCOPED_TRACE(step.what);
        auto pos = points(step.nodes);
        dense2D<unsigned> range[] = {columns<unsigned>({{0, step.node}}),
                                     columns<unsigned>({{9, 9}})};
        if (step.nodes == 0) range[0] = columns<unsigned>({{step.node, step.node}});
        const auto before = duplicate(range[0]);
        dense1D<unsigned> id_map{6, 6, 6};
        EXPECT_EQ(simplify(pos, range + step.first, range + step.last, id_map, step.start),
                  step.expected);
        EXPECT_EQ(id_map.size, 0U);
        EXPECT_TRUE(same(pos, points(step.nodes)));
        EXPECT_TRUE(same(range[0], before));
    }
}

TEST(Simplify, FindsTheBadNodeInALaterConnectivity)
{
    auto pos = points(3);
    dense2D<unsigned> range[] = {columns<unsigned>({{0, 1}}), columns<unsigned>({{1, 3}})};
    dense1D<unsigned> id_map;
    EXPECT_EQ(simplify(pos, range, range + 2, id_map, 0), -2);
    EXPECT_EQ(pos.cols, 3U);
}

TEST(Simplify, TakesCoordinatesWithoutRowsForNone)
{
    dense2D<double> pos(0, 3);
    auto bars = columns<unsigned>({{0, 2}});
    dense1D<unsigned> id_map{6};
    EXPECT_EQ(simplify(pos, bars, id_map, 0), 0);
    EXPECT_EQ(id_map.size, 0U);
    EXPECT_EQ(pos.cols, 3U);
}

TEST(Simplify, StaysInsideStridedViews)
{
    strided<double> pos(points(4));
    strided<unsigned> bars(columns<unsigned>({{3, 1}, {1, 3}}));
    dense1D<unsigned> id_map;
    ASSERT_EQ(simplify(pos.view, bars.view, id_map, 0), 2);
    EXPECT_TRUE(same(pos.view, columns<double>({{1, 10}, {3, 30}})));
    EXPECT_TRUE(same(bars.view, columns<unsigned>({{1, 0}, {0, 1}})));
    EXPECT_TRUE(pos.gaps_untouched());
    EXPECT_TRUE(bars.gaps_untouched());
}

TEST(Simplify, LeavesEveryElementWhereItWas)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 draw(seed);
        const unsigned n = 1 + unsigned(draw() % 60);
        const unsigned start = unsigned(draw() % n);
        const auto pos = points(n);
        dense2D<unsigned> quad(4, draw() % 12);
        for (std::size_t e = 0; e < quad.cols; ++e)
            for (unsigned k = 0; k < 4; ++k)
                quad(k, e) = draw() % 9 == 0 ? none : unsigned(draw() % n);
        auto new_pos = duplicate(pos);
        auto new_quad = duplicate(quad);
        dense1D<unsigned> id_map;
        const int removed = simplify(new_pos, new_quad, id_map, start);
        ASSERT_EQ(new_pos.cols + std::size_t(removed), n);
        std::vector<bool> used(n, false);
        for (std::size_t e = 0; e < quad.cols; ++e)
            for (unsigned k = 0; k < 4; ++k) {
                if (quad(k, e) == none) {
                    ASSERT_EQ(new_quad(k, e), none);
                    continue;
                }
                used[quad(k, e)] = true;
                ASSERT_LT(new_quad(k, e), new_pos.cols);
                ASSERT_EQ(new_pos(0, new_quad(k, e)), pos(0, quad(k, e)));
                ASSERT_EQ(new_pos(1, new_quad(k, e)), pos(1, quad(k, e)));
            }
        unsigned next = 0;
        for (unsigned j = 0; j < n; ++j)
            ASSERT_EQ(id_map[j], j < start || used[j] ? next++ : none) << j;
    }
}

TEST(Simplify, ReportsExhaustedMemory)
{
    for (const bool onwards : {false, true}) {
        const std::size_t live = allocation::live_blocks();
        const auto runs = allocation::sweep<allocation::fail_containers>(
            [](std::size_t n, auto&& attempt) {
                auto pos = points(4);
                auto bars = columns<unsigned>({{3, 1}});
                dense1D<unsigned> id_map;
                const int result = attempt([&] { return simplify(pos, bars, id_map, 0); });
                if (n > 1) {
                    EXPECT_EQ(result, 2);
                    return;
                }
                EXPECT_EQ(result, -199);
                EXPECT_EQ(id_map.size, 0U);
                EXPECT_TRUE(same(pos, points(4)));
                EXPECT_TRUE(same(bars, columns<unsigned>({{3, 1}})));
            },
            onwards);
        EXPECT_EQ(runs, 1U);
        EXPECT_EQ(allocation::live_blocks(), live);
    }
}

TEST(Simplify, ChangesNothingWhenTheHeapThrows)
{
    const std::size_t live = allocation::live_blocks();
    allocation::sweep<allocation::fail_new>([](std::size_t, auto&& attempt) {
        auto pos = points(4);
        auto bars = columns<unsigned>({{3, 1}});
        dense1D<unsigned> id_map;
        try {
            EXPECT_EQ(attempt([&] { return simplify(pos, bars, id_map, 0); }), 2);
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(same(pos, points(4)));
            EXPECT_TRUE(same(bars, columns<unsigned>({{3, 1}})));
        }
    });
    EXPECT_EQ(allocation::live_blocks(), live);
}
