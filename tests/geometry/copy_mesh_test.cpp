#include <cmath>
#include <random>

#include <kz3/lattiq/geometry.h>

#include "connectivity/random_elements.h"
#include "geometry/nodes.h"
#include "plain/geometry/copy_mesh.h"
#include "support/allocation.h"
#include "support/same.h"

namespace {
using kz3::lattiq::copy_mesh;
using kz3::lattiq::rotate;
using kz3::lattiq::translate;

} // namespace

TEST(CopyMesh, AppendsTheNodesInTheOrderInWhichTheyAreFirstUsed)
{
    auto pos = points(10);
    const auto tria = columns<unsigned>({{5, 2, 7}, {2, 7, 9}});
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos, copied, tria), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{10, 11, 12}, {11, 12, 13}})));
    ASSERT_EQ(pos.cols, 14U);
    EXPECT_TRUE(same(pos.sub_matrix(0, 0, 2, 10), points(10)));
    EXPECT_TRUE(same(pos.sub_matrix(0, 10, 2, 4), points({5, 2, 7, 9})));
    EXPECT_TRUE(same(tria, columns<unsigned>({{5, 2, 7}, {2, 7, 9}})));
}

TEST(CopyMesh, KeepsTheHolesOfAMixedMatrix)
{
    auto pos = points(5);
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos, copied, columns<unsigned>({{4, 1, 2, none}, {1, 2, 3, 4}})), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{5, 6, 7, none}, {6, 7, 8, 5}})));
}

TEST(CopyMesh, OfAnEmptyConnectivityLeavesTheNodesAndEmptiesTheCopy)
{
    auto pos = points(3);
    auto copied = columns<unsigned>({{0, 1}});
    EXPECT_EQ(copy_mesh(pos, copied, dense2D<unsigned>()), 0);
    EXPECT_TRUE(copied.empty());
    EXPECT_TRUE(same(pos, points(3)));
}

TEST(CopyMesh, ReplacesWhatTheCopyHeld)
{
    auto pos = points(3);
    auto copied = columns<unsigned>({{0, 1}, {1, 2}, {2, 0}});
    const dense2D<unsigned> view(copied);
    ASSERT_EQ(copy_mesh(pos, copied, columns<unsigned>({{2, 0, 1}})), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{3, 4, 5}})));
    EXPECT_TRUE(same(view, columns<unsigned>({{0, 1}, {1, 2}, {2, 0}})));
}

TEST(CopyMesh, TakesACopyOntoItself)
{
    auto pos = points(3);
    auto bars = columns<unsigned>({{2, 0}});
    ASSERT_EQ(copy_mesh(pos, bars, bars), 0);
    EXPECT_TRUE(same(bars, columns<unsigned>({{3, 4}})));
    EXPECT_TRUE(same(pos.sub_matrix(0, 3, 2, 2), points({2, 0})));
}

TEST(CopyMesh, ReadsStridedViews)
{
    strided<unsigned> bars(columns<unsigned>({{2, 0}, {0, 1}}));
    strided<double> pos(points(3));
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos.view, copied, bars.view), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{3, 4}, {4, 5}})));
    EXPECT_TRUE(same(pos.view.sub_matrix(0, 3, 2, 3), points({2, 0, 1})));
    EXPECT_TRUE(bars.gaps_untouched());
    EXPECT_TRUE(same(bars.view, columns<unsigned>({{2, 0}, {0, 1}})));
}

TEST(CopyMesh, InSeriesTurnsAndMovesEachCopyAStepFurther)
{
    const vector_fixed<double, 2> step{100, 200};
    const vector_fixed<double, 2> center{1, 1};
    const double angle = 0.3;
    const auto bars = columns<unsigned>({{1, 0}});
    auto pos = points(2);
    auto copies = columns<unsigned>({{8, 9}});
    ASSERT_EQ(copy_mesh(pos, copies, step, center, angle, 2, bars), 0);
    EXPECT_TRUE(same(copies, columns<unsigned>({{8, 9}, {2, 3}, {4, 5}})));
    ASSERT_EQ(pos.cols, 6U);
    EXPECT_TRUE(same(pos.sub_matrix(0, 0, 2, 2), points(2)));
    for (unsigned i = 0; i < 2; ++i) {
        auto expected = points({1, 0});
        const double t = double(i) + 1;
        rotate(expected, center, t * angle);
        translate(expected, vector_fixed<double, 2>{t * step[0], t * step[1]});
        EXPECT_TRUE(same(pos.sub_matrix(0, 2 + 2 * i, 2, 2), expected)) << i;
    }
}

