#include "metrics/metric_pair_reduction.h"

#include "metrics/tensors.h"

using kz3::lattiq::detail::metric_pair_reduction;

namespace {

constexpr tensor2 unit2{1, 0, 1};
constexpr tensor3 unit3{1, 0, 1, 0, 0, 1};

} // namespace

TEST(MetricPairReduction, GivesBothTensorsInTheBasisOfBoth)
{
    metric_pair_reduction<2> r;
    EXPECT_TRUE(r.reduce({1, 0, 4}, {4, 0, 1}));
    EXPECT_TRUE(same(r.vectors, {0, 1, -1, 0}));
    EXPECT_TRUE(same(r.first_values, {4, 1}));
    EXPECT_TRUE(same(r.second_values, {1, 4}));
    EXPECT_EQ(r.inverse_rows[0][0], 0);
    EXPECT_EQ(r.inverse_rows[0][1], 1);
    EXPECT_EQ(r.inverse_rows[1][0], -1);
    EXPECT_EQ(r.inverse_rows[1][1], 0);
}

TEST(MetricPairReduction, IsFalseUnlessBothArePositiveEverywhere)
{
    metric_pair_reduction<2> r2;
    EXPECT_TRUE(r2.reduce(unit2, unit2));
    EXPECT_FALSE(r2.reduce(unit2, {0, 0, 0}));
    EXPECT_TRUE(same(r2.first_values, {1, 1}));
    EXPECT_FALSE(r2.reduce(unit2, {-2, 0, 3}));
    EXPECT_TRUE(same(r2.second_values, {-2, 3}));
    metric_pair_reduction<3> r3;
    EXPECT_TRUE(r3.reduce(unit3, unit3));
    EXPECT_FALSE(r3.reduce(unit3, {0, 0, 0, 0, 0, 0}));
}

TEST(MetricPairReduction, ForgetsTheValuesOfThePairBefore)
{
    metric_pair_reduction<2> r2;
    EXPECT_TRUE(r2.reduce(unit2, unit2));
    EXPECT_FALSE(r2.reduce({0, 0, 0}, unit2));
    EXPECT_TRUE(same(r2.first_values, {0, 0}));
    EXPECT_TRUE(same(r2.second_values, {0, 0}));
    metric_pair_reduction<3> r3;
    EXPECT_TRUE(r3.reduce(unit3, unit3));
    EXPECT_FALSE(r3.reduce(unit3, {-1, 0, 1, 0, 0, 1}));
    EXPECT_TRUE(same(r3.first_values, {0, 0, 0}));
    EXPECT_TRUE(same(r3.second_values, {0, 0, 0}));
}

template <std::size_t N>
void expect_reduction(unsigned seed)
{
    random_tensors random(seed);
    for (int run = 0; run < 1000; ++run) {
        const auto m1 = random.positive<N>();
        const auto m2 = random.positive<N>();
        metric_pair_reduction<N> r;
        ASSERT_TRUE(r.reduce(m1, m2));
        for (std::size_t i = 0; i < N; ++i) {
            const auto v = column_of(r.vectors, i);
            EXPECT_NEAR(r.first_values[i] / form(m1, v), 1, 1e-12) << "run " << run;
            EXPECT_NEAR(r.second_values[i] / form(m2, v), 1, 1e-9) << "run " << run;
            for (std::size_t j = 0; j < N; ++j) {
                double product = 0;
                for (std::size_t k = 0; k < N; ++k)
                    product += r.inverse_rows[i][k] * r.vectors(k, j);
                EXPECT_NEAR(product, i == j ? 1 : 0, 1e-10) << "run " << run;
            }
        }
    }
}

TEST(MetricPairReduction, InvertsItsVectorsInThePlane)
{
    expect_reduction<2>(89);
}

TEST(MetricPairReduction, InvertsItsVectorsInSpace)
{
    expect_reduction<3>(90);
}
