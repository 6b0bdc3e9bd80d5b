#include <kz3/lattiq/connectivity.h>

#include <csignal>
#include <numeric>

#include <gtest/gtest.h>

#include "connectivity/random_entries.h"
#include "plain/connectivity/get_subdomains.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

// Elements 0, 2, 1 in a chain, and 3 apart.
dense2D<unsigned> chain()
{
    return columns<unsigned>({{none, 2}, {2, none}, {0, 1}, {none, none}});
}

dense2D<unsigned> chain_nodes()
{
    return columns<unsigned>({{10, 11, 12}, {20, 21, 22}, {30, 31, 32}, {40, 41, 42}});
}

} // namespace

TEST(GetSubdomains, ListsAChainByDistanceAndThenTheNextPiece)
{
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(chain(), sorted, offsets), 0);
    EXPECT_TRUE(same(sorted, {0, 2, 1, 3}));
    EXPECT_TRUE(same(offsets, {0, 3, 4}));
}

TEST(GetSubdomains, WalksBreadthFirstFaceByFace)
{
    const auto neighbors = columns<unsigned>({{3, 1}, {4, 0}, {none, 3}, {2, 0}, {1, none}});
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(neighbors, sorted, offsets), 0);
    EXPECT_TRUE(same(sorted, {0, 3, 1, 2, 4}));
    EXPECT_TRUE(same(offsets, {0, 5}));
}

TEST(GetSubdomains, ListsAnElementReachedTwiceOnce)
{
    const auto ring = columns<unsigned>({{1, 2}, {0, 3}, {3, 0}, {1, 2}});
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(ring, sorted, offsets), 0);
    EXPECT_TRUE(same(sorted, {0, 1, 2, 3}));
    EXPECT_TRUE(same(offsets, {0, 4}));
}

TEST(GetSubdomains, OfNoElementsIsTheSingleOffset)
{
    for (const auto& empty : {dense2D<unsigned>(), dense2D<unsigned>(3, 0)}) {
        dense1D<unsigned> sorted{7}, offsets{8, 9};
        ASSERT_EQ(get_subdomains(empty, sorted, offsets), 0);
        EXPECT_EQ(sorted.size, 0U);
        EXPECT_TRUE(same(offsets, {0}));
    }
}

TEST(GetSubdomains, MakesEachElementAPieceWhereNoneHasANeighbour)
{
    for (const auto& apart : {dense2D<unsigned>(0, 4), dense2D<unsigned>(3, 4, none)}) {
        dense1D<unsigned> sorted{7}, offsets{8, 9};
        ASSERT_EQ(get_subdomains(apart, sorted, offsets), 0);
        EXPECT_TRUE(same(sorted, {0, 1, 2, 3}));
        EXPECT_TRUE(same(offsets, {0, 1, 2, 3, 4}));
    }
}

TEST(GetSubdomains, GoesByLinksAndNotBySharedNodes)
{
    // Triangles 0, 1 and 2 meet at one edge, so none of them is linked there; 3 continues 1.
    const auto tria = columns<unsigned>({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}, {3, 0, 5}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(neighbors, sorted, offsets), 0);
    EXPECT_TRUE(same(sorted, {0, 1, 3, 2}));
    EXPECT_TRUE(same(offsets, {0, 1, 3, 4}));
}

TEST(GetSubdomains, TakesAnElementThatIsItsOwnNeighbourOnce)
{
    const auto neighbors = columns<unsigned>({{0, 1}, {1, 0}, {2, 2}});
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(neighbors, sorted, offsets), 0);
    EXPECT_TRUE(same(sorted, {0, 1, 2}));
    EXPECT_TRUE(same(offsets, {0, 2, 3}));
}

TEST(GetSubdomains, FollowsALinkOnlyTheWayItPoints)
{
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(columns<unsigned>({{none}, {0}}), sorted, offsets), 0);
    EXPECT_TRUE(same(offsets, {0, 1, 2}));
    ASSERT_EQ(get_subdomains(columns<unsigned>({{1}, {none}}), sorted, offsets), 0);
    EXPECT_TRUE(same(offsets, {0, 2}));
}

