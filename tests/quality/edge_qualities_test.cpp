#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <kz3/lattiq/quality.h>

#include "plain/quality/edge_qualities.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;
using kz3::misc::histogram;

namespace {

constexpr float nan_size = std::numeric_limits<float>::quiet_NaN();
constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

const auto bar = columns<unsigned>({{0, 1}});
const auto three_four = columns<double>({{0, 0}, {3, 4}}); // 5 apart

/// The length of the one edge in the field.
template <typename Field>
double length(const dense2D<double>& pos, const Field& field)
{
    histogram h;
    EXPECT_EQ(edge_qualities(pos, bar, ET_BAR2, field, h), 0);
    EXPECT_EQ(h.total(), 1u);
    return h.mean();
}

/// The length of an edge of length 1 on the x axis.
double unit_length(float h1, float h2)
{
    return length(columns<double>({{0, 0}, {1, 0}}), dense1D<float>{h1, h2});
}

} // namespace

TEST(EdgeQualities, DividesTheLengthByEqualSizes)
{
    EXPECT_EQ(length(three_four, dense1D<float>{2, 2}), 2.5);
    EXPECT_EQ(length(columns<double>({{1, 1, 1}, {2, 3, 3}}), dense1D<float>{0.5, 0.5}), 6.0);
}

TEST(EdgeQualities, IntegratesOverSizesThatGrowAlongTheEdge)
{
    EXPECT_NEAR(unit_length(1, 2), std::log(2.0), 1e-16);
    EXPECT_NEAR(unit_length(2, 1), std::log(2.0), 1e-16);
    EXPECT_NEAR(length(three_four, dense1D<float>{1, 2}), 5 * 0.6931471805599453, 1e-15);
    EXPECT_NEAR(unit_length(1, 4), std::log(4.0) / 3, 1e-16);
}

TEST(EdgeQualities, TakesTheSeriesWhereSizesDifferByUpToOnePercent)
{
    // r is just above -0.01: 0.99f is a little more than 0.99.
    const double r = double(0.99f) - 1.0;
    ASSERT_GT(r, -0.01);
    EXPECT_EQ(unit_length(1, 0.99f), ((0.3333333333333333 - r * 0.25) * r - 0.5) * r + 1.0);
    EXPECT_GT(std::abs(unit_length(1, 0.99f) - std::log(r + 1.0) / r), 1e-10);
}

TEST(EdgeQualities, TakesTheLogarithmBeyondOnePercent)
{
    // 0.01 * 99 - 1 is -0.010000000000000009.
    const double r = 0.01 * 99.0 - 1.0;
    ASSERT_LT(r, -0.01);
    EXPECT_EQ(unit_length(100, 99), 0.01 * (std::log(r + 1.0) / r));
}

TEST(EdgeQualities, SendsNotANumberWhereASizeIsNone)
{
    for (const auto& sizes : {dense1D<float>{nan_size, 1}, dense1D<float>{1, nan_size}}) {
        histogram h;
        EXPECT_EQ(edge_qualities(three_four, bar, ET_BAR2, sizes, h), 0);
        EXPECT_EQ(h.not_a_number(), 1u);
        EXPECT_EQ(h.total(), 1u);
    }
}

TEST(EdgeQualities, MeasuresInAMetricOfTwoDimensions)
{
    // d = (1, 2), M = (2 1; 1 3): d'Md = 18.
    const auto pos = columns<double>({{4, 4}, {5, 6}});
    const auto metrics = columns<float>({{2, 1, 3}, {2, 1, 3}});
    EXPECT_NEAR(length(pos, metrics), std::sqrt(18.0), 1e-15);
}

TEST(EdgeQualities, MeasuresInAMetricOfThreeDimensions)
{
    // d = (1, 2, 3), M = (2 1 0.5; 1 3 0.25; 0.5 0.25 4): d'Md = 60.
    const auto pos = columns<double>({{1, 1, 1}, {2, 3, 4}});
    const auto metrics = columns<float>({{2, 1, 3, 0.5f, 0.25f, 4}, {2, 1, 3, 0.5f, 0.25f, 4}});
    EXPECT_NEAR(length(pos, metrics), std::sqrt(60.0), 1e-14);
}

