#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <kz3/lattiq/quality.h>

#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double untouched = 1.7976931348623157e308;

// Distances 0-1: 3, 1-2: 4, 2-0: 5, 3 alone.
const auto corner = columns<double>({{0, 0}, {3, 0}, {3, 4}, {9, 9}});

} // namespace

TEST(EdgeLengths, GivesLeastMeanAndGreatestAtEachNode)
{
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(corner, columns<unsigned>({{0, 1}, {1, 2}, {2, 0}}), lengths), 0);
    EXPECT_TRUE(
        same(lengths, columns<double>({{3, 4, 5}, {3, 3.5, 4}, {4, 4.5, 5}, {untouched, 0, 0}})));
}

TEST(EdgeLengths, CountsAnEdgeListedTwiceTwice)
{
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(corner, columns<unsigned>({{0, 1}, {1, 0}, {0, 2}, {0, 1}}), lengths),
              0);
    EXPECT_TRUE(same(lengths, columns<double>({{3, 3.5, 5}, // (3 + 3 + 5 + 3) / 4
                                               {3, 3, 3},
                                               {5, 5, 5},
                                               {untouched, 0, 0}})));
}

TEST(EdgeLengths, CountsAnEdgeOfEqualNodesTwice)
{
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(corner, columns<unsigned>({{0, 0}, {0, 1}}), lengths), 0);
    EXPECT_TRUE(same(lengths, columns<double>({{0, 1, 3}, // (0 + 0 + 3) / 3
                                               {3, 3, 3},
                                               {untouched, 0, 0},
                                               {untouched, 0, 0}})));
}

TEST(EdgeLengths, MeasuresOverAllRowsOfPos)
{
    const auto edge = columns<unsigned>({{0, 1}});
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(columns<double>({{1}, {-6}}), edge, lengths), 0);
    EXPECT_EQ(lengths(0, 0), 7.0);
    EXPECT_EQ(edge_lengths(columns<double>({{0, 0, 0}, {1, 2, 2}}), edge, lengths), 0);
    EXPECT_EQ(lengths(0, 0), 3.0);
    EXPECT_EQ(edge_lengths(columns<double>({{0, 0, 0, 0}, {1, 1, 1, 1}}), edge, lengths), 0);
    EXPECT_EQ(lengths(0, 0), 2.0);
}

TEST(EdgeLengths, TakesALengthThatIsNotANumberIntoTheMeanAlone)
{
    const auto pos = columns<double>({{0.0}, {nan_value}, {2.0}});
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(pos, columns<unsigned>({{0, 1}, {0, 2}}), lengths), 0);
    EXPECT_TRUE(
        same(lengths, columns<double>({{2, nan_value, 2}, {untouched, nan_value, 0}, {2, 2, 2}})));
}

TEST(EdgeLengths, ReplacesWhatTheMatrixHeld)
{
    dense2D<double> lengths(5, 9, 1.25);
    EXPECT_EQ(edge_lengths(corner, columns<unsigned>({{0, 1}}), lengths), 0);
    EXPECT_TRUE(same(
        lengths, columns<double>({{3, 3, 3}, {3, 3, 3}, {untouched, 0, 0}, {untouched, 0, 0}})));
}

TEST(EdgeLengths, IsEmptyWithoutEdges)
{
    dense2D<double> lengths(3, 4, 1.0);
    EXPECT_EQ(edge_lengths(corner, dense2D<unsigned>(), lengths), 0);
    EXPECT_EQ(lengths.rows, 0u);
    EXPECT_EQ(lengths.cols, 0u);
    lengths.resize(3, 4, 1.0);
    EXPECT_EQ(edge_lengths(corner, dense2D<unsigned>(7, 0), lengths), 0);
    EXPECT_TRUE(lengths.empty());
}

TEST(EdgeLengths, TouchesNoNodeThroughEdgesOfNoRows)
{
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(columns<double>({{0}, {1}}), dense2D<unsigned>(0, 3), lengths), 0);
    EXPECT_TRUE(same(lengths, columns<double>({{untouched, 0, 0}, {untouched, 0, 0}})));
}

