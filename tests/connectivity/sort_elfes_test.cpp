#include <kz3/lattiq/connectivity.h>

#include <gtest/gtest.h>

#include "connectivity/random_entries.h"
#include "plain/connectivity/sort_elfes.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

// A triangle, a quadrangle, an element without nodes, and another quadrangle.
dense2D<unsigned> faces()
{
    return columns<unsigned>({{0, 1, 2, none}, {3, 4, 5, 6}, {none, 9, 9, 9}, {7, 8, 9, 10}});
}

dense2D<unsigned> face_links()
{
    return columns<unsigned>(
        {{1, 2, none, none}, {0, 3, none, none}, {0, 0, 0, 0}, {1, 2, none, 50}});
}

} // namespace

TEST(SortElfes, GathersSolidsByFallingCountAndFallingIndex)
{
    auto solid = columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7},
                                    {8, 9, 10, 11, none, none, none, none},
                                    {12, 13, 14, 15, 16, 17, 18, 19},
                                    {20, 21, 22, 23, none, none, none, none}});
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(solid, nodes, ends, moved), 0);
    EXPECT_TRUE(same(solid, columns<unsigned>({{12, 13, 14, 15, 16, 17, 18, 19},
                                               {0, 1, 2, 3, 4, 5, 6, 7},
                                               {20, 21, 22, 23, none, none, none, none},
                                               {8, 9, 10, 11, none, none, none, none}})));
    EXPECT_TRUE(same(nodes, {8, 4}));
    EXPECT_TRUE(same(ends, {2, 4}));
    EXPECT_TRUE(same(moved, {1, 3, 0, 2}));
}

TEST(SortElfes, RemovesElementsWithoutNodesAndCarriesLinksAlong)
{
    auto mixed = faces();
    auto links = face_links();
    const dense2D<unsigned> all = mixed;
    dense1D<unsigned> nodes{1}, ends{2, 3}, moved{4, 5, 6, 7, 8, 9};
    ASSERT_EQ(sort_elfes(mixed, links, nodes, ends, moved), 0);
    EXPECT_TRUE(same(mixed, columns<unsigned>({{7, 8, 9, 10}, {3, 4, 5, 6}, {0, 1, 2, none}})));
    EXPECT_TRUE(same(nodes, {4, 3}));
    EXPECT_TRUE(same(ends, {2, 3}));
    EXPECT_TRUE(same(moved, {2, 1, none, 0}));
    // NO_NODE stays, a link to the removed element becomes one, what is no element stays.
    EXPECT_TRUE(same(links, columns<unsigned>(
                                {{1, none, none, 50}, {2, 0, none, none}, {1, none, none, none}})));
    // In place: a view of all four columns finds the removed element behind the others.
    EXPECT_TRUE(same(
        all, columns<unsigned>({{7, 8, 9, 10}, {3, 4, 5, 6}, {0, 1, 2, none}, {none, 9, 9, 9}})));
}

TEST(SortElfes, CountsNoEntryBehindTheFirstHole)
{
    auto mixed = columns<unsigned>({{5, 6, none, 8}, {1, 2, 3, none}});
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(mixed, nodes, ends, moved), 0);
    EXPECT_TRUE(same(mixed, columns<unsigned>({{1, 2, 3, none}, {5, 6, none, 8}})));
    EXPECT_TRUE(same(nodes, {3, 2}));
    EXPECT_TRUE(same(ends, {1, 2}));
    EXPECT_TRUE(same(moved, {1, 0}));
}

TEST(SortElfes, ReversesElementsOfOneKind)
{
    auto tria = columns<unsigned>({{0, 1, 2}, {1, 2, 3}, {2, 3, 4}, {3, 4, 5}, {4, 5, 6}});
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(tria, nodes, ends, moved), 0);
    EXPECT_TRUE(
        same(tria, columns<unsigned>({{4, 5, 6}, {3, 4, 5}, {2, 3, 4}, {1, 2, 3}, {0, 1, 2}})));
    EXPECT_TRUE(same(nodes, {3}));
    EXPECT_TRUE(same(ends, {5}));
    EXPECT_TRUE(same(moved, {4, 3, 2, 1, 0}));
}

TEST(SortElfes, OfNoElementsGivesOneEmptyGroup)
{
    for (auto empty : {dense2D<unsigned>(), dense2D<unsigned>(3, 0)}) {
        const std::size_t rows = empty.rows;
        dense1D<unsigned> nodes{1, 2}, ends, moved{4};
        ASSERT_EQ(sort_elfes(empty, nodes, ends, moved), 0);
        EXPECT_TRUE(same(nodes, {none}));
        EXPECT_TRUE(same(ends, {0}));
        EXPECT_EQ(moved.size, 0U);
        EXPECT_EQ(empty.rows, rows);
        EXPECT_EQ(empty.cols, 0U);
    }
}

