#include "search/kd_tree.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "plain/search/kd_tree.h"
#include "search/clouds.h"
#include "search/trees.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq::detail;

TEST(NodesInBox, ListsTheRightSubtreeThenTheLeftThenTheEntry)
{
    const auto pos = columns<double>({{5, 5}, {2, 7}, {8, 1}, {1, 9}, {3, 2}, {9, 0}, {8, 8}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_EQ(box<2>(tree, {0, 0}, {9, 9}), (std::vector<unsigned>{6, 5, 2, 3, 4, 1, 0}));
    EXPECT_EQ(box<2>(tree, {2, 1}, {8, 8}), (std::vector<unsigned>{6, 2, 4, 1, 0}));
}

TEST(NodesInBox, IsClosedOnAllSides)
{
    const auto pos = columns<double>({{0, 0, 0},
                                      {-1, 0, 0},
                                      {1, 0, 0},
                                      {0, -1, 0},
                                      {0, 1, 0},
                                      {0, 0, -1},
                                      {0, 0, 1},
                                      {0, 0, 1}});
    node_kd_tree3 tree(pos);
    insert_all(tree);
    auto found = box<3>(tree, {-1, -1, -1}, {1, 1, 1});
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<unsigned>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(box<3>(tree, {0, 0, 0}, {0, 0, 0}), (std::vector<unsigned>{0}));
    EXPECT_EQ(box<3>(tree, {1, 0, 0}, {1, 0, 0}), (std::vector<unsigned>{2}));
    const double less = std::nextafter(1.0, 0.0);
    EXPECT_EQ(box<3>(tree, {-less, -less, -less}, {less, less, less}), (std::vector<unsigned>{0}));
}

TEST(NodesInBox, FindsNothingInABoxTurnedInsideOut)
{
    const auto pos = diagonal(5);
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_TRUE(box<2>(tree, {4, 4}, {0, 0}).empty());
    EXPECT_TRUE(box<2>(tree, {0, 4}, {4, 0}).empty());
}

TEST(NodesInBox, TreatsNaNAsNoUpperBoundButFindsNothingBelowIt)
{
    const auto pos = diagonal(3);
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_EQ(box<2>(tree, {1, 1}, {not_a_number, not_a_number}), (std::vector<unsigned>{2, 1}));
    EXPECT_TRUE(box<2>(tree, {not_a_number, 0}, {9, 9}).empty());
    EXPECT_TRUE(box<2>(tree, {0, not_a_number}, {9, 9}).empty());
}

TEST(NodesInBox, AppendsToWhatTheOutputHolds)
{
    const auto pos = diagonal(3);
    node_kd_tree2 tree(pos);
    insert_all(tree);
    dense1D<unsigned> out{77, 78};
    tree.nodes_in_box({0, 0}, {1, 1}, out);
    tree.nodes_in_box({2, 2}, {2, 2}, out);
    tree.nodes_in_box({5, 5}, {6, 6}, out);
    EXPECT_TRUE(same(out, dense1D<unsigned>{77, 78, 1, 0, 2}));
}

TEST(NodesInBox, AppendsBehindAViewIntoLargerStorage)
{
    const auto pos = diagonal(2);
    node_kd_tree2 tree(pos);
    insert_all(tree);
    dense1D<unsigned> whole{10, 11, 12, 13, 14};
    auto part = whole.sub_vector(1, 1);
    tree.nodes_in_box({0, 0}, {1, 1}, part);
    EXPECT_TRUE(same(part, dense1D<unsigned>{11, 1, 0}));
    EXPECT_TRUE(same(whole, dense1D<unsigned>{10, 11, 1, 0, 14}));
}

TEST(NodesInBox, DoublesTheOutputWhereItMustGrow)
{
    const auto pos = diagonal(5);
    node_kd_tree2 tree(pos);
    insert_all(tree);
    dense1D<unsigned> out;
    tree.nodes_in_box({0, 0}, {9, 9}, out);
    // Room for 4 at first; the fifth asks for 8 of 4 bytes, where its own need would be 7.
    EXPECT_EQ(allocation::last_request(), 32u);
}

TEST(NodesInBox, DropsTheNodesItHasNoMemoryForAndGoesOn)
{
    const auto pos = diagonal(10);
    node_kd_tree2 tree(pos);
    insert_all(tree);
    const auto found = [&](std::size_t failing, bool onwards) {
        dense1D<unsigned> out;
        const allocation::fail_containers memory(failing, onwards);
        tree.nodes_in_box({0, 0}, {9, 9}, out);
        EXPECT_TRUE(memory.fired());
        return std::vector<unsigned>(out.begin(), out.end());
    };
    EXPECT_EQ(found(1, false), (std::vector<unsigned>{8, 7, 6, 5, 4, 3, 2, 1, 0}));
    EXPECT_EQ(found(1, true), std::vector<unsigned>());
    // The first block has room for four, so that the fifth node is dropped.
    EXPECT_EQ(found(2, false), (std::vector<unsigned>{9, 8, 7, 6, 4, 3, 2, 1, 0}));
    EXPECT_EQ(found(2, true), (std::vector<unsigned>{9, 8, 7, 6}));
}

namespace {

template <unsigned Dim>
void compare_boxes(clouds::character character)
{
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message()
                     << Dim << "-D, character " << character << ", seed " << seed);
        clouds::source random(character, seed);
        const auto pos = random.matrix(Dim, 1 + random.below(seed % 2 == 0 ? 12 : 200));
        node_kd_tree<Dim> tree(pos);
        plain::kd_tree<Dim> slow(pos);
        for (unsigned i = 0; i < pos.cols; ++i) {
            const unsigned node = random.below(unsigned(pos.cols));
            tree.insert_node(node);
            slow.insert_node(node);
        }
        for (int i = 0; i < 100; ++i) {
            auto lo = random.template point<Dim>(pos);
            auto hi = random.template point<Dim>(pos);
            if (random.below(8) != 0)
                for (unsigned d = 0; d < Dim; ++d)
                    if (lo[d] > hi[d]) std::swap(lo[d], hi[d]);
            std::vector<unsigned> expected;
            slow.nodes_in_box(lo, hi, expected);
            ASSERT_EQ(box<Dim>(tree, lo, hi), expected) << i;
            if (clouds::is_finite(character)) {
                ASSERT_EQ(expected.size(), slow.count_in_box(lo, hi)) << i;
            }
        }
    }
}

} // namespace

class NodesInBoxOfCloud : public testing::TestWithParam<clouds::character> {};

TEST_P(NodesInBoxOfCloud, AgreesWithThePlainRecursionAndWithALookAtAll)
{
    compare_boxes<2>(GetParam());
    compare_boxes<3>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Seeded, NodesInBoxOfCloud, testing::ValuesIn(clouds::all), clouds::name);
