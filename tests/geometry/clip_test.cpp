#include <limits>
#include <new>
#include <random>

#include <kz3/lattiq/geometry.h>

#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::clip;

const vector_fixed<double, 3> origin{0, 0, 0};
const vector_fixed<double, 3> right{1, 0, 0};
const vector_fixed<double, 3> left{-1, 0, 0};

// Nodes at x = -2, -1, 0, 1, 2.
dense2D<double> line()
{
    return columns<double>({{-2, 0, 0}, {-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
}

const auto bars = columns<unsigned>({{0, 1}, {1, 2}, {2, 3}, {3, 4}, {1, 3}});

} // namespace

TEST(Clip, KeepsElementsWhollyOnTheSideOfTheNormal)
{
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(line(), bars, origin, right, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{3, 4}})));
}

TEST(Clip, LeavesOutAnElementThatTouchesThePlane)
{
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(line(), columns<unsigned>({{2, 3}}), origin, right, clipped), 0);
    EXPECT_TRUE(clipped.empty());
}

TEST(Clip, FromBothSidesGivesAllElementsButThoseThatCross)
{
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(line(), bars, origin, right, clipped), 0);
    EXPECT_EQ(clip(line(), bars, origin, left, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{3, 4}, {0, 1}})));
}

TEST(Clip, AppendsToWhatIsThere)
{
    auto clipped = columns<unsigned>({{9, 9}});
    EXPECT_EQ(clip(line(), bars, vector_fixed<double, 3>{-3, 0, 0}, right, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{9, 9}, {0, 1}, {1, 2}, {2, 3}, {3, 4}, {1, 3}})));
    EXPECT_EQ(clip(line(), bars, vector_fixed<double, 3>{3, 0, 0}, right, clipped), 0);
    EXPECT_EQ(clipped.cols, 6U);
}

TEST(Clip, ChecksItsArgumentsInOrder)
{
    const auto pos = line();
    const auto beyond = columns<unsigned>({{4, 5}});
    const vector_fixed<double, 3> tiny{9e-13, 0, 0};
    auto other = columns<unsigned>({{1, 2, 3}});
    const auto before = duplicate(other);
    EXPECT_EQ(clip(pos, dense2D<unsigned>(), origin, tiny, other), 0); // an empty mesh comes first
    EXPECT_EQ(clip(pos, beyond, origin, tiny, other), -2);             // then the nodes
    EXPECT_EQ(clip(pos, bars, origin, tiny, other), -4);               // then the normal
    EXPECT_EQ(clip(pos, bars, origin, right, other), -5);              // then the result
    EXPECT_TRUE(same(other, before));
}

TEST(Clip, AcceptsANormalOfTheLeastLength)
{
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(line(), bars, origin, vector_fixed<double, 3>{1e-12, 0, 0}, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{3, 4}})));
    EXPECT_EQ(clip(line(), bars, origin, vector_fixed<double, 3>{0.999e-12, 0, 0}, clipped), -4);
}

TEST(Clip, TakesANormalThatIsNotANumberForOneThatNothingFaces)
{
    dense2D<unsigned> clipped;
    const double nan_value = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(clip(line(), bars, origin, vector_fixed<double, 3>{nan_value, 0, 0}, clipped), 0);
    EXPECT_TRUE(clipped.empty());
}

TEST(Clip, StopsAtTheFirstHoleOfAColumn)
{
    const auto mix = columns<unsigned>({{3, 4, none, 0}, {none, 0, 0, 0}, {3, none, 0, 1}});
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(line(), mix, origin, right, clipped), 0);
    EXPECT_TRUE(same(clipped, mix)); // also the column without a node before its hole
}