TEST(GetSubdomains, SkipsEntriesAboveTheNumberOfElements)
{
    dense1D<unsigned> sorted, offsets;
    ASSERT_EQ(get_subdomains(columns<unsigned>({{3, 1}, {0xFFFFFFFE, 0}}), sorted, offsets), 0);
    EXPECT_TRUE(same(sorted, {0, 1}));
    EXPECT_TRUE(same(offsets, {0, 2}));
}

TEST(GetSubdomainsDeathTest, StopsAtAnEntryOnePastTheLastElement)
{
    dense1D<unsigned> sorted, offsets;
    EXPECT_EXIT(get_subdomains(columns<unsigned>({{1}}), sorted, offsets),
                testing::KilledBySignal(SIGABRT), "");
    // The last face of the last element, at the end of a full word of bits.
    dense2D<unsigned> apart(3, 64, none);
    apart(2, 63) = 64;
    EXPECT_EXIT(get_subdomains(apart, sorted, offsets), testing::KilledBySignal(SIGABRT), "");
    apart(2, 63) = 65;
    EXPECT_EQ(get_subdomains(apart, sorted, offsets), 0);
}

TEST(GetSubdomainsDeathTest, StopsOnlyAfterMemoryIsFound)
{
    const auto wrong = columns<unsigned>({{1}});
    dense1D<unsigned> sorted, offsets;
    const allocation::fail_containers none_left(1);
    EXPECT_EQ(get_subdomains(wrong, sorted, offsets), -199);
}

TEST(GetSubdomainsDeathTest, StopsBeforeAMeshIsReordered)
{
    dense2D<unsigned> nodes(3, 2, 0U);
    auto wrong = columns<unsigned>({{1}, {2}});
    dense1D<unsigned> offsets;
    EXPECT_EXIT(get_subdomains(nodes, wrong, offsets), testing::KilledBySignal(SIGABRT), "");
}

TEST(GetSubdomains, AgreesWithThePlainVersion)
{
    for (unsigned seed = 1; seed <= 80; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto n = unsigned(random() % 200);
        // Mostly holes, so that there are pieces of all sizes; here and there an entry above n.
        auto m = random_entries(random, seed % 7, n, n, 0);
        for (std::size_t j = 0; j < m.cols; ++j)
            for (unsigned& e : m.col(j))
                if (random() % 4 != 0) e = random() % 9 == 0 ? n + 1 : none;
        const plain::subdomains expected = plain::get_subdomains(m);
        dense1D<unsigned> sorted, offsets;
        ASSERT_EQ(get_subdomains(m, sorted, offsets), 0);
        EXPECT_TRUE(same(sorted, list(expected.sorted_elements)));
        EXPECT_TRUE(same(offsets, list(expected.offsets)));
        if (m.empty()) continue;
        strided<unsigned> gapped(m, n);
        ASSERT_EQ(get_subdomains(gapped.view, sorted, offsets), 0);
        EXPECT_TRUE(same(sorted, list(expected.sorted_elements)));
        EXPECT_TRUE(gapped.gaps_untouched());
    }
}

TEST(GetSubdomains, LeavesBothListsEmptyWhereTheElementsFindNoMemory)
{
    const dense2D<unsigned> apart(1, 9, none);
    dense1D<unsigned> sorted{1}, offsets{1};
    const allocation::fail_containers none_left(1);
    EXPECT_EQ(get_subdomains(apart, sorted, offsets), -199);
    EXPECT_EQ(sorted.size, 0U);
    EXPECT_EQ(offsets.size, 0U);
}

