#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "metrics/validity.h"
#include "plain/metrics/is_valid.h"

using namespace kz3::lattiq;

// Most tensors are judged without LAPACK, by a bound. These come from both sides of it.
namespace {

/// Counts of what the bound decided and what the tensors are.
struct tally {
    std::size_t decided = 0;
    std::size_t valid = 0;
    std::size_t invalid = 0;

    void compare(const tensor3& m)
    {
        const bool expected = plain::is_valid(m);
        const bool clear = detail::is_clearly_valid(m);
        ASSERT_EQ(is_valid_metric(m), expected)
            << m[0] << ' ' << m[1] << ' ' << m[2] << ' ' << m[3] << ' ' << m[4] << ' ' << m[5];
        ASSERT_TRUE(expected || !clear);
        decided += clear;
        valid += expected;
        invalid += !expected;
    }
};

/// A tensor whose smallest eigenvalue is `ratio` times its largest, and in between what it may be.
tensor3 with_ratio(random_tensors& random, double ratio, double scale)
{
    tensor3 m = random.positive<3>(1);
    vector_fixed<double, 3> values;
    matrix_fixed<double, 3, 3> axes;
    eigen_pairs(random.any<3>(), values, axes);
    const double middle = std::exp(random.number(0, 1) * std::log(std::fabs(ratio) + 1e-30));
    m = from_pairs(vector_fixed<double, 3>{ratio * scale, middle * scale, scale}, axes);
    return m;
}

} // namespace

TEST(IsValidMetricAgainstPlain, AgreesFromFarInsideToFarOutside)
{
    random_tensors random(72);
    tally count;
    for (int run = 0; run < 60000; ++run) {
        const double ratio = std::pow(10.0, random.number(-26, 0));
        count.compare(with_ratio(random, run % 4 == 0 ? -ratio : ratio, 1.0));
    }
    EXPECT_GT(count.decided, 15000U);
    EXPECT_GT(count.valid, count.decided + 500);
    EXPECT_GT(count.invalid, 15000U);
}

// About the ratios where the bound ends, where LAPACK's rounding ends, and about singular tensors.
TEST(IsValidMetricAgainstPlain, AgreesAtTheLimitOfTheBound)
{
    random_tensors random(73);
    for (const double ratio : {3e-11, 1e-11, 9e-12, 1e-12, 1e-14, 1e-15, 3e-16, 1e-16, 1e-17, 0.0,
                               -1e-17, -1e-16, -1e-15, -1e-12}) {
        tally count;
        for (int run = 0; run < 2000; ++run) count.compare(with_ratio(random, ratio, 1.0));
        EXPECT_LE(count.decided, ratio >= 9e-12 ? 2000U : 0U) << ratio;
        EXPECT_GE(count.decided, ratio >= 3e-11 ? 2000U : 0U) << ratio;
    }
}

TEST(IsValidMetricAgainstPlain, AgreesAtAllScales)
{
    random_tensors random(74);
    tally count;
    for (int run = 0; run < 40000; ++run) {
        const double scale = std::pow(10.0, random.number(-322, 307));
        count.compare(with_ratio(random, std::pow(10.0, random.number(-14, 0)), scale));
    }
    EXPECT_GT(count.decided, 5000U);
    EXPECT_GT(count.valid, count.decided + 5000);
}

TEST(IsValidMetricAgainstPlain, AgreesOnAwkwardEntries)
{
    random_tensors random(75);
    tally count;
    for (int run = 0; run < 40000; ++run) count.compare(random.hostile<3>());
    tensor3 m{};
    // all tensors of a few awkward entries: 0, infinities, NaN, denormals, products that overflow
    const double few[] = {0, 1, -1, 5e-324, 1e154, 1e300, nan_value, infinity, -infinity};
    for (unsigned code = 0; code < 531441; code += 7) {
        unsigned rest = code;
        for (double& x : m.data) {
            x = few[rest % 9];
            rest /= 9;
        }
        count.compare(m);
    }
    EXPECT_GT(count.valid, 100U);
    EXPECT_GT(count.invalid, 50000U);
}

// A tensor that is positive but for its last pivot, or its second, by a hair.
TEST(IsValidMetricAgainstPlain, AgreesOnTensorsOfRankOneAndTwo)
{
    random_tensors random(76);
    tally count;
    for (int run = 0; run < 20000; ++run) {
        const auto x = random.vector<3>();
        const auto y = random.vector<3>();
        const double part = run % 2 == 0 ? 0.0 : 1.0;
        const double more = run % 5 == 0 ? 1e-16 : run % 5 == 1 ? 1e-14 : 0.0;
        tensor3 m;
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j <= i; ++j)
                m(j, i) = x[i] * x[j] + part * y[i] * y[j] + (i == j ? more : 0.0);
        count.compare(m);
    }
    EXPECT_EQ(count.decided, 0U);
    EXPECT_GT(count.valid, 1000U);
    EXPECT_GT(count.invalid, 1000U);
}