TEST(Clip, TakesAPlaneMeshAsLyingInThePlaneOfThePoint)
{
    // Without a third row the third component of the difference is 0, whatever the point's.
    const auto flat = columns<double>({{1, 1}, {2, 1}});
    dense2D<unsigned> clipped;
    const vector_fixed<double, 3> point{0, 0, 100};
    EXPECT_EQ(
        clip(flat, columns<unsigned>({{0, 1}}), point, vector_fixed<double, 3>{1, 0, 1}, clipped),
        0);
    EXPECT_EQ(clipped.cols, 1U);
}

TEST(Clip, GivesTheHeightOfTheMeshToAnEmptyResult)
{
    dense2D<unsigned> clipped(3, 0);
    EXPECT_EQ(clip(line(), bars, origin, right, clipped), 0);
    EXPECT_EQ(clipped.cols, 1U);
    EXPECT_EQ(clipped(0, 0), 3U);
    EXPECT_EQ(clipped(1, 0), 4U);
}

TEST(Clip, FillsColumnsOfAResultThatHadNoRows)
{
    // Room used before, so that what is not written shows.
    dense2D<unsigned> clipped = columns<unsigned>({{70, 71}, {72, 73}, {74, 75}});
    ASSERT_TRUE(clipped.resize(0, 2));
    EXPECT_EQ(clip(line(), bars, origin, right, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{none, none}, {none, none}, {3, 4}})));
}

TEST(Clip, TakesAResultThatIsTheConnectivityItself)
{
    dense2D<unsigned> both;
    ASSERT_TRUE(both.copy(bars));
    EXPECT_EQ(clip(line(), both, origin, right, both), 0);
    EXPECT_TRUE(same(both, columns<unsigned>({{0, 1}, {1, 2}, {2, 3}, {3, 4}, {1, 3}, {3, 4}})));
}

TEST(Clip, ReadsAndAppendsToStridedViews)
{
    const strided<double> pos(line());
    const strided<unsigned> mesh(bars);
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(pos.view, mesh.view, origin, right, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{3, 4}})));
}

TEST(Clip, AgreesWithEachElementAskedByItself)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    std::uniform_int_distribution<unsigned> any(0, 199);
    dense2D<double> pos(3, 200);
    for (std::size_t j = 0; j < pos.cols; ++j)
        for (std::size_t d = 0; d < 3; ++d) pos(d, j) = coordinate(random);
    dense2D<unsigned> tria(3, 500);
    for (std::size_t j = 0; j < tria.cols; ++j)
        for (std::size_t i = 0; i < 3; ++i) tria(i, j) = any(random);
    const vector_fixed<double, 3> point{0.1, -0.1, 0.05};
    const vector_fixed<double, 3> normal{0.4, -2, 1};

    dense2D<unsigned> expected;
    for (std::size_t j = 0; j < tria.cols; ++j) {
        bool kept = true;
        for (std::size_t i = 0; i < 3; ++i) {
            const unsigned k = tria(i, j);
            const double s = (pos(2, k) - point[2]) * normal[2] +
                             (pos(1, k) - point[1]) * normal[1] +
                             (pos(0, k) - point[0]) * normal[0];
            kept = kept && s > 0;
        }
        if (!kept) continue;
        expected.resize(3, expected.cols + 1);
        for (std::size_t i = 0; i < 3; ++i) expected(i, expected.cols - 1) = tria(i, j);
    }
    dense2D<unsigned> clipped;
    ASSERT_EQ(clip(pos, tria, point, normal, clipped), 0);
    ASSERT_GT(expected.cols, 0U);
    EXPECT_TRUE(same(clipped, expected));
}

TEST(Clip, SurvivesExhaustedMemory)
{
    const auto pos = line();
    bool seen = false;
    const auto attempt = [&](std::size_t, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        {
            dense2D<unsigned> clipped;
            try {
                const int code = run([&] { return clip(pos, bars, origin, right, clipped); });
                EXPECT_TRUE(code == 0 || code == -199) << code;
                seen = seen || code == -199;
            } catch (const std::bad_alloc&) {
            }
        }
        EXPECT_EQ(allocation::live_blocks(), blocks);
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
    }
    EXPECT_TRUE(seen);
}
