#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <numeric>
#include <random>
#include <vector>

#include "cleaning/coincident_nodes.h"
#include "support/same.h"

namespace {
using kz3::lattiq::detail::coincident_nodes;
using kz3::lattiq::detail::representatives;

using list = std::vector<unsigned>;

struct merging {
    explicit merging(const dense2D<double>& pos) : id_map(pos.cols), nodes(pos.cols)
    {
        std::iota(id_map.begin(), id_map.end(), 0U);
        std::iota(nodes.begin(), nodes.end(), 0U);
    }

    dense1D<unsigned> id_map;
    list nodes;
    representatives map{id_map};
};

list to_list(std::span<const unsigned> nodes)
{
    return {nodes.begin(), nodes.end()};
}

// Coordinates whose hashes are all the same: the sum of two odd multiples that it is made of stays.
dense2D<double> equal_hashes(std::mt19937_64& draw, std::size_t n)
{
    constexpr std::uint64_t factors[] = {0x9E3779B97F4A7C15, 0xC2B2AE3D27D4EB4F};
    std::uint64_t inverse = 1; // of the first factor
    for (int i = 0; i < 6; ++i) inverse *= 2 - factors[0] * inverse;
    dense2D<double> pos(2, n);
    for (std::size_t j = 0; j < n;) {
        const auto y = std::bit_cast<std::uint64_t>(double(1 + draw() % 1000000));
        const std::uint64_t folded = (0 - (y ^ y >> 32) * factors[1]) * inverse;
        const auto x = std::bit_cast<double>(folded ^ folded >> 32);
        if (!std::isfinite(x)) continue;
        pos(0, j) = x;
        pos(1, j) = std::bit_cast<double>(y);
        ++j;
    }
    return pos;
}

} // namespace

TEST(CoincidentNodes, KeepsTheFirstOfEachPlaceInOrder)
{
    const auto pos = columns<double>({{1, 2}, {0.0, 3}, {1, 2}, {1, 3}, {-0.0, 3}, {1, 2}});
    merging m(pos);
    list nodes{5, 4, 3, 2, 1, 0};
    EXPECT_EQ(to_list(coincident_nodes<2>(pos, m.map).absorb(nodes)), (list{5, 4, 3}));
    EXPECT_TRUE(same(m.id_map, {5, 4, 5, 3, 4, 5}));
}

TEST(CoincidentNodes, DropsWhatIsNoNumberAndLeavesInfinitiesAlone)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const auto pos = columns<double>({{nan, 1}, {inf, 1}, {1, nan}, {inf, 1}, {1, 1}, {nan, 1}});
    merging m(pos);
    coincident_nodes<2> coincident(pos, m.map);
    EXPECT_EQ(to_list(coincident.absorb(m.nodes)), (list{1, 3, 4}));
    EXPECT_TRUE(coincident.any_infinite());
    EXPECT_TRUE(same(m.id_map, {0, 1, 2, 3, 4, 5}));
}

TEST(CoincidentNodes, GivesUpWhereTheFirstNodesAreApart)
{
    dense2D<double> pos(3, 1000, 0.0);
    for (std::size_t j = 0; j < 500; ++j) pos(1, j) = double(j);
    pos(2, 999) = std::numeric_limits<double>::quiet_NaN();
    merging m(pos);
    coincident_nodes<3> coincident(pos, m.map);
    const auto left = coincident.absorb_if_many(m.nodes);
    EXPECT_TRUE(coincident.gave_up());
    list expected(999);
    std::iota(expected.begin(), expected.end(), 0U);
    EXPECT_EQ(to_list(left), expected);

    expected.resize(500);
    EXPECT_EQ(to_list(coincident.absorb(left)), expected);
    EXPECT_FALSE(coincident.gave_up());
    for (unsigned j = 500; j < 999; ++j) EXPECT_EQ(m.id_map[j], 0U);
}

TEST(CoincidentNodes, GoesOnWhereTheFirstNodesCoincide)
{
    dense2D<double> pos(3, 1000, 0.0);
    for (std::size_t j = 0; j < 1000; ++j) pos(1, j) = double(j % 40);
    merging m(pos);
    coincident_nodes<3> coincident(pos, m.map);
    EXPECT_EQ(coincident.absorb_if_many(m.nodes).size(), 40U);
    EXPECT_FALSE(coincident.gave_up());
}

TEST(CoincidentNodes, SortsWhereHashesMeet)
{
    std::mt19937_64 draw(7);
    auto pos = equal_hashes(draw, 4000);
    for (std::size_t j = 0; j < pos.cols; ++j) {
        const std::size_t from = draw() % pos.cols;
        if (draw() % 3 != 0) continue;
        pos(0, j) = pos(0, from);
        pos(1, j) = pos(1, from);
    }
    // The last ones share their first coordinate.
    pos(0, 3997) = pos(0, 3998) = pos(0, 3999) = 1;
    pos(1, 3997) = pos(1, 3999) = 1;
    pos(1, 3998) = 2;
    pos(0, 77) = pos(0, 3996) = std::numeric_limits<double>::infinity();
    pos(1, 78) = std::numeric_limits<double>::quiet_NaN();
    merging m(pos);
    std::shuffle(m.nodes.begin(), m.nodes.end() - 4, draw);
    std::map<std::pair<double, double>, unsigned> first;
    list expected;
    dense1D<unsigned> expected_map;
    expected_map.copy(m.id_map);
    for (const unsigned node : m.nodes) {
        const std::pair at(pos(0, node), pos(1, node));
        if (std::isnan(at.second)) continue;
        const bool added = std::isinf(at.first) || first.emplace(at, node).second;
        if (added)
            expected.push_back(node);
        else
            expected_map[node] = first[at];
    }
    coincident_nodes<2> coincident(pos, m.map);
    EXPECT_EQ(to_list(coincident.absorb(m.nodes)), expected);
    EXPECT_TRUE(coincident.any_infinite());
    EXPECT_TRUE(same(m.id_map, expected_map));
}
