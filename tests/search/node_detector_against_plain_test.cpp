#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <kz3/lattiq/search.h>

#include "plain/search/kd_tree.h"
#include "plain/search/mersenne_generator.h"
#include "search/trees.h"
#include "support/allocation.h"
#include "support/same.h"

using kz3::lattiq::node_detector;

// Clouds large enough for an index, on which the nearest node is often not the only one: what is
// found must be what the plain tree finds, whichever way it was found.

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();

using coordinate = std::function<double(std::mt19937&)>;

double unit(std::mt19937& random)
{
    return double(random()) / 4294967296.0;
}

double sign(std::mt19937& random)
{
    return random() % 2 == 0 ? 1 : -1;
}

struct cloud {
    const char* name;
    coordinate at;     // of a node
    double length;     // of a typical distance between neighbours
    double centre = 0; // nodes are moved by so much
    enum { as_drawn, shell, hollow } shape = as_drawn;
};

const cloud clouds_with_ties[] = {
    {"Scattered", [](auto& r) { return unit(r); }, 0.1},
    {"Lattice", [](auto& r) { return double(r() % 9); }, 1},
    {"LatticeOfTenths", [](auto& r) { return double(r() % 10) / 10; }, 0.1},
    {"LatticeOfHundredthsFarOut", [](auto& r) { return double(r() % 10) / 100; }, 0.01, 4711},
    {"NearLattice", [](auto& r) { return double(r() % 8) * (1 + double(r() % 4) * 0x1p-52); }, 1},
    {"Shell", [](auto& r) { return unit(r) - 0.5; }, 0.1, 0, cloud::shell},
    {"ShellFarOut", [](auto& r) { return unit(r) - 0.5; }, 0.1, 1e6, cloud::shell},
    {"HollowCube", [](auto& r) { return unit(r) - 0.5; }, 0.1, 0, cloud::hollow},
    {"Clusters",
     [](auto& r) { return double(r() % 3) + std::pow(10.0, -1.0 - double(r() % 9)) * unit(r); },
     1e-4},
    {"Coincident", [](auto& r) { return double(r() % 2); }, 1},
    {"OnOnePlace", [](auto&) { return 2.5; }, 1},
    {"SignedZeros", [](auto& r) { return double(r() % 2) * sign(r) * 0; }, 1},
    {"NeighbouringDoubles",
     [](auto& r) { return 1 + double(r() % 8) * std::numeric_limits<double>::epsilon(); },
     std::numeric_limits<double>::epsilon()},
    {"LatticeOfFewUnits", [](auto& r) { return r() % 500 == 0 ? 1 : double(r() % 20) * 7e-9; },
     7e-9},
    {"OneFarAway", [](auto& r) { return r() % 500 == 0 ? 1e9 : unit(r); }, 0.1},
    {"FarFromTheOrigin", [](auto& r) { return unit(r); }, 0.1, 1e8},
    {"FartherThanAnyUnit", [](auto& r) { return double(r() % 9); }, 1, 0x1p52},
    {"Tiny", [](auto& r) { return double(r() % 6) * 1e-165; }, 1e-165},
    {"Subnormal", [](auto& r) { return double(r() % 6) * 5e-324; }, 5e-324},
    {"TinyNextToOne", [](auto& r) { return r() % 9 == 0 ? 1 : double(r() % 6) * 1e-165; }, 1e-165},
    {"Enormous", [](auto& r) { return (unit(r) - 0.5) * 2e154; }, 1e153},
    {"FarPointsHaveNoFiniteSquares", [](auto& r) { return (unit(r) - 0.5) * 6e150; }, 6e149},
    {"WithAnInfinity", [](auto& r) { return r() % 200 == 0 ? sign(r) * inf : double(r() % 6); }, 1},
    {"WithANaN", [](auto& r) { return r() % 200 == 0 ? not_a_number : double(r() % 6); }, 1},
};

template <unsigned Dim>
dense2D<double> nodes_of(const cloud& of, unsigned n, std::mt19937& random)
{
    dense2D<double> pos(Dim, n);
    for (unsigned j = 0; j < n; ++j) {
        double length = 0;
        for (unsigned d = 0; d < Dim; ++d) {
            pos(d, j) = of.at(random);
            length += pos(d, j) * pos(d, j);
        }
        for (unsigned d = 0; d < Dim; ++d) {
            if (of.shape == cloud::shell) pos(d, j) /= std::sqrt(length);
            if (of.shape == cloud::hollow && length < 0.33) // out of a sphere, into the corners
                pos(d, j) = std::clamp(pos(d, j) * 0.57 / std::sqrt(length), -0.5, 0.5);
            pos(d, j) += of.centre;
        }
    }
    return pos;
}

