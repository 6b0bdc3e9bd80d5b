#include <kz3/misc/histogram.h>

#include <cmath>
#include <limits>

#include "support/allocation.h"
#include "support/same.h"

using kz3::misc::histogram;

namespace {

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

/// Counts of a histogram in one list: below, every bin, above, not a number.
dense1D<unsigned> counts(const histogram& h)
{
    dense1D<unsigned> all;
    all.push_back(unsigned(h.below()));
    for (size_t i = 0; i < h.bins(); ++i) all.push_back(unsigned(h.count(i)));
    all.push_back(unsigned(h.above()));
    all.push_back(unsigned(h.not_a_number()));
    return all;
}

} // namespace

TEST(Histogram, DividesARangeIntoBinsOfEqualWidth)
{
    EXPECT_TRUE(same(histogram(-1, 1, 4).boundaries(), dense1D<double>{-1, -0.5, 0, 0.5, 1}));
    EXPECT_TRUE(same(histogram(0, 1, 10).boundaries(),
                     dense1D<double>{0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1}));
    EXPECT_TRUE(same(histogram(0, 1, 1).boundaries(), dense1D<double>{0, 1}));
}

TEST(Histogram, EndsExactlyAtTheHighestValue)
{
    const histogram h(0.1, 0.7, 3);
    EXPECT_EQ(h.boundaries()[0], 0.1);
    EXPECT_EQ(h.boundaries()[3], 0.7);
}

TEST(Histogram, CountsABoundaryInTheBinAboveAndTheLastOneInTheLastBin)
{
    histogram h(dense1D<double>{0, 1, 3});
    h.process(dense1D<double>{0, 1, 3});
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 1, 2, 0, 0}));
}

TEST(Histogram, CountsNeighboursOfABoundaryOnTheirSides)
{
    histogram h(dense1D<double>{0, 1, 3});
    h.process(std::nextafter(0.0, -1.0));
    h.process(std::nextafter(1.0, 0.0));
    h.process(std::nextafter(3.0, 4.0));
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{1, 1, 0, 1, 0}));
}

TEST(Histogram, TakesMinusZeroForZero)
{
    histogram h(0, 1, 2);
    h.process(-0.0);
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 1, 0, 0, 0}));
}

TEST(Histogram, CountsInfinitiesOutsideTheBins)
{
    histogram h(0, 1, 2);
    h.process(dense1D<double>{inf, inf, -inf});
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{1, 0, 0, 2, 0}));
    EXPECT_EQ(h.minimum(), -inf);
    EXPECT_EQ(h.maximum(), inf);
    EXPECT_TRUE(std::isnan(h.mean()));
}

TEST(Histogram, CountsNotANumberApart)
{
    histogram h(0, 1, 2);
    h.process(dense1D<double>{nan_value, 0.25, nan_value, 0.75, nan_value});
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 1, 1, 0, 3}));
    EXPECT_EQ(h.total(), 5u);
    EXPECT_EQ(h.minimum(), 0.25);
    EXPECT_EQ(h.maximum(), 0.75);
    EXPECT_EQ(h.mean(), 0.5);
}

TEST(Histogram, HasNoMeanOfNothing)
{
    histogram h(0, 1, 2);
    EXPECT_TRUE(std::isnan(h.minimum()));
    EXPECT_TRUE(std::isnan(h.maximum()));
    EXPECT_TRUE(std::isnan(h.mean()));
    EXPECT_EQ(h.total(), 0u);
    h.process(nan_value);
    EXPECT_TRUE(std::isnan(h.minimum()));
    EXPECT_TRUE(std::isnan(h.maximum()));
    EXPECT_TRUE(std::isnan(h.mean()));
}

TEST(Histogram, TakesMinimumMaximumAndMeanOverValuesOutsideTheBinsToo)
{
    histogram h(0, 1, 2);
    h.process(dense1D<double>{-7, 0.5, 11});
    EXPECT_EQ(h.minimum(), -7);
    EXPECT_EQ(h.maximum(), 11);
    EXPECT_EQ(h.mean(), 1.5);
}

TEST(Histogram, StartsMinimumAndMaximumWithTheFirstNumber)
{
    histogram positive(0, 1, 1);
    positive.process(5.0);
    EXPECT_EQ(positive.minimum(), 5);
    histogram negative(0, 1, 1);
    negative.process(-5.0);
    EXPECT_EQ(negative.maximum(), -5);
}

TEST(Histogram, AddsToWhatItHolds)
{
    histogram h(0, 1, 2);
    h.process(dense1D<double>{0.1, 0.9});
    h.process(dense1D<double>());
    h.process(0.2);
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 2, 1, 0, 0}));
    EXPECT_EQ(h.total(), 3u);
}

