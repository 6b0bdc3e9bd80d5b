#include <thread>
#include <vector>

#include <kz3/lattiq/metrics.h>

#include "metrics/tensors.h"
#include "plain/metrics/tensors.h"
#include "support/allocation.h"

using namespace kz3::lattiq;

namespace {

constexpr vector_fixed<double, 2> old_values2{-7, -8};
constexpr vectors2 old_vectors2{-1, -2, -3, -4};

struct result2 {
    bool solved;
    vector_fixed<double, 2> values = old_values2;
    vectors2 vectors = old_vectors2;

    explicit result2(const tensor2& m) { solved = eigen_pairs(m, values, vectors); }
};

struct result3 {
    bool solved;
    vector_fixed<double, 3> values{-7, -8, -9};
    vectors3 vectors{-1, -2, -3, -4, -5, -6, -7, -8, -9};

    explicit result3(const tensor3& m) { solved = eigen_pairs(m, values, vectors); }
};

template <std::size_t N>
void expect_orthonormal(const matrix_fixed<double, N, N>& vectors)
{
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            double dot = 0;
            for (std::size_t k = 0; k < N; ++k) dot += vectors(k, i) * vectors(k, j);
            EXPECT_NEAR(dot, i == j ? 1 : 0, 1e-13) << "columns " << i << ", " << j;
        }
}

} // namespace

TEST(EigenPairs, TakesTheAxesForTheUnitTensor)
{
    const result2 r({1, 0, 1});
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {1, 1}));
    EXPECT_TRUE(same(r.vectors, {1, 0, 0, 1}));
}

TEST(EigenPairs, TakesTheSecondAxisFirstWhereItsValueIsTheSmaller)
{
    const result2 r({2, 0, 1});
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {1, 2}));
    EXPECT_TRUE(same(r.vectors, {0, 1, -1, 0}));
}

TEST(EigenPairs, PutsTheSmallerValueFirst)
{
    const result2 r({1, 0, 4});
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {1, 4}));
    EXPECT_TRUE(same(r.vectors, {-1, 0, 0, -1})); // 1 - 4 in x
}

TEST(EigenPairs, FindsPairsOffTheAxes)
{
    const result2 r({2, 1, 2}); // 1 along (-1, 1), 3 along (1, 1)
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {1, 3}));
    const double half = 1 / std::sqrt(2.0);
    EXPECT_TRUE(same(r.vectors, {-half, half, -half, -half}));
}

TEST(EigenPairs, SolvesIndefiniteAndZeroTensors)
{
    const result2 indefinite({1, 2, 1});
    EXPECT_TRUE(indefinite.solved);
    EXPECT_TRUE(same(indefinite.values, {-1, 3}));
    const result2 zero({0, 0, 0});
    EXPECT_TRUE(zero.solved);
    EXPECT_TRUE(same(zero.values, {0, 0}));
    EXPECT_TRUE(same(zero.vectors, {1, 0, 0, 1}));
}

// Where the smaller value is lost in the larger, the determinant over the trace has it.
TEST(EigenPairs, RepairsTheValueThatCancellationSpoils)
{
    const result2 positive({1e20, 0, 3});
    EXPECT_TRUE(positive.solved);
    EXPECT_TRUE(same(positive.values, {3, 1e20}));
    const result2 negative({-1e20, 0, -3});
    EXPECT_TRUE(negative.solved);
    EXPECT_TRUE(same(negative.values, {-1e20, -3}));
}

TEST(EigenPairs, LeavesAValueAboveTheLimitOfRepair)
{
    // Powers of 2, so that the subtraction is exact and the quotient is not.
    const result2 r({1, 0, 0x1p-39}); // about 1.8e-12
    EXPECT_EQ(r.values[0], 0x1p-39);
    const result2 below({1, 0, 0x1p-41}); // about 4.5e-13: the determinant over the trace
    EXPECT_EQ(below.values[0], 0x1p-41 / (1 + 0x1p-41));
}

// A vector of length 1e-12 is still scaled, a shorter one makes way for an axis.
TEST(EigenPairs, FallsBackToAxesBelowALengthOf1e12)
{
    const result2 scaled({1, 1e-12, 1});
    EXPECT_TRUE(same(scaled.vectors, {0, 1, -1, 0}));
    const result2 axes({1e-13, 1e-14, 2e-13});
    EXPECT_TRUE(axes.solved);
    EXPECT_TRUE(same(axes.vectors, {1, 0, 0, 1}));
    const result2 turned({2e-13, 1e-14, 1e-13});
    EXPECT_TRUE(same(turned.vectors, {0, 1, -1, 0}));
}

TEST(EigenPairs, LeavesTheVectorsWhereAValueIsNotFinite)
{
    const result2 number({nan_value, 0, 1});
    EXPECT_FALSE(number.solved);
    EXPECT_TRUE(same(number.values, {nan_value, nan_value}));
    EXPECT_TRUE(same(number.vectors, old_vectors2));

    // 1e200 squared is infinite; the smaller value comes from the determinant over the trace
    const result2 overflow({1e200, 0, 1});
    EXPECT_FALSE(overflow.solved);
    EXPECT_TRUE(same(overflow.values, {1, nan_value}));
    EXPECT_TRUE(same(overflow.vectors, old_vectors2));
}

TEST(EigenPairs, GoesByTheTraceInThePlaneWhereTheOffDiagonalIsNoNumber)
{
    const result2 r({2, nan_value, 3});
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {2.5, 2.5}));
    EXPECT_TRUE(same(r.vectors, {1, 0, 0, 1}));
    const result2 turned({3, nan_value, 2});
    EXPECT_TRUE(same(turned.vectors, {0, 1, -1, 0}));
}

