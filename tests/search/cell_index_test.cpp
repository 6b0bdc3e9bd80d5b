#include "search/cell_index.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <vector>

#include "search/trees.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq::detail;

namespace {

double unit(std::mt19937& random)
{
    return double(random()) / 4294967296.0;
}

template <unsigned Dim>
std::vector<placed_node<Dim>> placed(unsigned n, std::mt19937& random, double hollow, double narrow)
{
    std::vector<placed_node<Dim>> nodes;
    while (nodes.size() < n) {
        placed_node<Dim> node{};
        double square = 0;
        for (double& x : node.p) {
            x = unit(random) - 0.5;
            square += x * x;
        }
        if (square < hollow * hollow) continue;
        if (hollow == 0 && random() % 4 == 0) // some crowd about a place
            for (double& x : node.p) x = 0.31 + x * narrow;
        node.node = unsigned(nodes.size());
        nodes.push_back(node);
    }
    return nodes;
}

template <unsigned Dim>
double distance(const placed_node<Dim>& node, const point<Dim>& q)
{
    double square = 0;
    for (unsigned d = 0; d < Dim; ++d) square += (node.p[d] - q[d]) * (node.p[d] - q[d]);
    return std::sqrt(square);
}

template <unsigned Dim>
void expect_nearest(const cell_index<Dim>& index, const std::vector<placed_node<Dim>>& nodes,
                    const point<Dim>& q, unsigned rejected, int& told)
{
    typename cell_index<Dim>::neighbours found;
    if (!index.find_nearest(q, rejected, found)) return;
    ++told;
    std::set<unsigned> once;
    for (unsigned k = 0; k < found.count; ++k)
        ASSERT_TRUE(once.insert(found.list[k].node).second) << found.list[k].node;
    double least = std::numeric_limits<double>::infinity();
    for (const auto& node : nodes)
        if (node.node != rejected) least = std::min(least, distance<Dim>(node, q));
    for (const auto& node : nodes) {
        const bool listed = std::any_of(found.list, found.list + found.count,
                                        [&](const auto& one) { return one.node == node.node; });
        if (node.node == rejected) {
            ASSERT_FALSE(listed);
        } else if (distance<Dim>(node, q) <= least * (1 + 1e-14)) {
            ASSERT_TRUE(listed) << node.node;
        } else if (distance<Dim>(node, q) > least + 1e-6) {
            ASSERT_FALSE(listed) << node.node;
        }
    }
}

template <unsigned Dim>
void compare_nearest(double hollow, double narrow)
{
    int told = 0;
    for (std::uint32_t seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(testing::Message() << Dim << "-D, seed " << seed);
        std::mt19937 random(seed);
        const auto nodes = placed<Dim>(1 + unsigned(random() % 1200), random, hollow, narrow);
        const auto index = cell_index<Dim>::make(nodes.data(), unsigned(nodes.size()));
        ASSERT_TRUE(index);
        for (int i = 0; i < 100; ++i) {
            point<Dim> q{};
            const double reach = i % 2 == 0 ? 0.2 : 2;
            for (double& x : q) x = reach * (unit(random) - 0.5);
            const unsigned rejected = i % 4 == 0 ? unsigned(random() % nodes.size()) : none;
            expect_nearest<Dim>(*index, nodes, q, rejected, told);
        }
    }
    EXPECT_GT(told, 14000); // few queries are too much for the index
}

} // namespace

TEST(CellIndex, ListsTheNearestNodesOfAnyCloud)
{
    for (const double hollow : {0.0, 0.45, 0.52, 0.57}) {
        compare_nearest<2>(hollow, 1e-3);
        compare_nearest<3>(hollow, 1e-3);
    }
    compare_nearest<2>(0.0, 1e-12);
    compare_nearest<3>(0.0, 1e-12);
}

TEST(CellIndex, ListsNodesUpToItsRoomOnly)
{
    std::vector<placed_node<2>> nodes(33);
    for (unsigned j = 0; j < 33; ++j) nodes[j].node = j;
    cell_index<2>::neighbours found;
    EXPECT_TRUE(cell_index<2>::make(nodes.data(), 32)->find_nearest({0, 1}, none, found));
    EXPECT_EQ(found.count, 32u);
    EXPECT_FALSE(cell_index<2>::make(nodes.data(), 33)->find_nearest({0, 1}, none, found));
    EXPECT_TRUE(cell_index<2>::make(nodes.data(), 33)->find_nearest({0, 1}, 7, found));
    EXPECT_EQ(found.count, 32u);
    EXPECT_NE(found.rejected_place, none);

    std::vector<placed_node<2>> many(257);
    cell_index<2>::box_candidates inside;
    EXPECT_TRUE(cell_index<2>::make(many.data(), 256)->find_in_box({0, 0}, {1, 1}, inside));
    EXPECT_EQ(inside.count, 256u);
    inside.count = 0;
    EXPECT_FALSE(cell_index<2>::make(many.data(), 257)->find_in_box({0, 0}, {1, 1}, inside));
}

TEST(CellIndex, IsNotMadeForWhatItCannotReckonWith)
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double x : {not_a_number, infinity, -infinity, 1e151, -1e151}) {
        const placed_node<2> nodes[] = {{{0, 1}, 0, {}}, {{1, x}, 1, {}}};
        EXPECT_FALSE(cell_index<2>::make(nodes, 2)) << x;
        EXPECT_TRUE(cell_index<2>::make(nodes, 1));
    }
    const placed_node<2> close[] = {{{0, 0}, 0, {}}, {{1e-100, 0}, 1, {}}};
    EXPECT_FALSE(cell_index<2>::make(close, 2));
}

