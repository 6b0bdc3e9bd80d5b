#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "plain/metrics/tensors.h"

using namespace kz3::lattiq;

namespace {

constexpr vector_fixed<double, 2> old_values2{-7, -8};
constexpr vectors2 old_vectors2{-1, -2, -3, -4};
constexpr vector_fixed<double, 3> old_values3{-7, -8, -9};
constexpr vectors3 old_vectors3{-1, -2, -3, -4, -5, -6, -7, -8, -9};
constexpr tensor3 unit3{1, 0, 1, 0, 0, 1};

struct result2 {
    bool solved;
    vector_fixed<double, 2> values = old_values2;
    vectors2 vectors = old_vectors2;

    result2(const tensor2& a, const tensor2& b) { solved = eigen_pairs(a, b, values, vectors); }
};

struct result3 {
    bool solved;
    vector_fixed<double, 3> values = old_values3;
    vectors3 vectors = old_vectors3;

    result3(const tensor3& a, const tensor3& b) { solved = eigen_pairs(a, b, values, vectors); }
};

template <std::size_t N>
double length(const vector_fixed<double, N>& x)
{
    double sum = 0;
    for (const double c : x) sum += c * c;
    return std::sqrt(sum);
}

/// b x = value * a x for every pair, and each x of length 1.
template <std::size_t N>
void expect_pairs(const symmetric_fixed<double, N>& a, const symmetric_fixed<double, N>& b,
                  const vector_fixed<double, N>& values, const matrix_fixed<double, N, N>& vectors)
{
    for (std::size_t k = 0; k < N; ++k) {
        const auto x = column_of(vectors, k);
        EXPECT_NEAR(length(x), 1, 1e-14) << "pair " << k;
        double scale = 0;
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t j = 0; j < N; ++j)
                scale = std::fmax(scale, std::fabs(b(i, j)) + std::fabs(values[k] * a(i, j)));
        for (std::size_t i = 0; i < N; ++i) {
            double rest = 0;
            for (std::size_t j = 0; j < N; ++j) rest += (b(i, j) - values[k] * a(i, j)) * x[j];
            EXPECT_NEAR(rest, 0, 1e-10 * scale) << "pair " << k << ", row " << i;
        }
    }
}

} // namespace

TEST(EigenPairsOfTwo, GivesOneWhereBothAreEqual)
{
    const tensor2 flat{2, 0.5, 3};
    const result2 r2(flat, flat);
    EXPECT_TRUE(r2.solved);
    EXPECT_TRUE(near(r2.values, {1, 1}, 1e-14));
    const tensor3 m{2, 0.5, 3, 0.25, -0.5, 4};
    const result3 r3(m, m);
    EXPECT_TRUE(r3.solved);
    EXPECT_TRUE(near(r3.values, {1, 1, 1}, 1e-14));
}

TEST(EigenPairsOfTwo, MeasuresTheSecondByTheFirst)
{
    const result2 r2({1, 0, 4}, {4, 0, 1}); // 1/4 along y, 4 along x
    EXPECT_TRUE(r2.solved);
    EXPECT_TRUE(same(r2.values, {0.25, 4}));
    EXPECT_TRUE(same(r2.vectors, {0, 1, -1, 0}));
    const result3 r3({1, 0, 4, 0, 0, 1}, {4, 0, 1, 0, 0, 9});
    EXPECT_TRUE(r3.solved);
    EXPECT_TRUE(near(r3.values, {0.25, 4, 9}, 1e-14));
    EXPECT_NEAR(std::fabs(r3.vectors(1, 0)), 1, 1e-14);
    EXPECT_NEAR(std::fabs(r3.vectors(0, 1)), 1, 1e-14);
    EXPECT_NEAR(std::fabs(r3.vectors(2, 2)), 1, 1e-14);
}

TEST(EigenPairsOfTwo, TakesANegativeSecondInThePlaneButNotInSpace)
{
    const result2 r2({1, 0, 1}, {-2, 0, 3});
    EXPECT_TRUE(r2.solved);
    EXPECT_TRUE(same(r2.values, {-2, 3}));
    const result3 r3(unit3, {-2, 0, 3, 0, 0, 4});
    EXPECT_FALSE(r3.solved);
    EXPECT_TRUE(same(r3.values, old_values3));
    EXPECT_TRUE(same(r3.vectors, old_vectors3));
}

