#include <limits>
#include <random>

#include <kz3/lattiq/geometry.h>

#include "geometry/nodes.h"
#include "plain/geometry/motions.h"
#include "support/same.h"

namespace {
using kz3::lattiq::rotate;

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

template <std::size_t N>
using vector = vector_fixed<double, N>;

/// Turns all nodes, of a matrix and of a view with gaps, and listed ones, against one node after the
/// other. Nodes of the first two move two at a time, an odd one alone.
template <std::size_t N, typename Angle>
void compare(const dense2D<double>& start, const vector<N>& center, const Angle& angle)
{
    auto expected = duplicate(start);
    dense1D<unsigned> ids(start.cols);
    for (std::size_t j = 0; j < start.cols; ++j) {
        plain::rotate(expected, j, center, angle);
        ids[j] = unsigned(j);
    }
    auto all = duplicate(start);
    EXPECT_EQ(rotate(all, center, angle), int(start.cols));
    EXPECT_TRUE(same_signs(all, expected));

    strided<double> part(start);
    EXPECT_EQ(rotate(part.view, center, angle), int(start.cols));
    EXPECT_TRUE(same_signs(part.view, expected));
    EXPECT_TRUE(part.gaps_untouched());

    auto listed = duplicate(start);
    EXPECT_EQ(rotate(listed, center, angle, ids), int(start.cols));
    EXPECT_TRUE(same_signs(listed, expected));
}

// The last two have no finite matrix. Lengths above 0.2 lead to the same matrix to the bit.
const double plane_angles[] = {0.7, -2.0, 1e-9, infinity};
const vector<3> space_angles[] = {{0.3, -0.4, 0.5}, {0, 0, -2},       {0, 1.5, 0},
                                  {0.9, 0, 0},      {0, infinity, 0}, {1, 0, nan_value}};

template <std::size_t N>
void compare_angles(const dense2D<double>& start, const vector<N>& center)
{
    if constexpr (N == 2)
        for (const double angle : plane_angles) compare(start, center, angle);
    else
        for (const auto& angle : space_angles) compare(start, center, angle);
}

// A center that is -0.0 in one component keeps the sign of sums to which nothing is added.
template <std::size_t N>
std::vector<vector<N>> centers()
{
    vector<N> apart;
    for (std::size_t d = 0; d < N; ++d) apart[d] = 0.25 - 1.5 * double(d);
    std::vector<vector<N>> all{apart, vector<N>{}};
    for (std::size_t d = 0; d < N; ++d) all[1][d] = 0.0;
    for (const double special : {-0.0, infinity, -infinity, nan_value})
        for (std::size_t d = 0; d < N; ++d)
            for (std::size_t base : {0U, 1U}) {
                all.push_back(all[base]);
                all.back()[d] = special;
            }
    all.emplace_back();
    for (std::size_t d = 0; d < N; ++d) all.back()[d] = -0.0;
    return all;
}

/// A coordinate whose difference from the center is zero, not a number, infinite, or next to that.
double special_coordinate(std::size_t which, double center)
{
    const double tiny = std::numeric_limits<double>::denorm_min();
    const double huge = std::numeric_limits<double>::max();
    const double values[] = {center,    -0.0, 0.0,   nan_value, infinity,
                             -infinity, tiny, -tiny, huge,      -huge};
    return values[which % std::size(values)];
}
constexpr std::size_t specials = 10;

template <std::size_t N>
void compare_numbers_of_nodes()
{
    for (std::size_t n = 1; n < 10; ++n)
        for (std::size_t rows = N; rows < 6; ++rows)
            compare_angles<N>(cloud(rows, n, unsigned(n + rows)), centers<N>()[0]);
}

template <std::size_t N>
void compare_one_special()
{
    for (const auto& center : centers<N>())
        for (std::size_t which = 0; which < specials; ++which)
            for (std::size_t j = 0; j < 5; ++j)
                for (std::size_t d = 0; d < N; ++d) {
                    auto start = cloud(N, 5, 3);
                    start(d, j) = special_coordinate(which, center[d]);
                    compare_angles<N>(start, center);
                }
}

template <std::size_t N>
void compare_many_specials()
{
    std::mt19937 random(20);
    for (const auto& center : centers<N>()) {
        auto start = cloud(N, 301, 4);
        for (std::size_t j = 0; j < start.cols; ++j)
            for (std::size_t d = 0; d < N; ++d)
                if (random() % 4 != 0) start(d, j) = special_coordinate(random(), center[d]);
        compare_angles<N>(start, center);
    }
}

} // namespace

TEST(RotateAgainstPlain, OfAnyNumberOfNodesAndRows)
{
    compare_numbers_of_nodes<2>();
    compare_numbers_of_nodes<3>();
}

TEST(RotateAgainstPlain, WithASpecialDifferenceInEachPlace)
{
    compare_one_special<2>();
    compare_one_special<3>();
}

TEST(RotateAgainstPlain, WithManySpecialDifferences)
{
    compare_many_specials<2>();
    compare_many_specials<3>();
}

TEST(RotateAgainstPlain, OfManyNodes)
{
    compare_angles<2>(cloud(2, 5000, 5), centers<2>()[0]);
    compare_angles<3>(cloud(3, 5001, 6), centers<3>()[0]);
}