TEST(Histogram, HasNoBinsAfterBadLimits)
{
    EXPECT_EQ(histogram(0, 1, 0).bins(), 0u);
    EXPECT_EQ(histogram(1, 1, 4).bins(), 0u);
    EXPECT_EQ(histogram(1, 0, 4).bins(), 0u);
    EXPECT_EQ(histogram(nan_value, 1, 4).bins(), 0u);
    EXPECT_EQ(histogram(0, nan_value, 4).bins(), 0u);
    EXPECT_EQ(histogram(-inf, 1, 4).bins(), 0u);
    EXPECT_EQ(histogram(0, inf, 4).bins(), 0u);
    EXPECT_EQ(histogram(0, inf, 1).bins(), 0u);
    EXPECT_EQ(histogram(-1.7e308, 1.7e308, 4).bins(), 0u);
    EXPECT_EQ(histogram(0, 1, std::numeric_limits<size_t>::max()).bins(), 0u);
    EXPECT_EQ(histogram(1, std::nextafter(1.0, 2.0), 2).bins(), 0u);
    EXPECT_EQ(histogram(1, std::nextafter(1.0, 2.0), 1).bins(), 1u);
}

TEST(Histogram, HasNoBinsAfterBadBoundaries)
{
    EXPECT_EQ(histogram(dense1D<double>()).bins(), 0u);
    EXPECT_EQ(histogram(dense1D<double>{1}).bins(), 0u);
    EXPECT_EQ(histogram(dense1D<double>{0, 1, 1}).bins(), 0u);
    EXPECT_EQ(histogram(dense1D<double>{0, 2, 1, 3}).bins(), 0u);
    EXPECT_EQ(histogram(dense1D<double>{0, nan_value, 1}).bins(), 0u);
    EXPECT_EQ(histogram(dense1D<double>{-inf, 0, 1}).bins(), 0u);
    EXPECT_EQ(histogram(dense1D<double>{0, 1, inf}).bins(), 0u);
    EXPECT_EQ(histogram(dense1D<double>{0, 1, 2}).bins(), 2u);
}

TEST(Histogram, CountsWithoutBinsOnlyInTheTotals)
{
    histogram h;
    h.process(dense1D<double>{1, 2, nan_value, 6});
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 0, 1}));
    EXPECT_EQ(h.total(), 4u);
    EXPECT_EQ(h.minimum(), 1);
    EXPECT_EQ(h.maximum(), 6);
    EXPECT_EQ(h.mean(), 3);
    EXPECT_EQ(h.boundaries().size, 0u);
    EXPECT_EQ(h.count(0), 0u);
}

TEST(Histogram, CountsNothingInABinThatDoesNotExist)
{
    histogram h(0, 1, 2);
    h.process(0.9);
    EXPECT_EQ(h.count(1), 1u);
    EXPECT_EQ(h.count(2), 0u);
}

TEST(Histogram, ForgetsItsValuesAndKeepsItsBins)
{
    histogram h(0, 1, 2);
    h.process(dense1D<double>{-1, 0.1, 0.9, 2, nan_value});
    h.clear();
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 0, 0, 0, 0}));
    EXPECT_EQ(h.total(), 0u);
    EXPECT_TRUE(std::isnan(h.mean()));
    h.process(0.75);
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 0, 1, 0, 0}));
    EXPECT_EQ(h.minimum(), 0.75);
    EXPECT_EQ(h.maximum(), 0.75);
    EXPECT_EQ(h.mean(), 0.75);
}

TEST(Histogram, KeepsItsOwnBoundaries)
{
    dense1D<double> limits{0, 1, 2};
    const histogram h(limits);
    limits[1] = 100;
    h.boundaries()[0] = 100;
    EXPECT_TRUE(same(h.boundaries(), dense1D<double>{0, 1, 2}));
}

TEST(Histogram, CountsApartFromItsCopy)
{
    const histogram h(0, 1, 2);
    histogram copy(h);
    copy.process(0.1);
    EXPECT_EQ(h.total(), 0u);
    EXPECT_EQ(h.count(0), 0u);
    EXPECT_EQ(copy.count(0), 1u);
}

TEST(Histogram, ReadsTheViewAlone)
{
    dense1D<double> all{0.1, 0.6, 0.7, 0.2};
    histogram h(0, 1, 2);
    h.process(all.sub_vector(1, 2));
    EXPECT_TRUE(same(counts(h), dense1D<unsigned>{0, 0, 2, 0, 0}));
}

TEST(Histogram, ThrowsOutOfItsConstructorsWhenMemoryIsExhausted)
{
    const dense1D<double> limits{0, 1, 2};
    const size_t before = allocation::live_blocks();
    const auto throws = [](auto&& call) {
        try {
            call();
            return false;
        } catch (const std::bad_alloc&) {
            return true;
        }
    };
    const auto refused = [&](auto&& make) {
        return allocation::sweep<allocation::fail_new>([&](size_t n, auto broken) {
            EXPECT_EQ(throws([&] { broken(make); }), n <= 2) << "allocation " << n;
        });
    };
    // The boundaries and the counts.
    EXPECT_EQ(refused([&] { histogram(limits).process(1.0); }), 2u);
    EXPECT_EQ(refused([] { histogram(0.0, 1.0, 7).process(1.0); }), 2u);
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(Histogram, AddsValuesWithoutMemory)
{
    const dense1D<double> limits{0, 1, 2};
    histogram h(limits);
    const allocation::fail_new no_objects(1, true);
    const allocation::fail_containers no_blocks(1, true);
    h.process(limits);
    h.process(0.5);
    EXPECT_EQ(h.total(), 4u);
    h.clear();
    EXPECT_FALSE(no_objects.fired());
    EXPECT_FALSE(no_blocks.fired());
}