// A node, a place near one, the middle between two, the centre or a far place.
template <unsigned Dim>
point<Dim> place(const cloud& of, const dense2D<double>& pos, std::mt19937& random)
{
    const auto a = unsigned(random() % pos.cols);
    const auto b = unsigned(random() % pos.cols);
    const unsigned kind = random() % 16;
    point<Dim> q{};
    for (unsigned d = 0; d < Dim; ++d) {
        q[d] = pos(d, a);
        if (kind < 4) q[d] += of.length * (unit(random) - 0.5);
        if (kind >= 4 && kind < 8) q[d] += of.length * 0.5 * double(random() % 3);
        if (kind >= 8 && kind < 11) q[d] = q[d] / 2 + pos(d, b) / 2;
        if (kind == 11) q[d] = a % 2 == 0 ? of.centre : pos(d, b) - of.centre;
        if (kind == 12) q[d] = of.centre + sign(random) * std::pow(10.0, double(random() % 25));
        if (kind == 13) q[d] = random() % 3 == 0 ? sign(random) * inf : q[d];
        if (kind == 14) q[d] = random() % 3 == 0 ? not_a_number : q[d];
        if (kind == 15) q[d] += of.length * sign(random) * std::pow(10.0, double(random() % 9));
    }
    return q;
}

template <unsigned Dim>
std::vector<unsigned> box(const node_detector& detector, const point<Dim>& lo, const point<Dim>& hi)
{
    dense1D<unsigned> out;
    detector.find_in_box(lo, hi, out);
    return {out.begin(), out.end()};
}

template <unsigned Dim>
void expect_alike(const node_detector& detector, const plain::kd_tree<Dim>& slow, const cloud& of,
                  const dense2D<double>& pos, std::mt19937& random, int queries)
{
    ASSERT_EQ(detector.size(), slow.size());
    for (int i = 0; i < queries; ++i) {
        const auto q = place<Dim>(of, pos, random);
        ASSERT_EQ(detector.find_closest(q), slow.closest_node(q)) << i;
        const auto node = unsigned(random() % pos.cols);
        point<Dim> at{};
        for (unsigned d = 0; d < Dim; ++d) at[d] = pos(d, node);
        ASSERT_EQ(detector.find_closest(node), slow.closest_node(at, node)) << i;

        const auto other = place<Dim>(of, pos, random);
        point<Dim> lo = q;
        point<Dim> hi = other;
        for (unsigned d = 0; d < Dim; ++d) {
            if (i % 2 == 0) hi[d] = q[d] + of.length * unit(random) * 3;
            if (lo[d] > hi[d] && i % 16 != 0) std::swap(lo[d], hi[d]);
        }
        std::vector<unsigned> expected;
        slow.nodes_in_box(lo, hi, expected);
        ASSERT_EQ(box<Dim>(detector, lo, hi), expected) << i;
    }
}

template <unsigned Dim>
void compare(const cloud& of, unsigned n, std::uint32_t seed)
{
    SCOPED_TRACE(testing::Message() << Dim << "-D, " << n << " nodes, seed " << seed);
    std::mt19937 random(seed);
    const auto pos = nodes_of<Dim>(of, n, random);
    std::vector<unsigned> every(n);
    std::iota(every.begin(), every.end(), 0u);
    plain::kd_tree<Dim> slow(pos);
    for (const unsigned node : plain::shuffled(every)) slow.insert_node(node);
    node_detector detector(pos);
    expect_alike<Dim>(detector, slow, of, pos, random, 200);

    // A copy stays as it is when more nodes go into the detector.
    const node_detector copy(detector);
    const std::vector<unsigned> more{0, n - 1, n / 2, n};
    dense1D<unsigned> list(more.size());
    std::copy(more.begin(), more.end(), list.begin());
    EXPECT_EQ(detector.insert(list), 3u);
    expect_alike<Dim>(copy, slow, of, pos, random, 20);
    for (const unsigned node : plain::shuffled(more)) slow.insert_node(node);
    expect_alike<Dim>(detector, slow, of, pos, random, 50);
}