TEST(EigenPairsOfTwo, TakesAZeroSecond)
{
    const result2 r2({1, 0, 1}, {0, 0, 0});
    EXPECT_TRUE(r2.solved);
    EXPECT_TRUE(same(r2.values, {0, 0}));
    EXPECT_TRUE(same(r2.vectors, {1, 0, 0, 1}));
    const result3 r3(unit3, {0, -0.0, 0, 0, 0, 0});
    EXPECT_TRUE(r3.solved);
    EXPECT_TRUE(same(r3.values, {0, 0, 0}));
    expect_pairs(unit3, {0, 0, 0, 0, 0, 0}, r3.values, r3.vectors);
}

TEST(EigenPairsOfTwo, LeavesBothOutputsWhereTheFirstIsNotPositive)
{
    const tensor2 refused2[] = {{0, 0, 1},         {-1, 0, 1},
                                {1, 0, 0},         {1, 1, 1},
                                {1, 2, 1},         {nan_value, 0, 1},
                                {1, nan_value, 1}, {1, 0, nan_value},
                                {0, 0, 0},         {infinity, infinity, 1}};
    for (const auto& a : refused2) {
        const result2 r(a, {1, 0, 1});
        EXPECT_FALSE(r.solved) << a[0] << ", " << a[1] << ", " << a[2];
        EXPECT_TRUE(same(r.values, old_values2));
        EXPECT_TRUE(same(r.vectors, old_vectors2));
    }
    const tensor3 refused3[] = {
        {0, 0, 0, 0, 0, 0},         {-1, 0, 1, 0, 0, 1},        {nan_value, 0, 1, 0, 0, 1},
        {1, 0, 0, 0, 0, 1},         {1, 1, 1, 0, 0, 1},         {1, nan_value, 1, 0, 0, 1},
        {1, 0, 1, 0, 0, -1},        {1, 0, 1, 2, 0, 1},         {1, 0, 1, 0, 2, 1},
        {1, 0, 1, nan_value, 0, 1}, {1, 0, 1, 0, nan_value, 1}, {1, 0, 1, 0, 0, nan_value}};
    for (const auto& m : refused3) {
        const result3 first(m, unit3);
        EXPECT_FALSE(first.solved);
        EXPECT_TRUE(same(first.values, old_values3));
        EXPECT_TRUE(same(first.vectors, old_vectors3));
    }
}

TEST(EigenPairsOfTwo, LeavesBothOutputsWhereTheSecondIsNotPositiveInSpace)
{
    const tensor3 refused[] = {{0, 0, 1, 0, 0, 1},         {-1, 0, 1, 0, 0, 1},
                               {nan_value, 0, 1, 0, 0, 1}, {1, 0, 0, 0, 0, 1},
                               {1, 2, 1, 0, 0, 1},         {1, nan_value, 1, 0, 0, 1},
                               {1, 0, 1, 0, 0, -1},        {1, 0, 1, nan_value, 0, 1},
                               {0, 0, 0, 0, 0, 1},         {0, 1e-300, 0, 0, 0, 0}};
    for (const auto& m : refused) {
        const result3 r(unit3, m);
        EXPECT_FALSE(r.solved);
        EXPECT_TRUE(same(r.values, old_values3));
        EXPECT_TRUE(same(r.vectors, old_vectors3));
    }
}

// The last pivot may be 0, the two before it may not.
TEST(EigenPairsOfTwo, TakesASecondThatIsFlatInItsLastDirectionInSpace)
{
    const result3 r(unit3, {4, 0, 9, 0, 0, 0});
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(near(r.values, {0, 4, 9}, 1e-14));
}

TEST(EigenPairsOfTwo, TakesAllNaNForZeroInSpace)
{
    tensor3 all;
    for (double& x : all.data) x = nan_value;
    const result3 r(unit3, all);
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {0, 0, 0}));
}

TEST(EigenPairsOfTwo, ZeroesTheVectorsWhereTheIterationFails)
{
    // the pivot of 0 passes, and its inverse makes NaN
    const result3 r({1, 0, 1, 0, 0, 0}, unit3);
    EXPECT_FALSE(r.solved);
    EXPECT_TRUE(same(r.vectors, vectors3{}));
}