TEST(EdgeQualities, TakesEachEndInItsOwnMetric)
{
    // Sizes 1 and 2 along x: ln 2, whatever the other direction.
    const auto pos = columns<double>({{0, 0}, {1, 0}});
    EXPECT_NEAR(length(pos, columns<float>({{1, 0, 9}, {0.25f, 0, 81}})), std::log(2.0), 1e-15);
}

TEST(EdgeQualities, SendsZeroForAFormThatIsNotPositiveAndGoesOn)
{
    // Along x the metric of node 1 is 0, of node 2 negative, of node 3 none.
    const auto pos = columns<double>({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}});
    const auto metrics =
        columns<float>({{1, 0, 1}, {0, 0, 1}, {-1, 0, 1}, {nan_size, 0, 1}, {1, 0, 1}, {1, 0, 1}});
    const auto bars = columns<unsigned>({{0, 1}, {2, 0}, {2, 2}, {0, 3}, {4, 5}, {0, 5}});
    histogram h(dense1D<double>{0, 0.5, 2, 10});
    EXPECT_EQ(edge_qualities(pos, bars, ET_BAR2, metrics, h), 0);
    EXPECT_EQ(h.count(0), 4u);
    EXPECT_EQ(h.minimum(), 0.0);
    EXPECT_EQ(h.count(1), 1u); // 4 to 5, of length 1
    EXPECT_EQ(h.count(2), 1u); // 0 to 5, of length 5
    EXPECT_EQ(h.total(), 6u);
}

TEST(EdgeQualities, SendsASharedEdgeOnce)
{
    const auto pos = columns<double>({{0, 0}, {1, 0}, {0, 1}, {1, 1}});
    const dense1D<float> sizes{1, 1, 1, 1};
    histogram h;
    EXPECT_EQ(edge_qualities(pos, columns<unsigned>({{0, 1, 2}, {2, 1, 3}}), ET_TRIA3, sizes, h),
              0);
    EXPECT_EQ(h.total(), 5u);
}

// The mean shows the order: beside 2^53 a 1 is lost, two that were added before are not. The edges come
// as (1,2), (0,1), (1,3), whatever the order of the bars.
TEST(EdgeQualities, SendsTheEdgesInTheOrderOfTheirSet)
{
    const auto bars = columns<unsigned>({{1, 3}, {0, 1}, {1, 2}});
    const dense1D<float> sizes{1, 1, 1, 1};
    constexpr double huge = 9007199254740992.0;
    histogram first;
    EXPECT_EQ(edge_qualities(columns<double>({{0, 1}, {0, 0}, {huge, 0}, {1, 0}}), bars, ET_BAR2,
                             sizes, first),
              0);
    EXPECT_EQ(first.mean(), huge / 3);
    histogram last;
    EXPECT_EQ(edge_qualities(columns<double>({{0, 1}, {0, 0}, {1, 0}, {huge, 0}}), bars, ET_BAR2,
                             sizes, last),
              0);
    EXPECT_EQ(last.mean(), (huge + 2) / 3);
}

TEST(EdgeQualities, SendsAnEdgeSharedByTwoMatricesOnce)
{
    const auto pos = columns<double>({{0, 0}, {1, 0}, {0, 1}});
    const dense2D<unsigned> meshes[] = {columns<unsigned>({{0, 1, 2}}),
                                        columns<unsigned>({{1, 0}})};
    const dense1D<int> types{ET_TRIA3, ET_BAR2};
    histogram sized;
    EXPECT_EQ(edge_qualities(pos, meshes, meshes + 2, types, dense1D<float>{1, 1, 1}, sized), 0);
    EXPECT_EQ(sized.total(), 3u);
    const auto metrics = columns<float>({{1, 0, 1}, {1, 0, 1}, {1, 0, 1}});
    histogram metric;
    EXPECT_EQ(edge_qualities(pos, meshes, meshes + 2, types, metrics, metric), 0);
    EXPECT_EQ(metric.total(), 3u);
}