TEST(EigenPairs, FollowsThePlainVersionToTheBitOnAwkwardEntries)
{
    std::size_t solved = 0;
    for (const double a : awkward)
        for (const double c : awkward)
            for (const double b : awkward) {
                const result2 r({a, c, b});
                const auto expected = plain::eigen_pairs(a, c, b);
                solved += expected.solved;
                ASSERT_EQ(r.solved, expected.solved) << a << ", " << c << ", " << b;
                ASSERT_TRUE(same(r.values, {expected.l1, expected.l2}))
                    << a << ", " << c << ", " << b;
                const vectors2 vectors{expected.x, expected.y, expected.x2, expected.y2};
                ASSERT_TRUE(same(r.vectors, expected.solved ? vectors : old_vectors2))
                    << a << ", " << c << ", " << b;
            }
    EXPECT_GT(solved, 500U);
}

TEST(EigenPairs, FollowsThePlainVersionToTheBitOnRandomTensors)
{
    random_tensors random(72);
    for (int run = 0; run < 20000; ++run) {
        const tensor2 m = run % 2 == 0 ? random.any<2>() : random.positive<2>(1e9);
        const result2 r(m);
        const auto expected = plain::eigen_pairs(m[0], m[1], m[2]);
        ASSERT_TRUE(r.solved);
        ASSERT_TRUE(same(r.values, {expected.l1, expected.l2})) << "run " << run;
        ASSERT_TRUE(same(r.vectors, {expected.x, expected.y, expected.x2, expected.y2}))
            << "run " << run;
    }
}

TEST(EigenPairs, GivesOrthonormalVectorsThatReproduceTheTensor)
{
    random_tensors random(73);
    for (int run = 0; run < 2000; ++run) {
        const tensor2 m2 = run % 2 == 0 ? random.any<2>() : random.positive<2>();
        const result2 flat(m2);
        ASSERT_TRUE(flat.solved);
        EXPECT_LE(flat.values[0], flat.values[1]);
        expect_orthonormal(flat.vectors);
        EXPECT_TRUE(near(from_pairs(flat.values, flat.vectors), m2, 1e-10)) << "run " << run;

        const tensor3 m3 = run % 2 == 0 ? random.any<3>() : random.positive<3>();
        const result3 r(m3);
        ASSERT_TRUE(r.solved);
        expect_orthonormal(r.vectors);
        EXPECT_TRUE(near(from_pairs(r.values, r.vectors), m3, 1e-13)) << "run " << run;
        EXPECT_TRUE(near(r.values, plain::eigenvalues(m3), 1e-13)) << "run " << run;
    }
}

TEST(EigenPairs, GivesValuesInSpaceAscending)
{
    const result3 r({5, 0, 1, 0, 0, 3});
    EXPECT_TRUE(r.solved);
    EXPECT_TRUE(same(r.values, {1, 3, 5}));
    EXPECT_EQ(std::fabs(r.vectors(1, 0)), 1);
    EXPECT_EQ(std::fabs(r.vectors(2, 1)), 1);
    EXPECT_EQ(std::fabs(r.vectors(0, 2)), 1);
}

TEST(EigenPairs, SolvesZeroHugeAndTinyTensorsInSpace)
{
    const result3 zero({0, 0, 0, 0, 0, 0});
    EXPECT_TRUE(zero.solved);
    EXPECT_TRUE(same(zero.values, {0, 0, 0}));
    expect_orthonormal(zero.vectors);
    for (const double scale : {1e300, 1e-300}) {
        const result3 r({2 * scale, scale, 2 * scale, 0, 0, 5 * scale});
        EXPECT_TRUE(r.solved);
        EXPECT_TRUE(near(r.values, {scale, 3 * scale, 5 * scale}, 1e-14));
        expect_orthonormal(r.vectors);
    }
}

TEST(EigenPairs, EndsOnEveryTensorInSpaceHoweverBad)
{
    random_tensors random(74);
    std::size_t spoilt = 0;
    for (int run = 0; run < 20000; ++run) {
        const tensor3 m = random.hostile<3>();
        const result3 r(m);
        bool finite = true;
        for (const double x : m.data) finite = finite && std::isfinite(x);
        for (const double w : r.values)
            if (!finite && !std::isfinite(w)) {
                ++spoilt;
                break;
            }
        if (finite) {
            EXPECT_TRUE(r.solved) << "run " << run;
        }
    }
    EXPECT_GT(spoilt, 1000U);
}

TEST(EigenPairs, ServesManyThreadsAtOnce)
{
    std::vector<tensor3> tensors;
    random_tensors random(75);
    for (int k = 0; k < 500; ++k) tensors.push_back(random.any<3>());
    std::vector<result3> expected;
    for (const auto& m : tensors) expected.emplace_back(m);

    std::vector<std::size_t> wrong(4, 0);
    std::vector<std::thread> threads;
    for (auto& count : wrong)
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round)
                for (std::size_t k = 0; k < tensors.size(); ++k) {
                    const result3 r(tensors[k]);
                    if (!same(r.values, expected[k].values) ||
                        !same(r.vectors, expected[k].vectors))
                        ++count;
                }
        });
    for (auto& thread : threads) thread.join();
    for (const std::size_t count : wrong) EXPECT_EQ(count, 0U);
}

TEST(EigenPairs, AllocatesNothing)
{
    const auto ask = [&](std::size_t, auto run) {
        EXPECT_TRUE(run([] {
            return result2({2, 1, 2}).solved && result3({2, 1, 2, 0, 0, 5}).solved;
        }));
    };
    EXPECT_EQ(allocation::sweep<allocation::fail_containers>(ask), 0U);
    EXPECT_EQ(allocation::sweep<allocation::fail_new>(ask), 0U);
}