TEST(GetSubdomains, LosesOnlyTheOffsetsThatFindNoMemory)
{
    const dense2D<unsigned> apart(1, 9, none);
    const dense1D<unsigned> each{0, 1, 2, 3, 4, 5, 6, 7, 8};
    const auto lossy = [&](std::size_t n, bool onwards) {
        dense1D<unsigned> sorted, offsets;
        const allocation::fail_containers refuse(n, onwards);
        EXPECT_EQ(get_subdomains(apart, sorted, offsets), 0);
        EXPECT_TRUE(refuse.fired());
        EXPECT_TRUE(same(sorted, each));
        return offsets;
    };
    EXPECT_TRUE(same(lossy(2, false), {1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_TRUE(same(lossy(3, false), {0, 1, 2, 3, 5, 6, 7, 8, 9}));
    EXPECT_EQ(lossy(2, true).size, 0U);
    EXPECT_TRUE(same(lossy(3, true), {0, 1, 2, 3}));
}

TEST(GetSubdomains, ThrowsWithBothListsEmptyWhereTheMarksFindNoMemory)
{
    const auto neighbors = chain();
    const std::size_t live = allocation::live_blocks();
    const std::size_t refused =
        allocation::sweep<allocation::fail_new>([&](std::size_t n, auto&& run) {
            dense1D<unsigned> sorted{1}, offsets{1};
            if (n > 1) {
                EXPECT_EQ(run([&] { return get_subdomains(neighbors, sorted, offsets); }), 0);
                return;
            }
            EXPECT_THROW(run([&] { return get_subdomains(neighbors, sorted, offsets); }),
                         std::bad_alloc);
            EXPECT_EQ(sorted.size, 0U);
            EXPECT_EQ(offsets.size, 0U);
        });
    EXPECT_EQ(refused, 1U);
    EXPECT_EQ(allocation::live_blocks(), live);
}

TEST(GetSubdomains, ReordersAMeshPieceByPiece)
{
    auto nodes = chain_nodes();
    auto neighbors = chain();
    dense1D<unsigned> offsets{5};
    ASSERT_EQ(get_subdomains(nodes, neighbors, offsets), 0);
    EXPECT_TRUE(
        same(nodes, columns<unsigned>({{10, 11, 12}, {30, 31, 32}, {20, 21, 22}, {40, 41, 42}})));
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{none, 1}, {0, 2}, {1, none}, {none, none}})));
    EXPECT_TRUE(same(offsets, {0, 3, 4}));
}

TEST(GetSubdomains, LeavesElementZeroOfAConnectedMeshInColumnZero)
{
    auto nodes = columns<unsigned>({{5, 6}, {6, 7}, {7, 8}});
    auto neighbors = columns<unsigned>({{2}, {0}, {1}});
    dense1D<unsigned> offsets;
    ASSERT_EQ(get_subdomains(nodes, neighbors, offsets), 0);
    EXPECT_TRUE(same(nodes, columns<unsigned>({{5, 6}, {7, 8}, {6, 7}})));
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1}, {2}, {0}})));
    EXPECT_TRUE(same(offsets, {0, 3}));
}

TEST(GetSubdomains, KeepsEntriesAboveTheNumberOfElementsWhenReordering)
{
    auto nodes = columns<unsigned>({{0}, {1}, {2}});
    auto neighbors = columns<unsigned>({{2, 4}, {none, 77}, {0, 0xFFFFFFFE}});
    dense1D<unsigned> offsets;
    ASSERT_EQ(get_subdomains(nodes, neighbors, offsets), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, 4}, {0, 0xFFFFFFFE}, {none, 77}})));
}

TEST(GetSubdomains, OfNoElementsReordersNothing)
{
    dense2D<unsigned> nodes, neighbors;
    dense1D<unsigned> offsets;
    ASSERT_EQ(get_subdomains(nodes, neighbors, offsets), 0);
    EXPECT_TRUE(nodes.empty());
    EXPECT_TRUE(neighbors.empty());
    EXPECT_TRUE(same(offsets, {0}));
}

TEST(GetSubdomains, KeepsAMeshWithoutLinksInItsOrder)
{
    auto nodes = chain_nodes();
    dense2D<unsigned> no_rows(0, 4);
    dense1D<unsigned> offsets;
    ASSERT_EQ(get_subdomains(nodes, no_rows, offsets), 0);
    EXPECT_TRUE(same(nodes, chain_nodes()));
    EXPECT_EQ(no_rows.rows, 0U);
    EXPECT_EQ(no_rows.cols, 4U);
    EXPECT_TRUE(same(offsets, {0, 1, 2, 3, 4}));
}

TEST(GetSubdomains, ReordersNeighboursBesideElementsWithoutNodes)
{
    dense2D<unsigned> no_nodes(0, 4);
    auto neighbors = chain();
    dense1D<unsigned> offsets;
    ASSERT_EQ(get_subdomains(no_nodes, neighbors, offsets), 0);
    EXPECT_EQ(no_nodes.rows, 0U);
    EXPECT_EQ(no_nodes.cols, 4U);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{none, 1}, {0, 2}, {1, none}, {none, none}})));
    EXPECT_TRUE(same(offsets, {0, 3, 4}));
}