TEST(CopyMesh, InSeriesWidensAPlaneMeshInSpace)
{
    const vector_fixed<double, 3> step{0, 0, 5};
    const vector_fixed<double, 3> center{0, 0, 0};
    const vector_fixed<double, 3> r{0, 0.25, 0};
    auto pos = points(2);
    dense2D<unsigned> copies;
    ASSERT_EQ(copy_mesh(pos, copies, step, center, r, 3, columns<unsigned>({{0, 1}})), 0);
    EXPECT_TRUE(same(copies, columns<unsigned>({{2, 3}, {4, 5}, {6, 7}})));
    ASSERT_EQ(pos.rows, 3U);
    EXPECT_EQ(pos(2, 1), 0.0);
    auto expected = columns<double>({{0, 0, 0}, {1, 10, 0}});
    rotate(expected, center, vector_fixed<double, 3>{0, 3 * 0.25, 0});
    translate(expected, vector_fixed<double, 3>{0, 0, 15});
    EXPECT_TRUE(same(pos.sub_matrix(0, 6, 3, 2), expected));
}

TEST(CopyMesh, InSeriesOfNoneOrOfNothingChangesNothing)
{
    auto pos = points(2);
    auto copies = columns<unsigned>({{8, 9}});
    const vector_fixed<double, 2> step{1, 1};
    EXPECT_EQ(copy_mesh(pos, copies, step, step, 1.0, 0, columns<unsigned>({{0, 1}})), 0);
    EXPECT_TRUE(same(pos, points(2)));
    EXPECT_TRUE(same(copies, columns<unsigned>({{8, 9}})));

    dense2D<double> nothing;
    const vector_fixed<double, 3> step3{1, 1, 1};
    EXPECT_EQ(copy_mesh(nothing, copies, step3, step3, step3, 4, dense2D<unsigned>()), 0);
    EXPECT_TRUE(same(copies, columns<unsigned>({{8, 9}})));
}

TEST(CopyMesh, MovesTheNodesSeldomHoweverManyCopiesAreMade)
{
    auto pos = points(3);
    const auto one = columns<unsigned>({{2}});
    dense2D<unsigned> copied;
    std::size_t moves = 0;
    for (unsigned i = 0; i < 3000; ++i) {
        const double* before = pos.vec->data;
        ASSERT_EQ(copy_mesh(pos, copied, one), 0);
        moves += pos.vec->data != before;
    }
    EXPECT_EQ(pos.cols, 3003U);
    EXPECT_EQ(pos(1, 3002), 20.0);
    EXPECT_LE(moves, 11U); // 3 * 2^10 is above 3003
}

TEST(CopyMesh, GivesNodesThatAreNoneAPlaceAtTheOrigin)
{
    auto pos = points(3);
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos, copied, columns<unsigned>({{1, 9, 2}})), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{3, 9, 5}})));
    EXPECT_TRUE(same(pos, points({0, 1, 2, 1, 0, 2})));
}

TEST(CopyMesh, OfHolesAloneCopiesThemWithoutANode)
{
    auto pos = points(2);
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos, copied, columns<unsigned>({{none, none}})), 0);
    EXPECT_TRUE(same(copied, columns<unsigned>({{none, none}})));
    EXPECT_TRUE(same(pos, points(2)));
}

TEST(CopyMesh, WithoutNodesCopiesAnEmptyConnectivity)
{
    dense2D<double> pos;
    auto copied = columns<unsigned>({{1, 2}});
    EXPECT_EQ(copy_mesh(pos, copied, dense2D<unsigned>(3, 0)), 0);
    EXPECT_TRUE(copied.empty());
    EXPECT_TRUE(pos.empty());
}

TEST(CopyMesh, LeavesOtherViewsOfTheNodesTheirColumns)
{
    auto pos = points(3);
    const dense2D<double> old(pos);
    dense2D<unsigned> copied;
    ASSERT_EQ(copy_mesh(pos, copied, columns<unsigned>({{0, 1, 2}})), 0);
    EXPECT_TRUE(same(old, points(3)));
}

TEST(CopyMesh, AgreesWithNodesCopiedOneByOne)
{
    std::mt19937 random(12);
    for (const auto type : all_faced_types()) {
        auto pos = cloud(3, 60, unsigned(random()));
        auto expected_pos = duplicate(pos);
        const auto mesh = random_elements(type, 25, 10, 45, random);
        dense2D<unsigned> copied;
        dense2D<unsigned> expected;
        ASSERT_EQ(copy_mesh(pos, copied, mesh), 0);
        plain::copy_mesh(expected_pos, expected, mesh, [](auto&, std::size_t) {});
        EXPECT_TRUE(same(copied, expected)) << name_of(type);
        EXPECT_TRUE(same(pos, expected_pos)) << name_of(type);
    }
}