TEST(EdgeQualities, SendsNothingForAFieldOfOtherNodes)
{
    histogram h;
    EXPECT_EQ(edge_qualities(three_four, bar, ET_BAR2, dense1D<float>{1}, h), 0);
    EXPECT_EQ(edge_qualities(three_four, bar, ET_BAR2, dense1D<float>{1, 1, 1}, h), 0);
    EXPECT_EQ(edge_qualities(three_four, bar, ET_BAR2, dense1D<float>(), h), 0);
    EXPECT_EQ(edge_qualities(three_four, bar, ET_BAR2, columns<float>({{1, 0, 1}}), h), 0);
    EXPECT_EQ(edge_qualities(three_four, bar, ET_BAR2,
                             columns<float>({{1, 0, 1}, {1, 0, 1}, {1, 0, 1}}), h),
              0);
    const dense1D<int> types{ET_BAR2};
    EXPECT_EQ(edge_qualities(three_four, &bar, &bar + 1, types, dense1D<float>{1}, h), 0);
    EXPECT_EQ(edge_qualities(three_four, &bar, &bar + 1, types, columns<float>({{1, 0, 1}}), h), 0);
    EXPECT_EQ(h.total(), 0u);
}

TEST(EdgeQualities, SendsNothingForMetricsOfTooFewRows)
{
    histogram h;
    EXPECT_EQ(edge_qualities(three_four, bar, ET_BAR2, columns<float>({{1, 0}, {1, 0}}), h), 0);
    EXPECT_EQ(edge_qualities(columns<double>({{0, 0, 0}, {1, 1, 1}}), bar, ET_BAR2,
                             columns<float>({{1, 0, 1, 0, 0}, {1, 0, 1, 0, 0}}), h),
              0);
    EXPECT_EQ(h.total(), 0u);
}

TEST(EdgeQualities, ReadsTheLeadingRowsOfLongerMetrics)
{
    const auto pos = columns<double>({{0, 0}, {1, 0}});
    EXPECT_EQ(length(pos, columns<float>({{4, 0, 1, 7, 7, 7}, {4, 0, 1, 7, 7, 7}})), 2.0);
}

TEST(EdgeQualities, SendsNothingForAKindWithoutEdges)
{
    dense2D<unsigned> hexa(20, 1, 1u);
    histogram h;
    EXPECT_EQ(edge_qualities(three_four, hexa, ET_HEXA20, dense1D<float>{1, 1}, h), 0);
    EXPECT_EQ(h.total(), 0u);
}

TEST(EdgeQualities, ReturnsTheCodeOfTheFirstFault)
{
    const auto flat = three_four;
    const auto line = columns<double>({{0}, {1}});
    const auto four = columns<double>({{0, 0, 0, 0}, {1, 1, 1, 1}});
    const auto beyond = columns<unsigned>({{0, 2}});
    struct {
        const char* fault;
        dense2D<double> pos;
        dense2D<unsigned> connectM;
        element_type type;
        int code;
    } const ladder[] = {
        {"empty, with pos of 1 row", line, dense2D<unsigned>(2, 0), ET_BAR2, 0},
        {"no rows, with pos of 1 row", line, dense2D<unsigned>(0, 2), ET_BAR2, 0},
        {"pos of 1 row", line, bar, ET_BAR2, -1},
        {"pos of 4 rows", four, bar, ET_BAR2, -1},
        {"pos of no rows", dense2D<double>(), bar, ET_BAR2, -1},
        {"pos of 1 row, and a node beyond", line, beyond, ET_BAR2, -1},
        {"a node beyond", flat, beyond, ET_BAR2, -2},
        {"rows of another kind", flat, bar, ET_TRIA3, -2},
        {"a hole", flat, columns<unsigned>({{0, none}}), ET_BAR2, -2},
        {"a type outside the kinds", flat, bar, element_type(99), -2},
        {"none", flat, bar, ET_BAR2, 0},
    };
    for (const auto& rung : ladder) {
        histogram h;
        EXPECT_EQ(edge_qualities(rung.pos, rung.connectM, rung.type, dense1D<float>{1, 1}, h),
                  rung.code)
            << rung.fault;
        EXPECT_EQ(edge_qualities(rung.pos, rung.connectM, rung.type,
                                 columns<float>({{1, 0, 1}, {1, 0, 1}}), h),
                  rung.code)
            << rung.fault;
        EXPECT_EQ(h.total(), std::string(rung.fault) == "none" ? 2u : 0u) << rung.fault;
    }
}