TEST(GetSubdomains, LeavesTheOldOrderToViewsOfTheOldStorage)
{
    strided<unsigned> nodes(chain_nodes());
    strided<unsigned> neighbors(chain());
    const auto old_nodes = duplicate(nodes.parent);
    const auto old_neighbors = duplicate(neighbors.parent);
    dense1D<unsigned> offsets;
    ASSERT_EQ(get_subdomains(nodes.view, neighbors.view, offsets), 0);
    EXPECT_TRUE(same(nodes.view,
                     columns<unsigned>({{10, 11, 12}, {30, 31, 32}, {20, 21, 22}, {40, 41, 42}})));
    EXPECT_TRUE(
        same(neighbors.view, columns<unsigned>({{none, 1}, {0, 2}, {1, none}, {none, none}})));
    EXPECT_TRUE(same(nodes.parent, old_nodes));
    EXPECT_TRUE(same(neighbors.parent, old_neighbors));
}

TEST(GetSubdomains, KeepsNeighboursThroughTheReordering)
{
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto n = 1 + unsigned(random() % 100);
        auto neighbors = random_entries(random, 2, n, n, 2);
        dense2D<unsigned> nodes(1, n);
        std::iota(nodes.col(0).begin(), nodes.col(0).begin() + n, 0U);
        const auto before = duplicate(neighbors);
        dense1D<unsigned> offsets;
        ASSERT_EQ(get_subdomains(nodes, neighbors, offsets), 0);
        // The one node of an element is its old index.
        for (std::size_t j = 0; j < n; ++j)
            for (std::size_t f = 0; f < 2; ++f) {
                const unsigned now = neighbors(f, j);
                EXPECT_EQ(now == none ? none : nodes(0, now), before(f, nodes(0, j)));
            }
    }
}

TEST(GetSubdomains, EmptiesTheMeshWhereTheReorderingFindsNoMemory)
{
    const std::size_t live = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const std::size_t refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto&& run) {
                auto nodes = chain_nodes();
                auto neighbors = chain();
                dense1D<unsigned> offsets;
                const int code = run([&] { return get_subdomains(nodes, neighbors, offsets); });
                if (n == 1) { // the order
                    EXPECT_EQ(code, -199);
                    EXPECT_TRUE(same(nodes, chain_nodes()));
                    EXPECT_TRUE(same(neighbors, chain()));
                    EXPECT_EQ(offsets.size, 0U);
                } else if (n == 2 && !onwards) { // the first offset
                    EXPECT_EQ(code, 0);
                    EXPECT_TRUE(same(offsets, {3, 4}));
                } else if (n <= 5) { // the nodes, the neighbours, the new indices
                    EXPECT_EQ(code, -199) << n;
                    EXPECT_EQ(nodes.cols + nodes.rows, 0U) << n;
                    EXPECT_EQ(neighbors.cols + neighbors.rows, 0U) << n;
                    EXPECT_EQ(offsets.size, 0U) << n;
                } else {
                    EXPECT_EQ(code, 0);
                }
            },
            onwards);
        EXPECT_EQ(refused, 5U);
    }
    EXPECT_EQ(allocation::live_blocks(), live);
}

TEST(GetSubdomains, ThrowsWithTheMeshUnchanged)
{
    const std::size_t live = allocation::live_blocks();
    const std::size_t refused =
        allocation::sweep<allocation::fail_new>([&](std::size_t n, auto&& run) {
            auto nodes = chain_nodes();
            auto neighbors = chain();
            dense1D<unsigned> offsets;
            if (n > 5) {
                EXPECT_EQ(run([&] { return get_subdomains(nodes, neighbors, offsets); }), 0);
                return;
            }
            EXPECT_THROW(run([&] { return get_subdomains(nodes, neighbors, offsets); }),
                         std::bad_alloc);
            EXPECT_TRUE(same(nodes, chain_nodes()));
            EXPECT_TRUE(same(neighbors, chain()));
            EXPECT_EQ(offsets.size, 0U);
        });
    EXPECT_EQ(refused, 5U);
    EXPECT_EQ(allocation::live_blocks(), live);
}
