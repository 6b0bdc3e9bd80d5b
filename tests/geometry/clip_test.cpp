#include <limits>
#include <new>
#include <random>

#include <kz3/lattiq/geometry.h>

#include "connectivity/random_elements.h"
#include "geometry/nodes.h"
#include "plain/geometry/clip.h"
#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::clip;

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
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

TEST(Clip, ReadsStridedViews)
{
    const strided<double> pos(line());
    const strided<unsigned> mesh(bars);
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(pos.view, mesh.view, origin, right, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{3, 4}})));
}

TEST(Clip, AppendsToAStridedViewAndLeavesItsGapsAlone)
{
    strided<unsigned> clipped(columns<unsigned>({{9, 9}}));
    EXPECT_EQ(clip(line(), bars, origin, right, clipped.view), 0);
    EXPECT_TRUE(same(clipped.view, columns<unsigned>({{9, 9}, {3, 4}})));
    // The view reaches into the last column of its parent, within its rows.
    clipped.parent(2, 2) = clipped.parent(3, 2) = clipped.canary;
    EXPECT_TRUE(clipped.gaps_untouched());
}

TEST(Clip, ChecksNodesBelowAHoleButDoesNotAskForTheirSide)
{
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(line(), columns<unsigned>({{4, none, 5, 0}}), origin, right, clipped), -2);
    EXPECT_TRUE(clipped.empty());
    EXPECT_EQ(clip(line(), columns<unsigned>({{4, none, 0, 0}}), origin, right, clipped), 0);
    EXPECT_EQ(clipped.cols, 1U);
}

TEST(Clip, KeepsWhatTheResultHeldIfNothingIsKept)
{
    auto clipped = columns<unsigned>({{9, 8}});
    EXPECT_EQ(clip(line(), columns<unsigned>({{0, 1}, {1, 2}}), origin, right, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{9, 8}})));
}

TEST(Clip, KeepsTheHeightOfAResultWithoutElements)
{
    dense2D<unsigned> high(3, 0);
    EXPECT_EQ(clip(line(), bars, origin, right, high), 0);
    EXPECT_TRUE(same(high, columns<unsigned>({{3, 4, none}})));
}

TEST(Clip, OfNothingReturnsZeroWhateverElseIsWrong)
{
    auto clipped = columns<unsigned>({{9, 8}});
    for (const auto& nothing : {dense2D<unsigned>(4, 0), dense2D<unsigned>(0, 4)})
        EXPECT_EQ(clip(dense2D<double>(), nothing, origin, origin, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{9, 8}})));
    // Without nodes every node is beyond them, but holes are not.
    EXPECT_EQ(clip(dense2D<double>(), columns<unsigned>({{0, none}}), origin, right, clipped), -2);
    EXPECT_EQ(clip(dense2D<double>(), columns<unsigned>({{none, none}}), origin, right, clipped),
              0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{9, 8}, {none, none}})));
}

TEST(Clip, TakesNodesWithoutCoordinatesAsLyingInThePlane)
{
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(dense2D<double>(0, 5), bars, vector_fixed<double, 3>{-9, 0, 0}, right, clipped),
              0);
    EXPECT_TRUE(clipped.empty());
}

TEST(Clip, LooksAtNoRowBelowTheThird)
{
    const auto four = columns<double>({{1, 0, 0, nan_value}, {2, 0, 0, -9}});
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(four, columns<unsigned>({{0, 1}}), origin, right, clipped), 0);
    EXPECT_EQ(clipped.cols, 1U);
}

TEST(Clip, TakesANodeThatIsNotANumberAsOutside)
{
    const auto pos = columns<double>({{1, nan_value, 0}, {2, 0, 0}, {infinity, 0, 0}});
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(pos, columns<unsigned>({{0, 1}, {1, 2}}), origin, right, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{1, 2}})));
}

TEST(Clip, RefusesANormalThatIsTooShortEvenIfItsComponentsAreNot)
{
    // The squares of 1e-170 are 0.
    dense2D<unsigned> clipped;
    EXPECT_EQ(clip(line(), bars, origin, {1e-170, 1e-170, 0}, clipped), -4);
    EXPECT_EQ(clip(line(), bars, origin, {6e-13, 7e-13, 0}, clipped), -4);
    EXPECT_EQ(clip(line(), bars, origin, {8e-13, 0, -7e-13}, clipped), 0);
    EXPECT_TRUE(same(clipped, columns<unsigned>({{3, 4}})));
}

TEST(Clip, AgreesWithEachElementAskedByItself)
{
    std::mt19937 random(7);
    for (const auto type : all_faced_types())
        for (const std::size_t rows : {2U, 3U}) {
            const auto pos = cloud(rows, 200, unsigned(random()));
            const auto mesh = random_elements(type, 400, 0, 200, random);
            const vector_fixed<double, 3> point{-1.5, 1, 0.5};
            const vector_fixed<double, 3> normal{1, -0.5, 0.75};
            dense2D<unsigned> clipped;
            dense2D<unsigned> expected;
            for (const double side : {1.0, -1.0}) {
                const vector_fixed<double, 3> n{side * normal[0], side * normal[1],
                                                side * normal[2]};
                ASSERT_EQ(clip(pos, mesh, point, n, clipped), 0);
                plain::clip(pos, mesh, point, n, expected);
            }
            ASSERT_GT(expected.cols, 0U) << name_of(type);
            ASSERT_LT(expected.cols, 400U) << name_of(type);
            EXPECT_TRUE(same(clipped, expected)) << name_of(type);
        }
}