TEST(SortElfes, RemovesColumnsWithoutRows)
{
    dense2D<unsigned> flat(0, 3);
    dense2D<unsigned> links(1, 3, 2U);
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(flat, links, nodes, ends, moved), 0);
    EXPECT_TRUE(same(nodes, {none}));
    EXPECT_TRUE(same(ends, {0}));
    EXPECT_TRUE(same(moved, {none, none, none}));
    EXPECT_EQ(flat.cols, 0U);
    EXPECT_EQ(links.rows, 1U);
    EXPECT_EQ(links.cols, 0U);
}

TEST(SortElfes, RemovesAllColumnsThatStartWithAHole)
{
    auto holes = columns<unsigned>({{none, 1, 2}, {none, none, none}});
    auto links = columns<unsigned>({{1}, {0}});
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(holes, links, nodes, ends, moved), 0);
    EXPECT_TRUE(same(nodes, {none}));
    EXPECT_TRUE(same(ends, {0}));
    EXPECT_TRUE(same(moved, {none, none}));
    EXPECT_EQ(holes.rows, 3U);
    EXPECT_EQ(holes.cols, 0U);
    EXPECT_EQ(links.rows, 1U);
    EXPECT_EQ(links.cols, 0U);
}

TEST(SortElfes, RefusesLinksOfAnotherNumberOfElements)
{
    auto mixed = faces();
    auto links = columns<unsigned>({{1, 2}, {0, 0}, {none, 3}});
    dense1D<unsigned> nodes{1}, ends{2, 3}, moved{4};
    const auto kept_nodes = duplicate(nodes), kept_ends = duplicate(ends),
               kept_moved = duplicate(moved);
    const auto kept_mixed = duplicate(mixed), kept_links = duplicate(links);
    // Before any memory is taken.
    const allocation::fail_containers none_left(1, true);
    EXPECT_EQ(sort_elfes(mixed, links, nodes, ends, moved), -1);
    EXPECT_FALSE(none_left.fired());
    EXPECT_TRUE(same(nodes, kept_nodes));
    EXPECT_TRUE(same(ends, kept_ends));
    EXPECT_TRUE(same(moved, kept_moved));
    EXPECT_TRUE(same(mixed, kept_mixed));
    EXPECT_TRUE(same(links, kept_links));
}

TEST(SortElfes, RefusesLinksWhereThereAreNoElements)
{
    dense2D<unsigned> no_elements;
    dense2D<unsigned> links(1, 1, 0U);
    dense1D<unsigned> nodes{1}, ends{2, 3}, moved{4};
    EXPECT_EQ(sort_elfes(no_elements, links, nodes, ends, moved), -1);
    EXPECT_TRUE(same(nodes, {1}));
    EXPECT_TRUE(same(ends, {2, 3}));
    EXPECT_TRUE(same(moved, {4}));
}

TEST(SortElfes, TakesLinksWithoutEntriesAsAbsent)
{
    for (auto links : {dense2D<unsigned>(), dense2D<unsigned>(0, 7), dense2D<unsigned>(7, 0)}) {
        const std::size_t cols = links.cols;
        auto mixed = faces();
        dense1D<unsigned> nodes, ends, moved;
        ASSERT_EQ(sort_elfes(mixed, links, nodes, ends, moved), 0);
        EXPECT_TRUE(same(mixed, columns<unsigned>({{7, 8, 9, 10}, {3, 4, 5, 6}, {0, 1, 2, none}})));
        EXPECT_TRUE(same(moved, {2, 1, none, 0}));
        EXPECT_EQ(links.cols, cols);
    }
}

TEST(SortElfes, ExchangesOnlyTheRowsOfStridedViews)
{
    strided<unsigned> mixed(faces());
    strided<unsigned> links(face_links());
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(mixed.view, links.view, nodes, ends, moved), 0);
    EXPECT_TRUE(
        same(mixed.view, columns<unsigned>({{7, 8, 9, 10}, {3, 4, 5, 6}, {0, 1, 2, none}})));
    EXPECT_TRUE(
        same(links.view,
             columns<unsigned>({{1, none, none, 50}, {2, 0, none, none}, {1, none, none, none}})));
    EXPECT_TRUE(same(moved, {2, 1, none, 0}));
    EXPECT_TRUE(mixed.gaps_untouched());
    EXPECT_TRUE(links.gaps_untouched());
}

TEST(SortElfes, AgreesWithThePlainVersion)
{
    for (unsigned seed = 1; seed <= 80; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto n = unsigned(random() % 60);
        const auto m = random_entries(random, 1 + seed % 8, n, 100, seed % 6);
        const auto l = random_entries(random, seed % 4, n, n, 5);
        strided<unsigned> mixed(m), links(l), plain_mixed(m), plain_links(l);
        const plain::sorted_elements expected =
            plain::sort_elfes(plain_mixed.view, plain_links.view);
        dense1D<unsigned> nodes, ends, moved;
        ASSERT_EQ(sort_elfes(mixed.view, links.view, nodes, ends, moved), 0);
        EXPECT_TRUE(same(nodes, list(expected.group_nodes)));
        EXPECT_TRUE(same(ends, list(expected.group_ends)));
        EXPECT_TRUE(same(moved, list(expected.new_indices)));
        EXPECT_EQ(mixed.view.cols, plain_mixed.view.cols);
        EXPECT_EQ(links.view.cols, plain_links.view.cols);
        // The parents show the removed columns and the gaps as well.
        EXPECT_TRUE(same(mixed.parent, plain_mixed.parent));
        EXPECT_TRUE(same(links.parent, plain_links.parent));
    }
}

