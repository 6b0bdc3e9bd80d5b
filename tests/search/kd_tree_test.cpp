#include "search/kd_tree.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <thread>
#include <vector>

#include "plain/search/kd_tree.h"
#include "search/clouds.h"
#include "search/mersenne_generator.h"
#include "search/trees.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq::detail;

TEST(CopyTree, SharesCoordinatesButNotEntries)
{
    const auto pos = diagonal(4);
    node_kd_tree2 tree(pos);
    tree.insert_node(0);
    tree.insert_node(2);
    node_kd_tree2 other;
    ASSERT_TRUE(other.copy(tree));
    EXPECT_EQ(other.coords, &pos);
    EXPECT_TRUE(same(other.entries, tree.entries));

    other.insert_node(3);
    tree.insert_node(1);
    EXPECT_EQ(box<2>(tree, {0, 0}, {9, 9}), (std::vector<unsigned>{1, 2, 0}));
    EXPECT_EQ(box<2>(other, {0, 0}, {9, 9}), (std::vector<unsigned>{3, 2, 0}));
}

namespace {

// A chain of right children as insertion of n coincident nodes makes it, written down directly.
void fill_chain(node_kd_tree2& tree, unsigned n)
{
    ASSERT_TRUE(tree.reserve(n) && tree.entries.resize(3, n));
    for (unsigned i = 0; i < n; ++i) {
        unsigned* words = tree.entries_data + std::size_t(i) * 3;
        words[0] = i;
        words[1] = none;
        words[2] = i + 1 < n ? i + 1 : none;
    }
}

std::vector<unsigned> counted_down(unsigned n)
{
    std::vector<unsigned> list(n);
    std::iota(list.rbegin(), list.rend(), 0u);
    return list;
}

// n nodes along the diagonal, each with a left child half way back: n right turns are taken before
// the first left one.
template <unsigned Dim>
dense2D<double> comb(unsigned n)
{
    dense2D<double> pos(Dim, 2 * std::size_t(n));
    for (unsigned i = 0; i < n; ++i)
        for (unsigned d = 0; d < Dim; ++d) {
            pos(d, i) = i;
            pos(d, n + i) = i - 0.5;
        }
    return pos;
}

} // namespace

TEST(DeepTree, HoldsACoincidentChainLoadedNodeByNode)
{
    constexpr unsigned n = 10000;
    const dense2D<double> pos(3, n, 1.0);
    node_kd_tree3 tree(pos);
    ASSERT_TRUE(tree.reserve(n));
    for (unsigned node = 0; node < n; ++node) ASSERT_EQ(tree.insert_node(node), 1);
    EXPECT_EQ(tree.entries(2, n - 2), n - 1);
    EXPECT_EQ(tree.closest_node({1, 1, 1}, {}), 0u);
    EXPECT_EQ(tree.closest_node({1, 1, 1}, {0}), 1u);
    EXPECT_EQ(tree.closest_node({5, 5, 5}, {}), 0u);
    EXPECT_EQ(box<3>(tree, {1, 1, 1}, {1, 1, 1}), counted_down(n));
    EXPECT_TRUE(box<3>(tree, {2, 0, 0}, {3, 9, 9}).empty());
}

TEST(DeepTree, AnswersFromAChainOfAMillion)
{
    constexpr unsigned n = 1000000;
    const dense2D<double> pos(2, n, 1.0);
    node_kd_tree2 tree(pos);
    fill_chain(tree, n);
    EXPECT_EQ(tree.closest_node({2, 2}, {}), 0u);
    EXPECT_EQ(tree.closest_node({1, 1}, {0}), 1u);
    EXPECT_EQ(box<2>(tree, {0, 0}, {2, 2}), counted_down(n));
}

namespace {

template <unsigned Dim>
void query_comb()
{
    constexpr unsigned n = 2000;
    const auto pos = comb<Dim>(n);
    node_kd_tree<Dim> tree(pos);
    plain::kd_tree<Dim> slow(pos);
    for (unsigned node = 0; node < 2 * n; ++node) {
        tree.insert_node(node);
        slow.insert_node(node);
    }
    point<Dim> far{};
    far = 1e6;
    EXPECT_EQ(tree.closest_node(far, {}), n - 1);
    EXPECT_EQ(tree.closest_node(far, {n - 1}), 2 * n - 1);
    EXPECT_EQ(slow.closest_node(far, n - 1), 2 * n - 1);
    far = -1e6;
    EXPECT_EQ(tree.closest_node(far, {}), n);
    point<Dim> lo{};
    point<Dim> hi{};
    lo = -1.0;
    hi = n;
    std::vector<unsigned> expected;
    slow.nodes_in_box(lo, hi, expected);
    EXPECT_EQ(expected.size(), 2 * n);
    EXPECT_EQ(box<Dim>(tree, lo, hi), expected);
}

} // namespace

