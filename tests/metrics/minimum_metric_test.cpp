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
symmetric_fixed<double, N> minimum(const symmetric_fixed<double, N>& m1,
                                   const symmetric_fixed<double, N>& m2)
{
    symmetric_fixed<double, N> m;
    for (double& x : m.data) x = -77;
    minimum_metric(m1, m2, m);
    return m;
}

} // namespace

TEST(MinimumMetric, OfATensorWithItselfIsTheTensor)
{
    const tensor2 flat{2, 0.5, 3};
    EXPECT_TRUE(near(minimum(flat, flat), flat, 1e-14));
    const tensor3 m{2, 0.5, 3, 0.25, -0.5, 4};
    EXPECT_TRUE(near(minimum(m, m), m, 1e-14));
}

TEST(MinimumMetric, TakesTheSmallerSizeInEachDirection)
{
    EXPECT_TRUE(near(minimum<2>({1, 0, 4}, {4, 0, 1}), {4, 0, 4}, 1e-15));
    EXPECT_TRUE(
        near(minimum<3>({1, 0, 4, 0, 0, 9}, {4, 0, 1, 0, 0, 1}), {4, 0, 4, 0, 0, 9}, 1e-14));
    EXPECT_TRUE(near(minimum<2>({2, 1, 2}, unit2), {2, 1, 2}, 1e-14)); // 1 and 3, against 1 and 1
}

TEST(MinimumMetric, OfTheZeroTensorAsTheSecondIsTheFirst)
{
    EXPECT_TRUE(same(minimum(unit2, zero2), unit2));
    EXPECT_TRUE(near(minimum(unit3, zero3), unit3, 1e-15));
}

TEST(MinimumMetric, OfTheZeroTensorAsTheFirstIsZero)
{
    EXPECT_TRUE(same(minimum(zero2, unit2), zero2));
    EXPECT_TRUE(same(minimum(zero3, unit3), zero3));
}

TEST(MinimumMetric, IsZeroWhereTheFirstIsNotPositive)
{
    for (const tensor2& m : {tensor2{1, 2, 1}, {-1, 0, 1}, {1, 0, 0}, {nan_value, 0, 1}}) {
        EXPECT_TRUE(same(minimum(m, unit2), zero2));
        EXPECT_FALSE(is_valid_metric(minimum(m, unit2)));
    }
    for (const tensor3& m :
         {tensor3{1, 2, 1, 0, 0, 1}, {1, 0, 1, 0, 0, -1}, {1, 0, 1, 0, nan_value, 1}})
        EXPECT_TRUE(same(minimum(m, unit3), zero3));
}

TEST(MinimumMetric, DropsANegativeSecondInThePlaneAndIsZeroInSpace)
{
    EXPECT_TRUE(same(minimum<2>(unit2, {-2, 0, 3}), {1, 0, 3}));
    EXPECT_TRUE(same(minimum<3>(unit3, {-2, 0, 3, 0, 0, 1}), zero3));
}

TEST(MinimumMetric, IsZeroWhereAValueOfThePairIsNotFinite)
{
    EXPECT_TRUE(same(minimum<2>(unit2, {nan_value, 0, 1}), zero2));
    EXPECT_TRUE(same(minimum<2>(unit2, {1, infinity, 1}), zero2));
}

TEST(MinimumMetric, MayReplaceEitherArgument)
{
    const tensor2 a2{1, 0.5, 4};
    const tensor2 b2{4, -0.5, 1};
    tensor2 first2 = a2;
    minimum_metric(first2, b2, first2);
    EXPECT_TRUE(same(first2, minimum(a2, b2)));
    tensor2 second2 = b2;
    minimum_metric(a2, second2, second2);
    EXPECT_TRUE(same(second2, minimum(a2, b2)));
    const tensor3 a3{2, 0.5, 3, 0.25, -0.5, 4};
    const tensor3 b3{4, -0.5, 1, 0.25, 0.5, 2};
    tensor3 first3 = a3;
    minimum_metric(first3, b3, first3);
    EXPECT_TRUE(same(first3, minimum(a3, b3)));
    tensor3 second3 = b3;
    minimum_metric(a3, second3, second3);
    EXPECT_TRUE(same(second3, minimum(a3, b3)));
    tensor3 all = a3;
    minimum_metric(all, all, all);
    EXPECT_TRUE(near(all, a3, 1e-14));
}

TEST(MinimumMetric, FollowsThePlainVersionToTheBit)
{
    random_tensors random(82);
    for (int run = 0; run < 40000; ++run) {
        const tensor2 a = run % 3 == 0 ? random.hostile<2>() : random.positive<2>(1e6);
        const tensor2 b = run % 2 == 0 ? random.hostile<2>() : random.positive<2>(1e6);
        ASSERT_TRUE(same(minimum(a, b), plain::combine(a.data, b.data, true))) << "run " << run;
    }
}

template <std::size_t N>
void expect_intersection(unsigned seed)
{
    random_tensors random(seed);
    for (int run = 0; run < 1000; ++run) {
        const auto a = random.positive<N>();
        const auto b = random.positive<N>();
        const auto m = minimum(a, b);
        EXPECT_TRUE(is_valid_metric(m));
        EXPECT_TRUE(near(m, minimum(b, a), 1e-8)) << "run " << run;
        for (int k = 0; k < 20; ++k) {
            const auto d = random.vector<N>();
            const double most = std::fmax(form(a, d), form(b, d));
            EXPECT_GE(form(m, d), most * (1 - 1e-10)) << "run " << run;
        }
        // and no more than that: along a shared diagonal direction it is the larger of the two
        vector_fixed<double, N> w{};
        matrix_fixed<double, N, N> v{};
        ASSERT_TRUE(eigen_pairs(a, b, w, v));
        for (std::size_t k = 0; k < N; ++k) {
            const auto d = column_of(v, k);
            const double most = std::fmax(form(a, d), form(b, d));
            EXPECT_NEAR(form(m, d) / most, 1, 1e-9) << "run " << run;
        }
    }
}

TEST(MinimumMetric, ContainsTheConstraintsOfBothInThePlane)
{
    expect_intersection<2>(83);
}

TEST(MinimumMetric, ContainsTheConstraintsOfBothInSpace)
{
    expect_intersection<3>(84);
}

TEST(MinimumMetric, EndsOnEveryPairInSpaceHoweverBad)
{
    random_tensors random(85);
    std::size_t zeros = 0;
    for (int run = 0; run < 10000; ++run) {
        const auto a = random.hostile<3>();
        vector_fixed<double, 3> w{};
        vectors3 v{};
        const bool solved = eigen_pairs(a, unit3, w, v);
        const auto m = minimum(a, unit3);
        if (solved) continue;
        EXPECT_TRUE(same(m, zero3)) << "run " << run;
        ++zeros;
    }
    EXPECT_GT(zeros, 1000U);
}

TEST(MinimumMetric, AllocatesNothing)
{
    const auto ask = [](std::size_t, auto run) {
        EXPECT_TRUE(
            run([] { return minimum(unit3, unit3)[0] > 0 && minimum(unit2, unit2)[0] > 0; }));
    };
    EXPECT_EQ(allocation::sweep<allocation::fail_containers>(ask), 0U);
    EXPECT_EQ(allocation::sweep<allocation::fail_new>(ask), 0U);
}