TEST(SortElfes, SaysWhereEveryElementStands)
{
    std::mt19937 random(11);
    auto mixed = random_entries(random, 6, 300, 1000, 9);
    const auto before = duplicate(mixed);
    dense1D<unsigned> nodes, ends, moved;
    ASSERT_EQ(sort_elfes(mixed, nodes, ends, moved), 0);
    std::size_t kept = 0;
    for (std::size_t j = 0; j < before.cols; ++j) {
        EXPECT_EQ(moved[j] == none, before(0, j) == none);
        if (moved[j] == none) continue;
        ++kept;
        EXPECT_TRUE(same(mixed.col(moved[j]), before.col(j)));
    }
    EXPECT_EQ(mixed.cols, kept);
    EXPECT_EQ(ends[ends.size - 1], kept);
}

TEST(SortElfes, LeavesTheMatricesUnchangedWithoutMemory)
{
    const std::size_t live = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const std::size_t refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto&& run) {
                auto mixed = faces();
                auto links = face_links();
                dense1D<unsigned> nodes, ends, moved;
                const int code = run([&] { return sort_elfes(mixed, links, nodes, ends, moved); });
                if (n > 7) {
                    EXPECT_EQ(code, 0);
                    return;
                }
                EXPECT_EQ(code, -199) << n;
                EXPECT_TRUE(same(mixed, faces())) << n;
                EXPECT_TRUE(same(links, face_links())) << n;
                EXPECT_EQ(nodes.size + ends.size + moved.size, 0U) << n;
            },
            onwards);
        EXPECT_EQ(refused, 7U);
    }
    EXPECT_EQ(allocation::live_blocks(), live);
}

TEST(SortElfes, EmptiesOutputsThatHeldSomethingWithoutMemory)
{
    // The four work lists, then new_indices: the others have room.
    for (const std::size_t n : {1, 2, 3, 4, 5}) {
        dense2D<unsigned> tria(3, 9, 1U);
        dense1D<unsigned> nodes{1, 2}, ends{3}, moved{4};
        const allocation::fail_containers none_left(n);
        EXPECT_EQ(sort_elfes(tria, nodes, ends, moved), -199) << n;
        EXPECT_EQ(nodes.size + ends.size + moved.size, 0U) << n;
        EXPECT_EQ(tria.cols, 9U) << n;
    }
}

TEST(SortElfes, NeedsMemoryForTheEmptyGroupToo)
{
    for (const bool onwards : {false, true}) {
        const std::size_t refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto&& run) {
                dense2D<unsigned> no_elements(3, 0);
                dense1D<unsigned> nodes, ends, moved;
                const int code = run([&] { return sort_elfes(no_elements, nodes, ends, moved); });
                EXPECT_EQ(code, n > 3 ? 0 : -199) << n;
                EXPECT_EQ(nodes.size, n > 3 ? 1U : 0U) << n;
                EXPECT_EQ(ends.size, n > 3 ? 1U : 0U) << n;
            },
            onwards);
        EXPECT_EQ(refused, 3U);
    }
}

TEST(SortElfes, NeedsNoMemoryForRowsWithoutColumns)
{
    dense2D<unsigned> tall(std::size_t(1) << 60, 0);
    dense1D<unsigned> nodes, ends, moved;
    EXPECT_EQ(sort_elfes(tall, nodes, ends, moved), 0);
    EXPECT_TRUE(same(nodes, {none}));
    EXPECT_TRUE(same(ends, {0}));
}

TEST(SortElfes, ThrowsWithTheMatricesUnchanged)
{
    const std::size_t live = allocation::live_blocks();
    const std::size_t refused = allocation::sweep<allocation::fail_new>([&](std::size_t n,
                                                                            auto&& run) {
        auto mixed = faces();
        dense1D<unsigned> nodes, ends, moved;
        if (n > 5) {
            EXPECT_EQ(run([&] { return sort_elfes(mixed, nodes, ends, moved); }), 0);
            return;
        }
        EXPECT_THROW(run([&] { return sort_elfes(mixed, nodes, ends, moved); }), std::bad_alloc);
        EXPECT_TRUE(same(mixed, faces()));
        EXPECT_EQ(nodes.size + ends.size + moved.size, 0U);
    });
    EXPECT_EQ(refused, 5U);
    EXPECT_EQ(allocation::live_blocks(), live);
}
