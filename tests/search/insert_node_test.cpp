#include "search/kd_tree.h"

#include <algorithm>
#include <vector>

#include "plain/search/kd_tree.h"
#include "search/clouds.h"
#include "search/trees.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq::detail;

TEST(InsertNode, SplitsOnEachAxisInTurn)
{
    //                              0       1       2       3       4       5
    const auto pos = columns<double>({{5, 5}, {2, 7}, {8, 1}, {1, 9}, {3, 2}, {9, 0}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_TRUE(same(tree.entries, columns<unsigned>({{0, 1, 2},
                                                      {1, 4, 3},
                                                      {2, 5, none},
                                                      {3, none, none},
                                                      {4, none, none},
                                                      {5, none, none}})));
}

TEST(InsertNode, CyclesThroughThreeAxesAndBackToTheFirst)
{
    const auto pos = columns<double>({{5, 5, 5}, {6, 5, 5}, {6, 6, 5}, {6, 6, 4}, {5, 6, 4}});
    node_kd_tree3 tree(pos);
    insert_all(tree);
    EXPECT_TRUE(
        same(tree.entries,
             columns<unsigned>(
                 {{0, none, 1}, {1, none, 2}, {2, 3, none}, {3, 4, none}, {4, none, none}})));
}

TEST(InsertNode, SendsEqualSplitValuesRight)
{
    const auto pos = columns<double>({{1, 1}, {1, 0}, {0, 1}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_TRUE(
        same(tree.entries, columns<unsigned>({{0, 2, 1}, {1, none, none}, {2, none, none}})));
}

TEST(InsertNode, SendsNaNRight)
{
    const auto pos = columns<double>(
        {{1, 1}, {not_a_number, 0}, {0, not_a_number}, {not_a_number, not_a_number}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_TRUE(
        same(tree.entries,
             columns<unsigned>({{0, 2, 1}, {1, none, 3}, {2, none, none}, {3, none, none}})));
}

TEST(InsertNode, StoresANodeAgain)
{
    const auto pos = columns<double>({{1, 1}});
    node_kd_tree2 tree(pos);
    EXPECT_EQ(tree.insert_node(0), 1);
    EXPECT_EQ(tree.insert_node(0), 1);
    EXPECT_TRUE(same(tree.entries, columns<unsigned>({{0, none, 1}, {0, none, none}})));
}

TEST(InsertNode, RefusesWhatIsNoColumn)
{
    const auto pos = columns<double>({{1, 1}, {2, 2}});
    node_kd_tree2 tree(pos);
    EXPECT_EQ(tree.insert_node(2), 0);
    EXPECT_EQ(tree.insert_node(none), 0);
    EXPECT_EQ(tree.size(), 0u);
    EXPECT_EQ(tree.insert_node(1), 1);
    EXPECT_EQ(tree.insert_node(2), 0);
    EXPECT_TRUE(same(tree.entries, columns<unsigned>({{1, none, none}})));
}

TEST(InsertNode, RefusesEverythingWithoutCoordinates)
{
    node_kd_tree3 tree;
    EXPECT_EQ(tree.insert_node(0), 0);
    EXPECT_EQ(tree.size(), 0u);
    EXPECT_EQ(tree.closest_node({0, 0, 0}, {}), none);
    EXPECT_TRUE(box<3>(tree, {0, 0, 0}, {0, 0, 0}).empty());
}

TEST(InsertNode, ReadsAStridedView)
{
    strided pos(columns<double>({{5, 5}, {2, 7}, {8, 1}}), not_a_number);
    node_kd_tree2 tree(pos.view);
    insert_all(tree);
    EXPECT_TRUE(
        same(tree.entries, columns<unsigned>({{0, 1, 2}, {1, none, none}, {2, none, none}})));
    EXPECT_EQ(tree.closest_node({8, 2}, {}), 2u);
    EXPECT_EQ(box<2>(tree, {2, 5}, {5, 7}), (std::vector<unsigned>{1, 0}));
    EXPECT_TRUE(pos.gaps_untouched());
}

TEST(InsertNode, ReadsOnlyTheRowsOfItsDimension)
{
    const auto pos = columns<double>({{5, 5, 900}, {2, 7, -900}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_EQ(tree.closest_node({3, 7}, {}), 1u);
    EXPECT_EQ(box<2>(tree, {0, 0}, {9, 9}), (std::vector<unsigned>{1, 0}));
}

TEST(InsertNode, DoublesItsRoomFromEightColumnsOn)
{
    const auto pos = diagonal(100);
    node_kd_tree2 tree(pos);
    std::vector<std::size_t> grown_at;
    for (unsigned node = 0; node < 100; ++node) {
        const std::size_t before = allocation::calls();
        tree.insert_node(node);
        if (allocation::calls() != before) grown_at.push_back(node);
    }
    EXPECT_EQ(grown_at, (std::vector<std::size_t>{0, 8, 16, 32, 64}));
}

TEST(InsertNode, DoesNotAllocateWithinReservedRoom)
{
    const auto pos = diagonal(100);
    node_kd_tree2 tree(pos);
    ASSERT_TRUE(tree.reserve(100));
    const std::size_t before = allocation::calls();
    insert_all(tree);
    EXPECT_EQ(allocation::calls(), before);
    EXPECT_EQ(tree.size(), 100u);
}

TEST(InsertNode, AgreesWithThePlainVersion)
{
    for (const auto character : clouds::all) {
        clouds::source random(character, 17);
        const auto pos = random.matrix(3, 300);
        node_kd_tree3 tree(pos);
        plain::kd_tree<3> slow(pos);
        for (int i = 0; i < 600; ++i) {
            const unsigned node = random.below(310);
            ASSERT_EQ(tree.insert_node(node), slow.insert_node(node));
        }
        ASSERT_EQ(tree.size(), slow.size());
        for (unsigned i = 0; i < tree.size(); ++i)
            for (unsigned k = 0; k < 3; ++k)
                ASSERT_EQ(tree.entries(k, i), slow.words(i)[k]) << character << " at " << i;
    }
}

TEST(InsertNode, StoresTheFirstNodeLaterIfMemoryWasExhausted)
{
    const auto pos = diagonal(2);
    node_kd_tree2 tree(pos);
    {
        const allocation::fail_containers memory(1, true);
        EXPECT_EQ(tree.insert_node(0), 1);
    }
    EXPECT_EQ(tree.size(), 0u);
    EXPECT_EQ(tree.closest_node({0, 0}, {}), none);
    EXPECT_EQ(tree.insert_node(1), 1);
    EXPECT_TRUE(same(tree.entries, columns<unsigned>({{1, none, none}})));
}

TEST(InsertNode, MakesRoomByItselfIfTheReserveFails)
{
    const auto pos = diagonal(9);
    node_kd_tree2 tree(pos);
    for (unsigned node = 0; node < 8; ++node) tree.insert_node(node);
    {
        const allocation::fail_containers memory(1);
        EXPECT_EQ(tree.insert_node(8), 1);
        EXPECT_TRUE(memory.fired());
    }
    EXPECT_EQ(tree.size(), 9u);
    EXPECT_EQ(tree.closest_node({8, 8}, {}), 8u);
}

TEST(InsertNode, LosesANodeWithoutMemoryAndLeavesItsLink)
{
    const auto pos = diagonal(10);
    node_kd_tree2 tree(pos);
    for (unsigned node = 0; node < 8; ++node) tree.insert_node(node);
    {
        const allocation::fail_containers memory(1, true);
        EXPECT_EQ(tree.insert_node(8), 1);
    }
    ASSERT_EQ(tree.size(), 8u);
    EXPECT_EQ(tree.entries(2, 7), 8u);
    EXPECT_EQ(tree.closest_node({8, 8}, {}), 7u);
    EXPECT_EQ(tree.closest_node({8, 8}, {7}), 6u);
    EXPECT_EQ(box<2>(tree, {5, 5}, {9, 9}), (std::vector<unsigned>{7, 6, 5}));

    EXPECT_EQ(tree.insert_node(9), 1);
    EXPECT_EQ(tree.entries(0, 8), 9u);
    EXPECT_EQ(tree.entries(2, 7), 8u);
    EXPECT_EQ(box<2>(tree, {5, 5}, {9, 9}), (std::vector<unsigned>{9, 7, 6, 5}));
}

TEST(InsertNode, LetsTheNextNodeTakeThePlaceOfALostOne)
{
    auto pos = diagonal(10);
    pos(0, 9) = pos(1, 9) = -1;
    node_kd_tree2 tree(pos);
    for (unsigned node = 0; node < 8; ++node) tree.insert_node(node);
    {
        const allocation::fail_containers memory(1, true);
        tree.insert_node(8);
    }
    EXPECT_EQ(tree.insert_node(9), 1);
    // Entry 8 is the left child of the root and still the right child of entry 7.
    EXPECT_EQ(tree.size(), 9u);
    EXPECT_EQ(tree.entries(1, 0), 8u);
    EXPECT_EQ(tree.entries(2, 7), 8u);
    EXPECT_EQ(box<2>(tree, {-9, -9}, {9, 9}),
              (std::vector<unsigned>{9, 7, 6, 5, 4, 3, 2, 1, 9, 0}));
}

TEST(InsertNode, LeavesALeftLinkOfALostNodeUnfollowed)
{
    dense2D<double> pos(2, 10);
    for (unsigned j = 0; j < 10; ++j) pos(0, j) = pos(1, j) = -double(j);
    node_kd_tree2 tree(pos);
    for (unsigned node = 0; node < 8; ++node) tree.insert_node(node);
    {
        const allocation::fail_containers memory(1, true);
        tree.insert_node(8);
    }
    ASSERT_EQ(tree.size(), 8u);
    EXPECT_EQ(tree.entries(1, 7), 8u);
    EXPECT_EQ(tree.closest_node({-9, -9}, {}), 7u);
    EXPECT_EQ(tree.closest_node({-9, -9}, {7}), 6u);
    EXPECT_EQ(box<2>(tree, {-9, -9}, {-5, -5}), (std::vector<unsigned>{7, 6, 5}));
}

TEST(InsertNode, StaysSoundWhateverAllocationFails)
{
    const auto pos = diagonal(40);
    const std::size_t live = allocation::live_blocks();
    for (const bool onwards : {false, true})
        allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, auto call) {
                node_kd_tree2 tree(pos);
                call([&] {
                    for (unsigned node = 0; node < 40; ++node) EXPECT_EQ(tree.insert_node(node), 1);
                });
                // One failure is made good by the resize; failures to the end stop the growth.
                const unsigned kept[] = {0, 0, 8, 16, 32, 40};
                EXPECT_EQ(tree.size(), onwards ? kept[std::min<std::size_t>(n, 5)] : 40u) << n;
                for (unsigned node = 0; node < tree.size(); ++node)
                    EXPECT_EQ(tree.closest_node({double(node), double(node)}, {}), node);
            },
            onwards);
    EXPECT_EQ(allocation::live_blocks(), live);
}