TEST(EdgeQualities, ReturnsTheCodeOfTheFirstFaultOfARange)
{
    const auto line = columns<double>({{0}, {1}});
    const dense2D<unsigned> good[] = {bar, columns<unsigned>({{0, 1, 1}})};
    const dense2D<unsigned> bad[] = {bar, columns<unsigned>({{0, 1, 2}})};
    const dense1D<int> types{ET_BAR2, ET_TRIA3};
    const dense1D<int> one{ET_BAR2};
    struct {
        const char* fault;
        dense2D<double> pos;
        const dense2D<unsigned>* first;
        const dense2D<unsigned>* last;
        dense1D<int> types;
        int code;
    } const ladder[] = {
        {"an empty range, with pos of 1 row and a type", line, good, good, one, 0},
        {"pos of 1 row", line, good, good + 2, types, -1},
        {"pos of 1 row, and too few types", line, good, good + 2, one, -1},
        {"too few types", three_four, good, good + 2, one, -4},
        {"too many types", three_four, good, good + 1, types, -4},
        {"last before first", three_four, good + 1, good, types, -4},
        {"too few types, and a node beyond", three_four, bad, bad + 2, one, -4},
        {"a node beyond", three_four, bad, bad + 2, types, -2},
        {"a type of other rows", three_four, good, good + 2, dense1D<int>{ET_BAR2, ET_BAR2}, -2},
        {"none", three_four, good, good + 2, types, 0},
    };
    for (const auto& rung : ladder) {
        histogram h;
        EXPECT_EQ(
            edge_qualities(rung.pos, rung.first, rung.last, rung.types, dense1D<float>{1, 1}, h),
            rung.code)
            << rung.fault;
        EXPECT_EQ(edge_qualities(rung.pos, rung.first, rung.last, rung.types,
                                 columns<float>({{1, 0, 1}, {1, 0, 1}}), h),
                  rung.code)
            << rung.fault;
        EXPECT_EQ(h.total() != 0, std::string(rung.fault) == "none") << rung.fault;
    }
}

TEST(EdgeQualities, ReadsViews)
{
    const strided<double> pos(three_four, nan_value);
    const strided<unsigned> edges(bar);
    const strided<float> metrics(columns<float>({{1, 0, 1}, {1, 0, 1}}), nan_size);
    histogram h;
    EXPECT_EQ(edge_qualities(pos.view, edges.view, ET_BAR2, metrics.view, h), 0);
    EXPECT_NEAR(h.mean(), 5.0, 1e-15);
    dense1D<float> all{9, 2, 2, 9};
    EXPECT_EQ(edge_qualities(pos.view, edges.view, ET_BAR2, all.sub_vector(1, 2), h), 0);
    EXPECT_EQ(h.minimum(), 2.5);
    EXPECT_EQ(h.total(), 2u);
}

