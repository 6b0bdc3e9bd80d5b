#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "plain/metrics/tensors.h"

using namespace kz3::lattiq;

TEST(IsValidMetric, AcceptsPositiveTensors)
{
    EXPECT_TRUE(is_valid_metric(tensor2{1, 0, 1}));
    EXPECT_TRUE(is_valid_metric(tensor2{2, -1, 2}));
    EXPECT_TRUE(is_valid_metric(tensor2{1e-30, 0, 1e-30}));
    EXPECT_TRUE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 1}));
    EXPECT_TRUE(is_valid_metric(tensor3{2, 1, 2, 0, 0, 5}));
    EXPECT_TRUE(is_valid_metric(tensor3{1e-30, 0, 1e-30, 0, 0, 1e-30}));
}

TEST(IsValidMetric, RefusesARatioBeyond1e24)
{
    EXPECT_FALSE(is_valid_metric(tensor2{1, 0, 1e-30}));
    EXPECT_TRUE(is_valid_metric(tensor2{1, 0, 1e-20}));
    EXPECT_FALSE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 1e-30}));
    EXPECT_TRUE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 1e-20}));
}

// The product of the largest eigenvalue and 1e-24 decides, as it is rounded: 1e24 * 1e-24 is just
// below 1, and 1 * 1e-24 is 1e-24 itself.
TEST(IsValidMetric, DrawsTheLimitWhereTheRoundedProductIs)
{
    EXPECT_TRUE(is_valid_metric(tensor2{1, 0, 1e24}));
    EXPECT_TRUE(is_valid_metric(tensor2{1e24, 0, 1}));
    EXPECT_FALSE(is_valid_metric(tensor2{1, 0, 1.0000001e24}));
    EXPECT_FALSE(is_valid_metric(tensor2{1, 0, 1e-24}));
    EXPECT_TRUE(is_valid_metric(tensor2{1, 0, 1.0000001e-24}));
    EXPECT_TRUE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 1e24}));
    EXPECT_TRUE(is_valid_metric(tensor3{1, 0, 1e24, 0, 0, 1e24}));
    EXPECT_FALSE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 1.0000001e24}));
    EXPECT_FALSE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 1e-24}));
    EXPECT_TRUE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 1.0000001e-24}));
}

TEST(IsValidMetric, RefusesIndefiniteTensors)
{
    EXPECT_FALSE(is_valid_metric(tensor2{1, 2, 1}));
    EXPECT_FALSE(is_valid_metric(tensor2{-1, 0, -1}));
    EXPECT_FALSE(is_valid_metric(tensor2{1, 0, -1}));
    EXPECT_FALSE(is_valid_metric(tensor3{1, 2, 1, 0, 0, 1}));
    EXPECT_FALSE(is_valid_metric(tensor3{-1, 0, -1, 0, 0, -1}));
}

TEST(IsValidMetric, RefusesSingularTensors)
{
    EXPECT_FALSE(is_valid_metric(tensor2{0, 0, 0}));
    EXPECT_FALSE(is_valid_metric(tensor2{1, 1, 1}));
    EXPECT_FALSE(is_valid_metric(tensor2{1, 0, 0}));
    EXPECT_FALSE(is_valid_metric(tensor3{0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(is_valid_metric(tensor3{1, 0, 1, 0, 0, 0}));
}

// The subtraction alone would find 0 for the smaller eigenvalue.
TEST(IsValidMetric, FindsASmallEigenvalueThatCancellationWouldSpoil)
{
    EXPECT_TRUE(is_valid_metric(tensor2{1e20, 1, 1}));
    EXPECT_FALSE(is_valid_metric(tensor2{1e20, 1e10, 0.5}));
}

TEST(IsValidMetric, GoesByTheValuesWhereTheSquareOverflows)
{
    EXPECT_TRUE(is_valid_metric(tensor2{1e200, 0, 1e200}));
    EXPECT_FALSE(is_valid_metric(tensor2{1e200, 0, 1}));
    EXPECT_TRUE(is_valid_metric(tensor3{1e300, 0, 1e300, 0, 0, 1e300}));
    EXPECT_FALSE(is_valid_metric(tensor3{1e300, 0, 1e300, 0, 0, 1}));
    EXPECT_TRUE(is_valid_metric(tensor3{1e-300, 0, 1e-300, 0, 0, 1e-300}));
}

TEST(IsValidMetric, RefusesEveryTensorWithAnEntryThatIsNotFinite)
{
    for (const double wrong : {nan_value, infinity, -infinity}) {
        for (unsigned places = 1; places < 8; ++places) {
            if (places == 2 && std::isnan(wrong)) continue; // the next test
            tensor2 m{2, 0.5, 3};
            for (unsigned k = 0; k < 3; ++k)
                if (places >> k & 1) m[k] = wrong;
            EXPECT_FALSE(is_valid_metric(m)) << wrong << " at " << places;
        }
        for (unsigned places = 1; places < 64; ++places) {
            tensor3 m{4, 0.5, 9, 0.25, 0.125, 1};
            tensor3 diagonal{4, 0, 9, 0, 0, 1};
            for (unsigned k = 0; k < 6; ++k)
                if (places >> k & 1) m[k] = diagonal[k] = wrong;
            EXPECT_FALSE(is_valid_metric(m)) << wrong << " at " << places;
            EXPECT_FALSE(is_valid_metric(diagonal)) << wrong << " at " << places;
        }
    }
}

// A discriminant that is no number counts as 0, which leaves half the trace twice.
TEST(IsValidMetric, GoesByTheTraceInThePlaneWhereTheOffDiagonalIsNoNumber)
{
    EXPECT_TRUE(is_valid_metric(tensor2{2, nan_value, 3}));
    EXPECT_FALSE(is_valid_metric(tensor2{2, nan_value, -3}));
}

TEST(IsValidMetric, AgreesWithThePlainVersionOnAwkwardEntries)
{
    std::size_t valid = 0;
    for (const double a : awkward)
        for (const double c : awkward)
            for (const double b : awkward) {
                const bool expected = plain::is_valid(a, c, b);
                EXPECT_EQ(is_valid_metric(tensor2{a, c, b}), expected)
                    << a << ", " << c << ", " << b;
                valid += expected;
            }
    EXPECT_GT(valid, 50U);
}

TEST(IsValidMetric, AgreesWithRotationsInSpace)
{
    random_tensors random(71);
    std::size_t valid = 0;
    for (int run = 0; run < 2000; ++run) {
        const auto m = run % 2 == 0 ? random.any<3>() : random.positive<3>();
        const auto w = plain::eigenvalues(m);
        if (std::fabs(w[0]) < 1e-10) continue;
        EXPECT_EQ(is_valid_metric(m), w[0] > 0) << "run " << run;
        valid += w[0] > 0;
    }
    EXPECT_GE(valid, 1000U);
}
