#include "search/kd_tree.h"

#include <cmath>
#include <limits>

#include "plain/search/kd_tree.h"
#include "search/clouds.h"
#include "search/trees.h"
#include "support/same.h"

using namespace kz3::lattiq::detail;

TEST(ClosestNode, FindsNothingInAnEmptyTree)
{
    const auto pos = diagonal(3);
    const node_kd_tree2 tree(pos);
    EXPECT_EQ(tree.closest_node({0, 0}, {}), none);
}

TEST(ClosestNode, FindsNothingIfTheOnlyNodeIsRejected)
{
    const auto pos = diagonal(3);
    node_kd_tree2 tree(pos);
    tree.insert_node(1);
    EXPECT_EQ(tree.closest_node({1, 1}, {1}), none);
    EXPECT_EQ(tree.closest_node({5, 0}, {1}), none);
    EXPECT_EQ(tree.closest_node({5, 0}, {2}), 1u);
}

TEST(ClosestNode, SkipsEveryEntryOfARejectedNode)
{
    const auto pos = diagonal(3);
    node_kd_tree2 tree(pos);
    for (const unsigned node : {1u, 1u, 2u, 1u}) tree.insert_node(node);
    EXPECT_EQ(tree.closest_node({1, 1}, {1}), 2u);
}

TEST(ClosestNode, ReachesTheFirstOfCoincidentNodes)
{
    const auto pos = columns<double>({{3, 3}, {1, 1}, {1, 1}, {1, 1}});
    node_kd_tree2 tree(pos);
    for (const unsigned node : {0u, 2u, 3u, 1u}) tree.insert_node(node);
    EXPECT_EQ(tree.closest_node({1, 1}, {}), 2u);
    EXPECT_EQ(tree.closest_node({1, 1}, {2}), 3u);
}

