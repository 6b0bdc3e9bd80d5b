#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "plain/metrics/tensors.h"
#include "support/allocation.h"

using namespace kz3::lattiq;

namespace {

constexpr tensor2 unit2{1, 0, 1};
constexpr tensor3 unit3{1, 0, 1, 0, 0, 1};
constexpr tensor2 zero2{0, 0, 0};
constexpr tensor3 zero3{0, 0, 0, 0, 0, 0};

template <std::size_t N>
symmetric_fixed<double, N> maximum(const symmetric_fixed<double, N>& m1,
                                   const symmetric_fixed<double, N>& m2)
{
    symmetric_fixed<double, N> m;
    for (double& x : m.data) x = -77;
    maximum_metric(m1, m2, m);
    return m;
}

template <std::size_t N>
double determinant(const symmetric_fixed<double, N>& m)
{
    vector_fixed<double, N> w{};
    matrix_fixed<double, N, N> v{};
    EXPECT_TRUE(eigen_pairs(m, w, v));
    double product = 1;
    for (const double x : w) product *= x;
    return product;
}

} // namespace

TEST(MaximumMetric, OfATensorWithItselfIsTheTensor)
{
    const tensor2 flat{2, 0.5, 3};
    EXPECT_TRUE(near(maximum(flat, flat), flat, 1e-14));
    const tensor3 m{2, 0.5, 3, 0.25, -0.5, 4};
    EXPECT_TRUE(near(maximum(m, m), m, 1e-14));
}

TEST(MaximumMetric, TakesTheLargerSizeInEachDirection)
{
    EXPECT_TRUE(near(maximum<2>({1, 0, 4}, {4, 0, 1}), {1, 0, 1}, 1e-15));
    EXPECT_TRUE(
        near(maximum<3>({1, 0, 4, 0, 0, 9}, {4, 0, 1, 0, 0, 1}), {1, 0, 1, 0, 0, 1}, 1e-14));
    EXPECT_TRUE(near(maximum<2>({2, 1, 2}, unit2), unit2, 1e-14)); // 1 and 3, against 1 and 1
}

TEST(MaximumMetric, OfTheZeroTensorAsEitherIsZero)
{
    EXPECT_TRUE(same(maximum(unit2, zero2), zero2));
    EXPECT_TRUE(same(maximum(unit3, zero3), zero3));
    EXPECT_TRUE(same(maximum(zero2, unit2), zero2));
    EXPECT_TRUE(same(maximum(zero3, unit3), zero3));
}

TEST(MaximumMetric, IsZeroWhereTheFirstIsNotPositive)
{
    for (const tensor2& m : {tensor2{1, 2, 1}, {-1, 0, 1}, {1, 0, 0}, {nan_value, 0, 1}}) {
        EXPECT_TRUE(same(maximum(m, unit2), zero2));
        EXPECT_FALSE(is_valid_metric(maximum(m, unit2)));
    }
    for (const tensor3& m :
         {tensor3{1, 2, 1, 0, 0, 1}, {1, 0, 1, 0, 0, -1}, {1, 0, 1, 0, nan_value, 1}})
        EXPECT_TRUE(same(maximum(m, unit3), zero3));
}

TEST(MaximumMetric, PassesANegativeSecondOnInThePlaneAndIsZeroInSpace)
{
    EXPECT_TRUE(same(maximum<2>(unit2, {-2, 0, 3}), {-2, 0, 1}));
    EXPECT_TRUE(same(maximum<3>(unit3, {-2, 0, 3, 0, 0, 1}), zero3));
}

TEST(MaximumMetric, MayReplaceEitherArgument)
{
    const tensor2 a2{1, 0.5, 4};
    const tensor2 b2{4, -0.5, 1};
    tensor2 first2 = a2;
    maximum_metric(first2, b2, first2);
    EXPECT_TRUE(same(first2, maximum(a2, b2)));
    tensor2 second2 = b2;
    maximum_metric(a2, second2, second2);
    EXPECT_TRUE(same(second2, maximum(a2, b2)));
    const tensor3 a3{2, 0.5, 3, 0.25, -0.5, 4};
    const tensor3 b3{4, -0.5, 1, 0.25, 0.5, 2};
    tensor3 first3 = a3;
    maximum_metric(first3, b3, first3);
    EXPECT_TRUE(same(first3, maximum(a3, b3)));
    tensor3 second3 = b3;
    maximum_metric(a3, second3, second3);
    EXPECT_TRUE(same(second3, maximum(a3, b3)));
}

TEST(MaximumMetric, FollowsThePlainVersionToTheBit)
{
    random_tensors random(86);
    for (int run = 0; run < 40000; ++run) {
        const tensor2 a = run % 3 == 0 ? random.hostile<2>() : random.positive<2>(1e6);
        const tensor2 b = run % 2 == 0 ? random.hostile<2>() : random.positive<2>(1e6);
        ASSERT_TRUE(same(maximum(a, b), plain::combine(a.data, b.data, false))) << "run " << run;
    }
}

template <std::size_t N>
void expect_union(unsigned seed)
{
    random_tensors random(seed);
    for (int run = 0; run < 1000; ++run) {
        const auto a = random.positive<N>();
        const auto b = random.positive<N>();
        const auto m = maximum(a, b);
        EXPECT_TRUE(is_valid_metric(m));
        EXPECT_TRUE(near(m, maximum(b, a), 1e-8)) << "run " << run;
        for (int k = 0; k < 20; ++k) {
            const auto d = random.vector<N>();
            const double least = std::fmin(form(a, d), form(b, d));
            EXPECT_LE(form(m, d), least * (1 + 1e-9)) << "run " << run;
        }
        // what the one takes the other leaves
        symmetric_fixed<double, N> minimum{};
        minimum_metric(a, b, minimum);
        EXPECT_NEAR(determinant(m) * determinant(minimum) / (determinant(a) * determinant(b)), 1,
                    1e-8)
            << "run " << run;
    }
}

TEST(MaximumMetric, IsContainedInTheConstraintsOfBothInThePlane)
{
    expect_union<2>(87);
}

TEST(MaximumMetric, IsContainedInTheConstraintsOfBothInSpace)
{
    expect_union<3>(88);
}

TEST(MaximumMetric, AllocatesNothing)
{
    const auto ask = [](std::size_t, auto run) {
        EXPECT_TRUE(
            run([] { return maximum(unit3, unit3)[0] > 0 && maximum(unit2, unit2)[0] > 0; }));
    };
    EXPECT_EQ(allocation::sweep<allocation::fail_containers>(ask), 0U);
    EXPECT_EQ(allocation::sweep<allocation::fail_new>(ask), 0U);
}
