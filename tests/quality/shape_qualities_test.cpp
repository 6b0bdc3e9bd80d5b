#include <cmath>
#include <limits>

#include <kz3/lattiq/quality.h>

#include "support/same.h"

using namespace kz3::lattiq;

namespace {

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

/// Quality of the one element whose nodes are the columns of pos, in order.
double quality(const dense2D<double>& pos, element_type type)
{
    dense2D<unsigned> connectM(pos.cols, 1);
    for (unsigned k = 0; k < pos.cols; ++k) connectM(k, 0) = k;
    dense1D<double> qualities;
    EXPECT_EQ(shape_qualities(pos, connectM, type, qualities), 0);
    EXPECT_EQ(qualities.size, 1u);
    return qualities.size == 1 ? qualities[0] : nan_value;
}

/// The columns of pos in another order.
dense2D<double> reordered(const dense2D<double>& pos, std::initializer_list<unsigned> order)
{
    dense2D<double> to(pos.rows, order.size());
    size_t j = 0;
    for (const unsigned from : order) {
        for (size_t i = 0; i < pos.rows; ++i) to(i, j) = pos(i, from);
        ++j;
    }
    return to;
}

const double root3 = std::sqrt(3.0);
const double root_half = std::sqrt(0.5);

const auto equilateral2 = columns<double>({{0, 0}, {1, 0}, {0.5, root3 / 2}});
const auto equilateral3 = columns<double>({{0, 0, 0}, {1, 0, 0}, {0.5, root3 / 2, 0}});
const auto square2 = columns<double>({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
const auto square3 = columns<double>({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
const auto tetra = columns<double>({{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}});
const auto pyramid =
    columns<double>({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5, 0.5, root_half}});
const auto wedge = columns<double>(
    {{0, 0, 0}, {1, 0, 0}, {0.5, root3 / 2, 0}, {0, 0, 1}, {1, 0, 1}, {0.5, root3 / 2, 1}});
const auto cube = columns<double>(
    {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}});

} // namespace

TEST(ShapeQualities, ScoresTheEquilateralTriangleOne)
{
    EXPECT_NEAR(quality(equilateral2, ET_TRIA3), 1.0, 1e-15);
    EXPECT_NEAR(quality(equilateral3, ET_TRIA3), 1.0, 1e-15);
}

TEST(ShapeQualities, ScoresAClockwiseTriangleNegativeInTwoDimensionsOnly)
{
    EXPECT_NEAR(quality(reordered(equilateral2, {1, 0, 2}), ET_TRIA3), -1.0, 1e-15);
    EXPECT_NEAR(quality(reordered(equilateral3, {1, 0, 2}), ET_TRIA3), 1.0, 1e-15);
}

TEST(ShapeQualities, ScoresTheUnitSquareOne)
{
    EXPECT_NEAR(quality(square2, ET_QUAD4), 1.0, 1e-15);
    EXPECT_NEAR(quality(square3, ET_QUAD4), 1.0, 1e-15);
    EXPECT_NEAR(quality(reordered(square2, {3, 2, 1, 0}), ET_QUAD4), -1.0, 1e-15);
    EXPECT_NEAR(quality(reordered(square3, {3, 2, 1, 0}), ET_QUAD4), 1.0, 1e-15);
}

TEST(ShapeQualities, LowersAWarpedSquare)
{
    auto lifted = duplicate(square3);
    lifted(2, 2) = 1.0;
    EXPECT_NEAR(quality(lifted, ET_QUAD4), 0.4584, 5e-5);
}

TEST(ShapeQualities, ScoresTheRegularTetrahedronByItsOrientation)
{
    EXPECT_NEAR(quality(tetra, ET_TETRA4), 0.9999999999987025, 2e-16);
    EXPECT_NEAR(quality(reordered(tetra, {1, 0, 2, 3}), ET_TETRA4), -0.9999999999987025, 2e-16);
}

TEST(ShapeQualities, ScoresTheUnitCubeOne)
{
    EXPECT_NEAR(quality(cube, ET_HEXA8), 1.0, 1e-14);
    EXPECT_NEAR(quality(reordered(cube, {4, 5, 6, 7, 0, 1, 2, 3}), ET_HEXA8), -1.0, 1e-14);
}

TEST(ShapeQualities, ScoresTheRightWedgeOne)
{
    EXPECT_NEAR(quality(wedge, ET_PENTA6), 1.0, 1e-14);
}

TEST(ShapeQualities, ScoresThePyramidOfEqualEdgesOne)
{
    EXPECT_NEAR(quality(pyramid, ET_PYRA5), 1.0, 1e-14);
    EXPECT_NEAR(quality(reordered(pyramid, {3, 2, 1, 0, 4}), ET_PYRA5), -1.0, 1e-14);
}