TEST(EdgeLengths, RefusesWhatIsNoListOfEdges)
{
    const dense2D<unsigned> refused[] = {
        columns<unsigned>({{0, 1, 2}}),
        columns<unsigned>({{0}}),
        columns<unsigned>({{0, 1}, {0, 4}}),
        columns<unsigned>({{0, none}}),
    };
    for (const auto& connectM : refused) {
        dense2D<double> lengths(3, 4, 1.0);
        EXPECT_EQ(edge_lengths(corner, connectM, lengths), -2);
        EXPECT_EQ(lengths.rows, 0u);
        EXPECT_EQ(lengths.cols, 0u);
    }
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(dense2D<double>(), columns<unsigned>({{0, 0}}), lengths), -2);
}

TEST(EdgeLengths, ReadsViews)
{
    const strided<double> pos(corner);
    const strided<unsigned> edges(columns<unsigned>({{0, 1}, {1, 2}, {2, 0}}));
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(pos.view, edges.view, lengths), 0);
    EXPECT_TRUE(
        same(lengths, columns<double>({{3, 4, 5}, {3, 3.5, 4}, {4, 4.5, 5}, {untouched, 0, 0}})));
    EXPECT_TRUE(pos.gaps_untouched());
    EXPECT_TRUE(edges.gaps_untouched());
}

TEST(EdgeLengths, AgreesWithAListPerNode)
{
    std::mt19937 random(99);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    dense2D<double> pos(3, 50);
    for (size_t j = 0; j < pos.cols; ++j)
        for (size_t i = 0; i < 3; ++i) pos(i, j) = coordinate(random);
    dense2D<unsigned> edges(2, 200);
    std::vector<std::vector<double>> at(50);
    for (size_t e = 0; e < edges.cols; ++e) {
        const unsigned a = edges(0, e) = unsigned(random() % 50);
        const unsigned b = edges(1, e) = unsigned(random() % 50);
        const double x = pos(0, a) - pos(0, b);
        const double y = pos(1, a) - pos(1, b);
        const double z = pos(2, a) - pos(2, b);
        at[a].push_back(std::sqrt(x * x + y * y + z * z));
        at[b].push_back(at[a].back());
    }
    dense2D<double> expected(3, 50, 0.0);
    for (size_t i = 0; i < 50; ++i) {
        expected(0, i) = at[i].empty() ? untouched : *std::min_element(at[i].begin(), at[i].end());
        if (at[i].empty()) continue;
        for (const double length : at[i]) expected(1, i) += length;
        expected(1, i) /= double(at[i].size());
        expected(2, i) = *std::max_element(at[i].begin(), at[i].end());
    }
    dense2D<double> lengths;
    EXPECT_EQ(edge_lengths(pos, edges, lengths), 0);
    EXPECT_TRUE(same(lengths, expected));
}

TEST(EdgeLengths, ReportsExhaustedMemoryWithAnEmptyResult)
{
    const auto edges = columns<unsigned>({{0, 1}});
    const size_t before = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const auto refused = allocation::sweep<allocation::fail_containers>(
            [&](size_t n, auto broken) {
                dense2D<double> lengths;
                const int code = broken([&] { return edge_lengths(corner, edges, lengths); });
                EXPECT_EQ(code, n <= 2 ? -199 : 0);
                EXPECT_EQ(lengths.cols, n <= 2 ? 0u : 4u);
            },
            onwards);
        EXPECT_EQ(refused, 2u); // the counts and the result
    }
    const auto refused = allocation::sweep<allocation::fail_new>([&](size_t, auto broken) {
        dense2D<double> lengths;
        try {
            EXPECT_EQ(broken([&] { return edge_lengths(corner, edges, lengths); }), 0);
            EXPECT_EQ(lengths.cols, 4u);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(lengths.cols, 0u);
        }
    });
    EXPECT_EQ(refused, 1u);
    EXPECT_EQ(allocation::live_blocks(), before);
}