TEST(CopyMesh, InSeriesAgreesToTheBitWithNodesMovedOneByOne)
{
    std::mt19937 random(13);
    for (const auto type : all_faced_types()) {
        const auto mesh = random_elements(type, 10, 0, 40, random);
        {
            const vector_fixed<double, 2> step{0.1, -3.3};
            const vector_fixed<double, 2> center{0.7, 0.9};
            auto pos = cloud(2, 40, unsigned(random()));
            auto expected_pos = duplicate(pos);
            auto copied = duplicate(mesh);
            auto expected = duplicate(mesh);
            ASSERT_EQ(copy_mesh(pos, copied, step, center, 0.3, 5, mesh), 0);
            plain::copy_series(expected_pos, expected, step, center, 0.3, 5, mesh);
            EXPECT_TRUE(same(copied, expected)) << name_of(type);
            EXPECT_TRUE(same(pos, expected_pos)) << name_of(type);
        }
        const vector_fixed<double, 3> step{0.1, -3.3, 0};
        const vector_fixed<double, 3> center{0.7, 0.9, -0.3};
        const vector_fixed<double, 3> r{0.3, -0.2, 0.1}; // longer than 0.2
        auto pos = cloud(3, 40, unsigned(random()));
        auto expected_pos = duplicate(pos);
        dense2D<unsigned> copied;
        dense2D<unsigned> expected;
        ASSERT_EQ(copy_mesh(pos, copied, step, center, r, 5, mesh), 0);
        plain::copy_series(expected_pos, expected, step, center, r, 5, mesh);
        EXPECT_TRUE(same(copied, expected)) << name_of(type);
        EXPECT_TRUE(same(pos, expected_pos)) << name_of(type);
    }
}

TEST(CopyMesh, InSeriesMultipliesTheStepAndNeverAddsItUp)
{
    // 0.1 added up ten times is not 10 * 0.1.
    auto pos = columns<double>({{0, 0}});
    dense2D<unsigned> copies;
    const vector_fixed<double, 2> step{0.1, 0};
    ASSERT_EQ(copy_mesh(pos, copies, step, step, 0.0, 10, columns<unsigned>({{0}})), 0);
    ASSERT_EQ(pos.cols, 11U);
    EXPECT_EQ(pos(0, 10), 1.0);
    EXPECT_EQ(pos(0, 3), 3 * 0.1);
}

TEST(CopyMesh, InSeriesTurnsFirstAndMovesThen)
{
    auto pos = columns<double>({{2, 1}});
    dense2D<unsigned> copies;
    const vector_fixed<double, 2> step{10, 0};
    const vector_fixed<double, 2> center{1, 1};
    ASSERT_EQ(
        copy_mesh(pos, copies, step, center, std::acos(-1.0) / 2, 2, columns<unsigned>({{0}})), 0);
    EXPECT_TRUE(near(pos, columns<double>({{2, 1}, {11, 2}, {20, 1}}), 1e-14));
}

TEST(CopyMesh, InSeriesAppendsToAStridedView)
{
    strided<unsigned> copies(columns<unsigned>({{8, 9}}));
    auto pos = points(2);
    const vector_fixed<double, 2> step{1, 1};
    ASSERT_EQ(copy_mesh(pos, copies.view, step, step, 0.0, 1, columns<unsigned>({{1, 0}})), 0);
    EXPECT_TRUE(same(copies.view, columns<unsigned>({{8, 9}, {2, 3}})));
    // The view reaches into the last column of its parent, within its rows.
    copies.parent(2, 2) = copies.parent(3, 2) = copies.canary;
    EXPECT_TRUE(copies.gaps_untouched());
}

TEST(CopyMesh, InSeriesOfTheMatrixThatItAppendsToTakesEarlierCopiesAlong)
{
    auto pos = points(1);
    auto mesh = columns<unsigned>({{0}});
    const vector_fixed<double, 2> step{1, 0};
    ASSERT_EQ(copy_mesh(pos, mesh, step, step, 0.0, 3, mesh), 0);
    EXPECT_TRUE(same(mesh, columns<unsigned>({{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}})));
    const double x[] = {0, 1, 2, 3, 3, 4, 5, 6};
    for (std::size_t j = 0; j < 8; ++j) EXPECT_EQ(pos(0, j), x[j]) << j;
}

TEST(CopyMesh, InSeriesChangesNothingForAnEmptyConnectivity)
{
    auto pos = points(2);
    auto copies = columns<unsigned>({{8, 9}});
    const vector_fixed<double, 3> step{1, 1, 1};
    EXPECT_EQ(copy_mesh(pos, copies, step, step, step, 3, dense2D<unsigned>()), 0);
    EXPECT_TRUE(same(pos, points(2)));
    EXPECT_TRUE(same(copies, columns<unsigned>({{8, 9}})));
}