TEST(DeepTree, KeepsItsOrderWithManyBranchesPending)
{
    query_comb<2>();
    query_comb<3>();
}

TEST(DeepTree, ThrowsWithoutMemoryForPendingBranchesAndStaysUsable)
{
    constexpr unsigned n = 500;
    const auto pos = comb<2>(n);
    node_kd_tree2 tree(pos);
    insert_all(tree);
    dense1D<unsigned> out{7};
    ASSERT_TRUE(out.reserve(2 * n + 1, 1));
    const std::size_t live = allocation::live_blocks();
    {
        const allocation::fail_new memory(1);
        bool thrown = false;
        try {
            tree.nodes_in_box({-1, -1}, {n, n}, out);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        EXPECT_TRUE(thrown);
    }
    {
        const allocation::fail_new memory(1);
        bool thrown = false;
        try {
            tree.closest_node({1e6, 1e6}, {});
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        EXPECT_TRUE(thrown);
    }
    EXPECT_EQ(allocation::live_blocks(), live);
    EXPECT_EQ(out[0], 7u);
    EXPECT_EQ(tree.closest_node({1e6, 1e6}, {}), n - 1);
    EXPECT_EQ(box<2>(tree, {-1, -1}, {n, n}).size(), 2 * n);
}

TEST(DeepTree, IsAvoidedByShufflingAndQueriesThenDoNotAllocate)
{
    constexpr unsigned side = 100;
    dense2D<double> pos(2, side * side);
    for (unsigned j = 0; j < pos.cols; ++j) {
        pos(0, j) = j / side;
        pos(1, j) = j % side;
    }
    std::vector<unsigned> order(pos.cols);
    std::iota(order.begin(), order.end(), 0u);
    mersenne_generator generator;
    shuffle_indices(order.data(), order.data() + order.size(), generator);
    node_kd_tree2 tree(pos);
    for (const unsigned node : order) tree.insert_node(node);

    std::vector<unsigned> depth(tree.size(), 0);
    for (unsigned i = 0; i < tree.size(); ++i)
        for (const unsigned child : {tree.entries(1, i), tree.entries(2, i)})
            if (child != none) depth[child] = depth[i] + 1;
    EXPECT_LT(*std::max_element(depth.begin(), depth.end()), 60u);

    dense1D<unsigned> out;
    ASSERT_TRUE(out.reserve(pos.cols, 1));
    const allocation::fail_new memory(1, true);
    tree.nodes_in_box({0, 0}, {side, side}, out);
    for (unsigned j = 0; j < pos.cols; ++j) tree.closest_node({pos(0, j), pos(1, j)}, {j});
    EXPECT_FALSE(memory.fired());
    EXPECT_EQ(out.size, pos.cols);
}

TEST(KdTree, AnswersSeveralThreadsAtOnce)
{
    clouds::source random(clouds::gridded, 5);
    const auto pos = random.matrix(3, 500);
    node_kd_tree3 tree(pos);
    insert_all(tree);
    const auto answers = [&] {
        std::vector<unsigned> all;
        dense1D<unsigned> out;
        for (unsigned node = 0; node < 500; ++node) {
            const point<3> p{pos(0, node), pos(1, node), pos(2, node)};
            all.push_back(tree.closest_node(p, {node}));
            tree.nodes_in_box(p, {p[0] + 2, p[1] + 2, p[2] + 2}, out);
        }
        all.insert(all.end(), out.begin(), out.end());
        return all;
    };
    const auto expected = answers();
    std::vector<std::vector<unsigned>> found(4);
    std::vector<std::thread> threads;
    for (auto& mine : found) threads.emplace_back([&] { mine = answers(); });
    for (auto& thread : threads) thread.join();
    for (const auto& mine : found) EXPECT_EQ(mine, expected);
}