TEST(Clip, AgreesWithEachElementAskedByItselfWhateverTheShapes)
{
    // Holes anywhere, values that are no number; more nodes than the elements name, and fewer.
    std::mt19937 random(8);
    for (std::size_t rows = 0; rows <= 4; ++rows)
        for (std::size_t height = 1; height <= 9; ++height)
            for (const std::size_t nodes : {3U, 50U, 20000U}) {
                auto pos = cloud(rows, nodes, unsigned(random()));
                for (std::size_t j = 0; rows != 0 && j < nodes; j += 7)
                    pos(random() % rows, j) = j % 2 == 0 ? nan_value : infinity;
                dense2D<unsigned> mesh(height, 1000);
                for (std::size_t j = 0; j < mesh.cols; ++j)
                    for (std::size_t i = 0; i < height; ++i)
                        mesh(i, j) = random() % 5 == 0 ? none : unsigned(random() % nodes);
                const strided<unsigned> gaps(mesh);
                for (const double x : {1.0, -1.0, infinity}) {
                    const vector_fixed<double, 3> normal{x, 0.25, -0.5};
                    dense2D<unsigned> clipped;
                    dense2D<unsigned> expected(height, 0);
                    ASSERT_EQ(clip(pos, gaps.view, origin, normal, clipped), 0);
                    plain::clip(pos, mesh, origin, normal, expected);
                    ASSERT_TRUE(same(clipped, expected)) << rows << ", " << height << ", " << nodes;
                }
            }
}

TEST(Clip, DoesWithoutTheEstimateOfALongList)
{
    const auto pos = line();
    dense2D<unsigned> mesh(2, 1000);
    for (std::size_t j = 0; j < mesh.cols; ++j) {
        mesh(0, j) = 3 + j % 2;
        mesh(1, j) = unsigned(j % 5);
    }
    dense2D<unsigned> expected;
    plain::clip(pos, mesh, origin, right, expected);
    dense2D<unsigned> clipped;
    {
        const allocation::fail_containers broken(1);
        EXPECT_EQ(clip(pos, mesh, origin, right, clipped), 0);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_TRUE(same(clipped, expected));
    auto held = columns<unsigned>({{9, 8}});
    {
        const allocation::fail_containers broken(1, true); // nor the list itself
        EXPECT_EQ(clip(pos, mesh, origin, right, held), 0);
    }
    EXPECT_TRUE(same(held, columns<unsigned>({{9, 8}})));
}

TEST(Clip, LeavesOutAnElementThatTheListFindsNoMemoryFor)
{
    const auto pos = line();
    // The list starts with room for 4; the fifth element asks for more.
    const auto five = columns<unsigned>({{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 0}, {4, 1}});
    const vector_fixed<double, 3> far{-3, 0, 0};
    dense2D<unsigned> clipped;
    {
        const allocation::fail_containers broken(1);
        EXPECT_EQ(clip(pos, five, far, right, clipped), 0);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_TRUE(same(clipped, columns<unsigned>({{1, 2}, {2, 3}, {3, 4}, {4, 0}, {4, 1}})));
    clipped.clear();
    {
        const allocation::fail_containers broken(2);
        EXPECT_EQ(clip(pos, five, far, right, clipped), 0);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_TRUE(same(clipped, columns<unsigned>({{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 1}})));
}

TEST(Clip, ReportsThatTheResultFoundNoMemoryAndLeavesIt)
{
    const auto pos = line();
    auto clipped = columns<unsigned>({{9, 8}, {7, 6}});
    const auto mesh = columns<unsigned>({{3, 4}, {4, 3}, {3, 3}, {4, 4}});
    {
        const allocation::fail_containers broken(2, true); // the first is the list
        EXPECT_EQ(clip(pos, mesh, origin, right, clipped), -199);
    }
    EXPECT_TRUE(same(clipped, columns<unsigned>({{9, 8}, {7, 6}})));
    {
        const allocation::fail_containers broken(2); // the room, asked for again by the resize
        EXPECT_EQ(clip(pos, mesh, origin, right, clipped), 0);
        ASSERT_TRUE(broken.fired());
    }
    EXPECT_EQ(clipped.cols, 6U);
}

TEST(Clip, SurvivesExhaustedMemory)
{
    const auto pos = line();
    const auto held = columns<unsigned>({{9, 9}, {8, 8}, {7, 7}});
    const auto two = columns<unsigned>({{3, 4}, {4, 3}});
    const auto all = columns<unsigned>({{9, 9}, {8, 8}, {7, 7}, {3, 4}, {4, 3}});
    bool reported = false;
    bool thrown = false;
    const auto attempt = [&](std::size_t n, auto run) {
        const std::size_t blocks = allocation::live_blocks();
        {
            auto clipped = duplicate(held);
            int code = 1;
            try {
                code = run([&] { return clip(pos, two, origin, right, clipped); });
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            EXPECT_TRUE(code == 1 || code == 0 || code == -199) << "allocation " << n;
            reported = reported || code == -199;
            const std::size_t kept = code == 0 ? clipped.cols : 3;
            ASSERT_EQ(clipped.cols, kept) << "allocation " << n;
            EXPECT_TRUE(same(clipped.sub_matrix(0, 0, 2, 3), held)) << "allocation " << n;
            // An element that the list found no memory for is left out.
            if (kept == 4) {
                EXPECT_EQ(clipped(0, 3), 4U) << "allocation " << n;
            } else if (kept != 3) {
                EXPECT_TRUE(same(clipped, all)) << "allocation " << n;
            }
        }
        EXPECT_EQ(allocation::live_blocks(), blocks) << "allocation " << n;
    };
    for (const bool onwards : {false, true}) {
        EXPECT_GT(allocation::sweep<allocation::fail_containers>(attempt, onwards), 0U);
        EXPECT_GT(allocation::sweep<allocation::fail_new>(attempt, onwards), 0U);
    }
    EXPECT_TRUE(reported);
    EXPECT_TRUE(thrown);
}