TEST(ClosestNode, KeepsThePickOfTheDescentAtATie)
{
    const auto pos = columns<double>({{0, 0}, {2, 0}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_EQ(tree.closest_node({1, 0}, {}), 0u);

    node_kd_tree2 reversed(pos);
    reversed.insert_node(1);
    reversed.insert_node(0);
    EXPECT_EQ(reversed.closest_node({1, 0}, {}), 1u);
}

TEST(ClosestNode, KeepsThePickOfTheDescentBeforeANodeHigherUpInAnotherBranch)
{
    // To (0, 0) the descent goes root 0, left to 1, left to 2; node 3 hangs right of the root.
    const auto pos = columns<double>({{0.5, 10}, {-10, 0.5}, {-1, 0}, {1, 0}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_TRUE(
        same(tree.entries,
             columns<unsigned>({{0, 1, 3}, {1, 2, none}, {2, none, none}, {3, none, none}})));
    EXPECT_EQ(tree.closest_node({0, 0}, {}), 2u);
    EXPECT_EQ(tree.closest_node({0, 0}, {2}), 3u);
}

TEST(ClosestNode, PrefersTheRightSubtreeOffTheDescent)
{
    // To (0, 0) the descent goes root 0, left to 1 and ends, both further away than 2 and 3, which
    // tie. Node 2 hangs right of the root, node 3 right of node 1.
    const auto pos = columns<double>({{0.5, 10}, {-10, 0.5}, {1, 0}, {0, 1}});
    for (const bool left_first : {false, true}) {
        node_kd_tree2 tree(pos);
        tree.insert_node(0);
        tree.insert_node(1);
        tree.insert_node(left_first ? 3 : 2);
        tree.insert_node(left_first ? 2 : 3);
        EXPECT_EQ(tree.closest_node({0, 0}, {}), 2u);
        EXPECT_EQ(tree.closest_node({0, 0}, {2}), 3u);
    }
}

TEST(ClosestNode, PrefersAnEntryToItsSubtreesOffTheDescent)
{
    // Right of the root hangs node 2 with node 3 to its right, both at distance 5 from (0, 0).
    const auto pos = columns<double>({{2.5, 50}, {-50, 2.5}, {5, 0}, {3, 4}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    ASSERT_EQ(tree.entries(2, 2), 3u);
    EXPECT_EQ(tree.closest_node({0, 0}, {}), 2u);
}

TEST(ClosestNode, PrefersTheRightSubtreeToTheLeftOfOneEntry)
{
    // Right of the root hangs node 2, far away, with node 3 to its left and node 4 to its right.
    const auto pos = columns<double>({{0.5, 10}, {-10, 0.5}, {9, 0}, {1, -1}, {1, 1}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    ASSERT_EQ(tree.entries(1, 2), 3u);
    ASSERT_EQ(tree.entries(2, 2), 4u);
    EXPECT_EQ(tree.closest_node({0, 0}, {}), 4u);
    EXPECT_EQ(tree.closest_node({0, 0}, {4}), 3u);
}

TEST(ClosestNode, PassesOverTheRightSideOfASplitRightAtTheRadius)
{
    // The descent goes left from node 0 to node 1, one and a quarter units in the last place of 1
    // away. 1 plus that radius rounds down to the split value 1 + e of node 0, so that node 2 to the
    // right of it is not looked at, though it is at a distance of e.
    const double e = std::numeric_limits<double>::epsilon();
    const auto pos = columns<double>({{1 + e, 10}, {1, 1.25 * e}, {1 + e, 0}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    ASSERT_EQ(tree.entries(2, 0), 2u);
    EXPECT_EQ(tree.closest_node({1, 0}, {}), 1u);
    EXPECT_EQ(tree.closest_node({1, 0}, {1}), 2u);
}

TEST(ClosestNode, LetsANaNPointTakeTheLastNodeOfItsPath)
{
    const auto pos = columns<double>({{5, 5}, {2, 7}, {8, 1}, {9, 0}, {8, 3}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    // Right at every NaN; on the second axis 1 > 0 sends (not_a_number, 0) left, to node 3.
    EXPECT_EQ(tree.closest_node({not_a_number, not_a_number}, {}), 4u);
    EXPECT_EQ(tree.closest_node({not_a_number, 0}, {}), 3u);
    EXPECT_EQ(tree.closest_node({not_a_number, not_a_number}, {4}), 2u);
}

TEST(ClosestNode, ReplacesANodeAtNaNByAnyLaterOne)
{
    const auto pos = columns<double>({{0, 0}, {1, not_a_number}, {900, 900}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    // The distances along the path are 0, not a number and far: the last one takes over, and the
    // search around the point then finds node 0 again.
    EXPECT_EQ(tree.closest_node({0, 0}, {}), 0u);
    // Without node 2 the path ends at not_a_number, and there the query ends.
    node_kd_tree2 shorter(pos);
    shorter.insert_node(0);
    shorter.insert_node(1);
    EXPECT_EQ(shorter.closest_node({0, 0}, {}), 1u);
}

TEST(ClosestNode, FindsNothingBeyondTheRangeOfSquares)
{
    const auto pos = columns<double>({{1e200, 0}, {std::numeric_limits<double>::infinity(), 0}});
    node_kd_tree2 tree(pos);
    insert_all(tree);
    EXPECT_EQ(tree.closest_node({0, 0}, {}), none);
    EXPECT_EQ(tree.closest_node({1e200, 1}, {}), 0u);
}

TEST(ClosestNode, SumsTheSquaresOfXAndYBeforeThatOfZ)
{
    // The square of t is 3/8 of the unit in the last place of 1: one of them is lost against 1, two
    // of them together round it up. So node 0 lies at a squared distance just above 1, and node 1,
    // where they are added one after the other, at 1.
    const double t = std::ldexp(1.2247, -27);
    const auto pos = columns<double>({{-t, -t, 1}, {1, t, t}});
    node_kd_tree3 tree(pos);
    insert_all(tree);
    EXPECT_EQ(tree.closest_node({0, 0, 0}, {}), 1u);
}

namespace {

template <unsigned Dim>
void compare_closest_nodes(clouds::character character)
{
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message()
                     << Dim << "-D, character " << character << ", seed " << seed);
        clouds::source random(character, seed);
        const auto pos = random.matrix(Dim, 1 + random.below(seed % 2 == 0 ? 12 : 200));
        node_kd_tree<Dim> tree(pos);
        plain::kd_tree<Dim> slow(pos);
        const unsigned stored = 1 + random.below(unsigned(pos.cols));
        for (unsigned i = 0; i < stored; ++i) {
            const unsigned node = random.below(unsigned(pos.cols));
            tree.insert_node(node);
            slow.insert_node(node);
        }
        for (int i = 0; i < 200; ++i) {
            const auto q = random.template point<Dim>(pos);
            const unsigned rejected =
                random.below(2) == 0 ? none : random.below(unsigned(pos.cols));
            const unsigned found = tree.closest_node(q, {rejected});
            ASSERT_EQ(found, slow.closest_node(q, rejected)) << i;
            if (!clouds::is_finite(character)) continue;
            const double least = slow.least_distance(q, rejected);
            ASSERT_EQ(found == none, least < 0) << i;
            if (found != none) {
                ASSERT_DOUBLE_EQ(std::sqrt(slow.square(found, q)), least) << i;
            }
        }
    }
}

} // namespace

class ClosestNodeInCloud : public testing::TestWithParam<clouds::character> {};

TEST_P(ClosestNodeInCloud, AgreesWithThePlainRecursionAndWithALookAtAll)
{
    compare_closest_nodes<2>(GetParam());
    compare_closest_nodes<3>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Seeded, ClosestNodeInCloud, testing::ValuesIn(clouds::all), clouds::name);