TEST(EigenPairsOfTwo, LeavesTheVectorsWhereAValueIsNotFiniteInThePlane)
{
    const result2 r({1, 0, 1}, {nan_value, 0, 1});
    EXPECT_FALSE(r.solved);
    EXPECT_TRUE(same(r.values, {nan_value, nan_value}));
    EXPECT_TRUE(same(r.vectors, old_vectors2));
}

TEST(EigenPairsOfTwo, TakesTheSameTensorTwice)
{
    const tensor2 m{1, 0, 9};
    vector_fixed<double, 2> values{};
    vectors2 vectors{};
    EXPECT_TRUE(eigen_pairs(m, m, values, vectors));
    EXPECT_TRUE(same(values, {1, 1}));
}

TEST(EigenPairsOfTwo, LeavesAVectorWithoutLength)
{
    const result2 r({infinity, 0, infinity}, {1, 0, 2});
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {0, 0}));
    EXPECT_TRUE(same(r.vectors, {0, 0, 0, 0}));
    const result3 space({infinity, 0, infinity, 0, 0, infinity}, unit3);
    EXPECT_TRUE(space.solved);
    EXPECT_TRUE(same(space.values, {0, 0, 0}));
    EXPECT_TRUE(same(space.vectors, vectors3{}));
    const result2 tiny({1e300, 0, 1e300}, {1, 0, 2});
    EXPECT_TRUE(tiny.solved);
    for (std::size_t k = 0; k < 2; ++k) EXPECT_NEAR(length(column_of(tiny.vectors, k)), 1, 1e-14);
}

TEST(EigenPairsOfTwo, FollowsThePlainVersionToTheBit)
{
    random_tensors random(76);
    std::size_t solved = 0;
    for (int run = 0; run < 60000; ++run) {
        const tensor2 a = run % 3 == 0 ? random.hostile<2>() : random.positive<2>(1e6);
        const tensor2 b = run % 2 == 0 ? random.hostile<2>() : random.any<2>();
        const result2 r(a, b);
        const auto expected = plain::eigen_pairs(a.data, b.data);
        ASSERT_EQ(r.solved, expected.solved) << "run " << run;
        solved += r.solved;
        if (!r.solved) {
            ASSERT_TRUE(same(r.vectors, old_vectors2)) << "run " << run;
            continue;
        }
        ASSERT_TRUE(same(r.values, {expected.l1, expected.l2})) << "run " << run;
        ASSERT_TRUE(same(r.vectors, {expected.x, expected.y, expected.x2, expected.y2}))
            << "run " << run;
    }
    EXPECT_GT(solved, 20000U);
}

TEST(EigenPairsOfTwo, SolvesTheGeneralisedProblem)
{
    random_tensors random(77);
    for (int run = 0; run < 2000; ++run) {
        const auto a2 = random.positive<2>();
        const auto b2 = random.any<2>(3);
        const result2 r2(a2, b2);
        ASSERT_TRUE(r2.solved);
        EXPECT_LE(r2.values[0], r2.values[1]);
        expect_pairs(a2, b2, r2.values, r2.vectors);

        const auto a3 = random.positive<3>();
        const auto b3 = random.positive<3>();
        const result3 r3(a3, b3);
        ASSERT_TRUE(r3.solved);
        EXPECT_LE(r3.values[0], r3.values[1]);
        EXPECT_LE(r3.values[1], r3.values[2]);
        expect_pairs(a3, b3, r3.values, r3.vectors);
    }
}

TEST(EigenPairsOfTwo, EndsOnEveryPairInSpaceHoweverBad)
{
    random_tensors random(78);
    std::size_t solved = 0;
    for (int run = 0; run < 20000; ++run) {
        const tensor3 a = run % 2 == 0 ? random.hostile<3>() : random.positive<3>(1e12);
        const tensor3 b = run % 3 == 0 ? random.positive<3>(1e12) : random.hostile<3>();
        solved += result3(a, b).solved;
    }
    EXPECT_GT(solved, 1000U);
    EXPECT_LT(solved, 20000U);
}