TEST(CellIndex, LeavesPointsTooFarAwayAndNoNumbersAlone)
{
    const placed_node<2> nodes[] = {{{0, 0}, 0, {}}, {{1, 1}, 1, {}}};
    const auto index = cell_index<2>::make(nodes, 2);
    cell_index<2>::neighbours found;
    for (const double x : {not_a_number, 1e30, -1e30, std::numeric_limits<double>::infinity()}) {
        EXPECT_FALSE(index->find_nearest({x, 0}, none, found)) << x;
        EXPECT_FALSE(index->find_nearest({0, x}, none, found)) << x;
    }
    EXPECT_TRUE(index->find_nearest({1000, 0}, none, found));
}

TEST(CellIndex, DoesNotAnswerWithoutANodeButTheRejected)
{
    const placed_node<2> nodes[] = {{{0, 0}, 7, {}}, {{0, 0}, 7, {}}};
    cell_index<2>::neighbours found;
    EXPECT_FALSE(cell_index<2>::make(nodes, 2)->find_nearest({0, 0}, 7, found));
    EXPECT_EQ(found.count, 0u);
}

namespace {

// A node in the far corner of the unit cube, and a lattice in the near one.
template <unsigned Dim>
std::vector<placed_node<Dim>> far_node_and_lattice(unsigned side, double spacing)
{
    std::vector<placed_node<Dim>> nodes(1);
    std::fill_n(nodes[0].p, Dim, 1.0);
    for (unsigned j = 0; j < (Dim == 2 ? side * side : side * side * side); ++j) {
        placed_node<Dim> node{};
        unsigned place = j;
        for (double& x : node.p) {
            x = spacing * double(place % side);
            place /= side;
        }
        node.node = j + 1;
        nodes.push_back(node);
    }
    return nodes;
}

template <unsigned Dim>
void compare_lattices_of_few_units(unsigned side)
{
    int told = 0;
    for (double units = 0.5; units < 16; units *= 1.02) {
        SCOPED_TRACE(testing::Message() << Dim << "-D, spacing " << units);
        const double spacing = units * 0x1p-29; // the unit is half to twice as long
        const auto nodes = far_node_and_lattice<Dim>(side, spacing);
        const auto index = cell_index<Dim>::make(nodes.data(), unsigned(nodes.size()));
        ASSERT_TRUE(index);
        for (const auto& node : nodes) {
            point<Dim> q{};
            std::copy_n(node.p, Dim, q.data);
            expect_nearest<Dim>(*index, nodes, q, node.node, told);
            for (double& x : q) x += spacing / 2;
            expect_nearest<Dim>(*index, nodes, q, none, told);
        }
    }
    EXPECT_GT(told, 10000);
}

} // namespace

// Whole units are then much rounder than the distances that are alike.
TEST(CellIndex, ListsAllNearestNodesOfALatticeOfFewUnits)
{
    compare_lattices_of_few_units<2>(9);
    compare_lattices_of_few_units<3>(5);
}

// What is so close by comparison with the point's coordinates is more units away, the further out.
TEST(CellIndex, ListsNodesThatRoundingCouldBlurOrLeavesThePointAlone)
{
    int told = 0;
    for (int exponent = 0; exponent < 50; ++exponent) {
        const double x = std::ldexp(1, exponent);
        const double blur = std::ldexp(x, -46);
        const placed_node<2> nodes[] = {{{0, 0}, 0, {}}, {{1, 0}, 1, {}}, {{1 - blur, 0}, 2, {}}};
        const auto index = cell_index<2>::make(nodes, 3);
        ASSERT_TRUE(index);
        cell_index<2>::neighbours found;
        if (!index->find_nearest({x, 0}, none, found)) continue;
        ++told;
        EXPECT_GE(found.count, 2u) << exponent;
    }
    EXPECT_GE(told, 10);
}

TEST(CellIndex, IsDoneWithoutWhereMemoryIsExhausted)
{
    std::mt19937 random(1);
    const auto nodes = placed<3>(500, random, 0, 1e-3);
    EXPECT_GE(allocation::sweep<allocation::fail_new>([&](std::size_t, auto guarded) {
                  guarded([&] {
                      const auto index = cell_index<3>::make(nodes.data(), 500);
                      EXPECT_TRUE(!index || index->order_of(0).entry < 500);
                  });
              }),
              5u);
}

TEST(CellIndex, DoesNotCutSmallCrowdsLevelByLevel)
{
    // Each cut allocates; a crowd alone in its cell would take one for each level down to its width.
    std::mt19937 random(2);
    std::vector<placed_node<3>> nodes(600);
    for (unsigned j = 0; j < nodes.size(); ++j) {
        std::mt19937 crowd(j / 20 + 1);
        for (double& x : nodes[j].p) x = unit(crowd) + 1e-6 * unit(random);
        nodes[j].node = j;
    }
    EXPECT_LE(allocation::sweep<allocation::fail_new>([&](std::size_t, auto guarded) {
                  guarded([&] { (void)cell_index<3>::make(nodes.data(), 600); });
              }),
              20u);
    int told = 0;
    const auto index = cell_index<3>::make(nodes.data(), 600);
    ASSERT_TRUE(index);
    for (const auto& node : nodes)
        expect_nearest<3>(*index, nodes, {node.p[0], node.p[1], node.p[2]}, node.node, told);
    EXPECT_EQ(told, 600);
}