std::string name_of_cloud(const testing::TestParamInfo<cloud>& info)
{
    return info.param.name;
}

} // namespace

class NodeDetectorOfCloudWithTies : public testing::TestWithParam<cloud> {};

TEST_P(NodeDetectorOfCloudWithTies, FindsWhatThePlainTreeFinds)
{
    for (const unsigned n : {31u, 32u, 33u, 100u, 700u, 3000u})
        for (std::uint32_t seed = 1; seed <= 3; ++seed) {
            compare<2>(GetParam(), n, seed);
            compare<3>(GetParam(), n, seed);
        }
}

INSTANTIATE_TEST_SUITE_P(Seeded, NodeDetectorOfCloudWithTies, testing::ValuesIn(clouds_with_ties),
                         name_of_cloud);

TEST(NodeDetectorAgainstPlain, TakesListsWithRepeatsHolesAndStrides)
{
    std::mt19937 random(3);
    const cloud& of = clouds_with_ties[2];
    strided<double> pos(nodes_of<3>(of, 400, random), not_a_number);
    std::vector<unsigned> list(900);
    for (unsigned& node : list) node = random() % 20 == 0 ? none : unsigned(random() % 400);
    dense1D<unsigned> given(list.size());
    std::copy(list.begin(), list.end(), given.begin());

    plain::kd_tree<3> slow(pos.view);
    for (const unsigned node : plain::shuffled(list)) slow.insert_node(node);
    const node_detector detector(pos.view, given);
    expect_alike<3>(detector, slow, of, pos.view, random, 500);
    EXPECT_TRUE(pos.gaps_untouched());
}

TEST(NodeDetectorAgainstPlain, FindsNothingBesideOneNodeStoredManyTimes)
{
    std::mt19937 random(6);
    const auto pos = nodes_of<2>(clouds_with_ties[0], 3, random);
    const std::vector<unsigned> list(32, 1);
    dense1D<unsigned> given(list.size(), 1u);
    plain::kd_tree<2> slow(pos);
    for (const unsigned node : list) slow.insert_node(node);
    const node_detector detector(pos, given);
    EXPECT_EQ(detector.find_closest(1u), none);
    expect_alike<2>(detector, slow, clouds_with_ties[0], pos, random, 100);
}

TEST(NodeDetectorAgainstPlain, LoadsAndAnswersWhateverAllocationFails)
{
    std::mt19937 random(4);
    const cloud& of = clouds_with_ties[1];
    const auto pos = nodes_of<2>(of, 500, random);
    std::vector<unsigned> every(500);
    std::iota(every.begin(), every.end(), 0u);
    plain::kd_tree<2> slow(pos);
    for (const unsigned node : plain::shuffled(every)) slow.insert_node(node);

    const std::size_t live = allocation::live_blocks();
    for (const bool onwards : {false, true})
        allocation::sweep<allocation::fail_new>(
            [&](std::size_t, auto guarded) {
                node_detector detector;
                try {
                    guarded([&] { detector.reinit(pos); });
                } catch (const std::bad_alloc&) {
                    EXPECT_EQ(detector.size(), 0u);
                    return;
                }
                // A list refused has left the detector empty.
                if (detector.size() != 0) expect_alike<2>(detector, slow, of, pos, random, 20);
            },
            onwards);
    EXPECT_EQ(allocation::live_blocks(), live);
}

TEST(NodeDetectorAgainstPlain, DropsTheSameNodesOfABoxWithoutMemory)
{
    std::mt19937 random(5);
    const auto pos = nodes_of<2>(clouds_with_ties[0], 500, random);
    const node_detector indexed(pos);
    node_detector walked(pos);
    ASSERT_EQ(walked.insert(dense1D<unsigned>{0}), 1u); // leaves it without an index
    for (const bool onwards : {false, true})
        for (std::size_t failing = 1; failing < 8; ++failing) {
            const auto found = [&](const node_detector& detector) {
                dense1D<unsigned> out;
                const allocation::fail_containers memory(failing, onwards);
                detector.find_in_box(point<2>{0.3, 0.2}, point<2>{0.8, 0.6}, out);
                return std::vector<unsigned>(out.begin(), out.end());
            };
            EXPECT_EQ(found(indexed), found(walked)) << failing;
        }
}
