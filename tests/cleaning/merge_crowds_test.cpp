#include <cmath>
#include <functional>
#include <numeric>
#include <random>

#include <kz3/lattiq/cleaning.h>

#include "plain/cleaning/merge.h"
#include "support/same.h"

// Many nodes, in such places that the search for coincident ones gives up, that buckets of the grid are
// crowded, and that clusters reach over them.
namespace {
using kz3::lattiq::merge;

constexpr std::size_t count = 1500;

struct crowd {
    const char* name;
    std::function<void(std::mt19937&, dense2D<double>&)> place;
    std::vector<double> tolerances;
};

double uniform(std::mt19937& draw)
{
    return double(draw()) / 4294967296.0;
}

void scatter(std::mt19937& draw, dense2D<double>& pos)
{
    for (std::size_t j = 0; j < pos.cols; ++j)
        for (std::size_t d = 0; d < pos.rows; ++d) pos(d, j) = uniform(draw);
}

// Each of the places `apart` columns after the last node that is there, moved by up to `jitter`.
void repeat_places(std::mt19937& draw, dense2D<double>& pos, std::size_t apart, double jitter)
{
    scatter(draw, pos);
    for (std::size_t j = apart; j < pos.cols; ++j)
        for (std::size_t d = 0; d < pos.rows; ++d)
            pos(d, j) = pos(d, j % apart) + jitter * uniform(draw);
}

void gather_last(std::mt19937& draw, dense2D<double>& pos, std::size_t gathered, double jitter)
{
    scatter(draw, pos);
    for (std::size_t j = pos.cols - gathered; j < pos.cols; ++j)
        for (std::size_t d = 0; d < pos.rows; ++d) pos(d, j) = 0.5 + jitter * uniform(draw);
}

// Cubes of a grid for this distance that share a bucket whatever its size, by how cubes are folded onto
// buckets: number along x, plus that along y times an odd factor, modulo a power of two.
void share_a_bucket(std::mt19937& draw, dense2D<double>& pos, double tol)
{
    constexpr unsigned range = 8192;
    constexpr double largest = range * 16.0;
    const double edge = 32.3606797 * (tol + (tol + largest) * 0x1p-50);
    for (std::size_t j = 0; j < pos.cols; ++j) {
        const auto y = unsigned(draw() % (range / 4));
        const unsigned x =
            unsigned(0 - y * 0x9E3779B97F4A7C15) % 1024 + 1024 * unsigned(draw() % 4);
        const unsigned cube[] = {x, y, 0};
        for (std::size_t d = 0; d < pos.rows; ++d)
            pos(d, j) = -largest + edge * (cube[d] + 0.001 * double(1 + draw() % 3));
    }
    pos(0, 0) = -largest;
}

const crowd crowds[] = {
    {"coincident corners",
     [](auto& draw, auto& pos) { repeat_places(draw, pos, count / 6, 0); },
     {0, 1e-9, 0.01, 0.05}},
    {"near corners",
     [](auto& draw, auto& pos) { repeat_places(draw, pos, count / 6, 1e-4); },
     {1e-5, 0.9e-4, 1.5e-4, 2e-4, 1e-3, 0.02}},
    {"a late heap",
     [](auto& draw, auto& pos) { gather_last(draw, pos, 700, 0); },
     {0, 1e-6, 1e-3, 0.03}},
    {"a late cloud",
     [](auto& draw, auto& pos) { gather_last(draw, pos, 400, 1e-3); },
     {1e-5, 1e-4, 0.9e-3, 2e-3}},
    {"a line",
     [](auto& draw, auto& pos) {
         for (std::size_t j = 0; j < pos.cols; ++j)
             for (std::size_t d = 0; d < pos.rows; ++d)
                 pos(d, j) = d == 0 ? 0.125 * double(draw() % 3000) : 1;
     },
     {0.1, 0.125, 0.126, 0.3}},
    {"shared buckets", [](auto& draw, auto& pos) { share_a_bucket(draw, pos, 1); }, {1}},
};

class MergeCrowds : public testing::TestWithParam<std::tuple<crowd, unsigned>> {
protected:
    dense2D<double> place(std::mt19937& draw)
    {
        const auto& [kind, dim] = GetParam();
        dense2D<double> pos(dim, count);
        kind.place(draw, pos);
        return pos;
    }
};

testing::AssertionResult same_map(const dense1D<unsigned>& id_map, const plain::ids& expected)
{
    dense1D<unsigned> list(expected.size());
    std::copy(expected.begin(), expected.end(), list.begin());
    return same(id_map, list);
}

dense1D<unsigned> part_of(std::mt19937& draw, const dense1D<unsigned>& from, std::size_t n)
{
    dense1D<unsigned> list(n);
    for (unsigned& node : list) node = draw() % 50 == 0 ? none : from[draw() % from.size];
    return list;
}

} // namespace

TEST_P(MergeCrowds, OneListAsThePlainSteps)
{
    std::mt19937 draw(31);
    const dense2D<double> pos = place(draw);
    dense1D<unsigned> list(count);
    std::iota(list.begin(), list.end(), 0U);
    for (const bool shuffled : {false, true}) {
        if (shuffled) std::shuffle(list.begin(), list.end(), draw);
        for (const double tol : std::get<0>(GetParam()).tolerances) {
            SCOPED_TRACE(testing::Message() << "shuffled " << shuffled << ", tol " << tol);
            dense1D<unsigned> id_map;
            plain::ids expected;
            const auto plain_list = plain::list_of(list);
            ASSERT_EQ(merge(pos, list, id_map, tol),
                      plain::merge_lists(pos, plain_list, plain_list, expected, tol));
            ASSERT_TRUE(same_map(id_map, expected));
        }
    }
}

TEST_P(MergeCrowds, TwoListsAsThePlainSteps)
{
    std::mt19937 draw(32);
    const dense2D<double> pos = place(draw);
    dense1D<unsigned> all(count);
    std::iota(all.begin(), all.end(), 0U);
    const auto absorbed = part_of(draw, all, count);
    for (const std::size_t n : {count / 20, 2 * count})
        for (const double tol : std::get<0>(GetParam()).tolerances) {
            SCOPED_TRACE(testing::Message() << n << " scanned, tol " << tol);
            const auto scanned = part_of(draw, all, n);
            dense1D<unsigned> id_map;
            plain::ids expected;
            ASSERT_EQ(merge(pos, absorbed, scanned, id_map, tol),
                      plain::merge_lists(pos, plain::list_of(absorbed), plain::list_of(scanned),
                                         expected, tol));
            ASSERT_TRUE(same_map(id_map, expected));
        }
}

INSTANTIATE_TEST_SUITE_P(Crowds, MergeCrowds,
                         testing::Combine(testing::ValuesIn(crowds), testing::Values(2U, 3U)),
                         [](const auto& instance) {
                             std::string name = std::get<0>(instance.param).name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name + "_" + std::to_string(std::get<1>(instance.param)) + "D";
                         });