namespace {

/// Compares what arrives in the histogram with the lengths of a plain table of edges.
template <typename Field>
void compare_with_plain(const dense2D<double>& pos, const dense2D<unsigned>& trias,
                        const Field& field)
{
    plain::edge_set set;
    for (size_t e = 0; e < trias.cols; ++e) {
        set.insert(trias(1, e), trias(2, e));
        set.insert(trias(2, e), trias(0, e));
        set.insert(trias(0, e), trias(1, e));
    }
    std::vector<double> lengths = plain::edge_qualities(pos, set, field);
    double sum = 0;
    for (const double l : lengths) sum += l;
    std::sort(lengths.begin(), lengths.end());

    // Boundaries half way between neighbouring lengths: one length a bin.
    dense1D<double> limits{-1.0};
    for (size_t i = 0; i + 1 < lengths.size(); ++i)
        if (lengths[i + 1] - lengths[i] > 1e-6) limits.push_back((lengths[i] + lengths[i + 1]) / 2);
    limits.push_back(1e9);
    histogram expected(limits);
    for (const double l : lengths) expected.process(l);
    histogram h(limits);
    ASSERT_EQ(edge_qualities(pos, trias, ET_TRIA3, field, h), 0);
    ASSERT_EQ(h.bins(), expected.bins());
    for (size_t i = 0; i < h.bins(); ++i) EXPECT_EQ(h.count(i), expected.count(i)) << "bin " << i;
    EXPECT_NEAR(h.mean(), sum / double(lengths.size()), 1e-9);
}

template <unsigned Dim>
void compare_random_mesh(unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    std::uniform_real_distribution<float> size(0.5f, 2.0f);
    constexpr unsigned n = 40;
    dense2D<double> pos(Dim, n);
    dense2D<float> metrics(Dim * (Dim + 1) / 2, n);
    dense1D<float> sizes(n);
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned i = 0; i < Dim; ++i) pos(i, j) = coordinate(random);
        for (size_t i = 0; i < metrics.rows; ++i) metrics(i, j) = size(random) - 1.0f;
        metrics(0, j) += 2.0f; // most of them positive, some not
        metrics(2, j) += 1.0f;
        if (Dim == 3) metrics(5, j) += 1.0f;
        sizes[j] = size(random);
    }
    dense2D<unsigned> trias(3, 120);
    for (size_t e = 0; e < trias.cols; ++e)
        for (unsigned k = 0; k < 3; ++k) trias(k, e) = unsigned(random() % n);
    compare_with_plain(pos, trias, sizes);
    compare_with_plain(pos, trias, metrics);
}

} // namespace

TEST(EdgeQualities, AgreesWithNumericalIntegrationInTwoDimensions)
{
    for (unsigned seed = 1; seed <= 5; ++seed) compare_random_mesh<2>(seed);
}

TEST(EdgeQualities, AgreesWithNumericalIntegrationInThreeDimensions)
{
    for (unsigned seed = 11; seed <= 15; ++seed) compare_random_mesh<3>(seed);
}

TEST(EdgeQualities, ThrowsWithoutMemoryAndLeavesTheHistogram)
{
    const dense1D<float> sizes{1, 1};
    const auto metrics = columns<float>({{1, 0, 1}, {1, 0, 1}});
    const dense1D<int> types{ET_BAR2};
    const size_t before = allocation::live_blocks();
    const auto check = [&](auto&& call) {
        const auto refused = allocation::sweep<allocation::fail_new>([&](size_t, auto broken) {
            histogram h;
            try {
                EXPECT_EQ(broken([&] { return call(h); }), 0);
                EXPECT_EQ(h.total(), 1u);
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(h.total(), 0u);
            }
        });
        EXPECT_GE(refused, 3u);
        // No container is sized: the containers' allocator is never asked.
        EXPECT_EQ(allocation::sweep<allocation::fail_containers>([&](size_t, auto broken) {
                      histogram h;
                      EXPECT_EQ(broken([&] { return call(h); }), 0);
                  }),
                  0u);
    };
    check([&](histogram& h) { return edge_qualities(three_four, bar, ET_BAR2, sizes, h); });
    check([&](histogram& h) { return edge_qualities(three_four, bar, ET_BAR2, metrics, h); });
    check(
        [&](histogram& h) { return edge_qualities(three_four, &bar, &bar + 1, types, sizes, h); });
    check([&](histogram& h) {
        return edge_qualities(three_four, &bar, &bar + 1, types, metrics, h);
    });
    EXPECT_EQ(allocation::live_blocks(), before);
}
