#include <cmath>
#include <limits>
#include <random>
#include <string>

#include <kz3/lattiq/quality.h>

#include "plain/quality/shape_qualities.h"
#include "quality/measure_hexahedra.h"
#include "quality/point.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;
using kz3::misc::histogram;

namespace {

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

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

const double root2 = std::sqrt(2.0);
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
    // Normals (0,0,1), (0,-1,1), (-1,-1,1), (-1,0,1), perimeter 2 + 2 sqrt 2, diagonals sqrt 3 and
    // sqrt 2, so f = sqrt(sqrt(2/3)) sqrt(32) / ((2 + 2 sqrt 2) sqrt 3) and w = (1/2 + 1) / 2.
    auto lifted = duplicate(square3);
    lifted(2, 2) = 1.0;
    const double shape =
        std::sqrt(std::sqrt(2.0 / 3)) * std::sqrt(32.0) / ((2 + 2 * root2) * root3);
    EXPECT_NEAR(quality(lifted, ET_QUAD4), shape * 0.75, 1e-15);
    EXPECT_NEAR(quality(lifted, ET_QUAD4), 0.4584, 5e-5);
}

TEST(ShapeQualities, LowersUnequalElements)
{
    EXPECT_NEAR(quality(columns<double>({{0, 0}, {1, 0}, {0, 1}}), ET_TRIA3), root3 * (root2 - 1),
                1e-15);
    EXPECT_NEAR(quality(columns<double>({{0, 0, 5}, {1, 0, 5}, {0, 1, 5}}), ET_TRIA3),
                root3 * (root2 - 1), 1e-15);
    // A rectangle of 2 by 1: corner 2, perimeter 6, diagonals sqrt 5.
    const double rectangle = 2 * std::sqrt(32.0) / (6 * std::sqrt(5.0));
    EXPECT_NEAR(quality(columns<double>({{0, 0}, {2, 0}, {2, 1}, {0, 1}}), ET_QUAD4), rectangle,
                1e-15);
    EXPECT_NEAR(quality(columns<double>({{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {0, 1, 0}}), ET_QUAD4),
                rectangle, 1e-15);
}

TEST(ShapeQualities, GivesAConcaveQuadrangleTheSignOfItsWorstCorner)
{
    const auto dart2 = columns<double>({{0, 0}, {2, 0}, {0.5, 0.5}, {0, 2}});
    EXPECT_LT(quality(dart2, ET_QUAD4), -0.01);
    // In space opposite normals turn against each other instead: w and with it the result is 0.
    const auto dart3 = columns<double>({{0, 0, 0}, {2, 0, 0}, {0.5, 0.5, 0}, {0, 2, 0}});
    EXPECT_EQ(quality(dart3, ET_QUAD4), 0.0);
}

TEST(ShapeQualities, ScoresTheRegularTetrahedronByItsOrientation)
{
    EXPECT_NEAR(quality(tetra, ET_TETRA4), 0.9999999999987025, 2e-16);
    EXPECT_NEAR(quality(reordered(tetra, {1, 0, 2, 3}), ET_TETRA4), -0.9999999999987025, 2e-16);
}

TEST(ShapeQualities, ScoresTheCornerOfACubePositive)
{
    // T = 1, faces 3 + sqrt 3, longest edge sqrt 2: sqrt 3 - 1 for the unrounded constant.
    const auto corner = columns<double>({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
    EXPECT_NEAR(quality(corner, ET_TETRA4), (root3 - 1) * 0.9999999999987025, 2e-16);
    EXPECT_NEAR(quality(reordered(corner, {1, 0, 2, 3}), ET_TETRA4),
                -(root3 - 1) * 0.9999999999987025, 2e-16);
}

TEST(ShapeQualities, LooksAtANearlyFlatTetrahedronFromAllCorners)
{
    const auto flat = columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}});
    EXPECT_EQ(quality(flat, ET_TETRA4), 0.0);
    auto thin = duplicate(flat);
    thin(2, 3) = -1e-11; // positive: node 3 below the others
    EXPECT_GT(quality(thin, ET_TETRA4), 1e-12);
    EXPECT_LT(quality(thin, ET_TETRA4), 1e-11);
    thin(2, 3) = 1e-11;
    EXPECT_LT(quality(thin, ET_TETRA4), -1e-12);
}

TEST(ShapeQualities, ScoresTheUnitCubeOne)
{
    EXPECT_NEAR(quality(cube, ET_HEXA8), 1.0, 1e-14);
    EXPECT_NEAR(quality(reordered(cube, {4, 5, 6, 7, 0, 1, 2, 3}), ET_HEXA8), -1.0, 1e-14);
}

TEST(ShapeQualities, ScoresTheRightWedgeOne)
{
    EXPECT_NEAR(quality(wedge, ET_PENTA6), 1.0, 1e-14);
    EXPECT_NEAR(quality(reordered(wedge, {3, 4, 5, 0, 1, 2}), ET_PENTA6), -1.0, 1e-14);
}

TEST(ShapeQualities, ScoresThePyramidOfEqualEdgesOne)
{
    EXPECT_NEAR(quality(pyramid, ET_PYRA5), 1.0, 1e-14);
    EXPECT_NEAR(quality(reordered(pyramid, {3, 2, 1, 0, 4}), ET_PYRA5), -1.0, 1e-14);
}

TEST(ShapeQualities, ReportsAnInvertedPartBehindAGoodOutline)
{
    // A dented cube: node 6 pushed past the centre. Faces and corners alone would not tell.
    auto dented = duplicate(cube);
    for (size_t d = 0; d < 3; ++d) dented(d, 6) = 0.3;
    EXPECT_LT(quality(dented, ET_HEXA8), 0.0);
}

TEST(ShapeQualities, ScoresCoincidentNodesZero)
{
    struct {
        element_type type;
        unsigned nodes;
    } const kinds[] = {{ET_TRIA3, 3}, {ET_QUAD4, 4},  {ET_FACE_MIX, 4}, {ET_TETRA4, 4},
                       {ET_PYRA5, 5}, {ET_PENTA6, 6}, {ET_HEXA8, 8}};
    for (const auto& kind : kinds) {
        EXPECT_EQ(quality(dense2D<double>(3, kind.nodes, 0.25), kind.type), 0.0) << kind.type;
        EXPECT_EQ(quality(dense2D<double>(3, kind.nodes, 0.0), kind.type), 0.0) << kind.type;
    }
    EXPECT_EQ(quality(dense2D<double>(2, 3, 0.25), ET_TRIA3), 0.0);
    EXPECT_EQ(quality(dense2D<double>(2, 4, 0.25), ET_QUAD4), 0.0);
}

TEST(ShapeQualities, ScoresBarsOneWhateverTheirNodes)
{
    EXPECT_EQ(quality(dense2D<double>(3, 2, 7.0), ET_BAR2), 1.0);
    EXPECT_EQ(quality(dense2D<double>(1, 2, nan_value), ET_BAR2), 1.0);
}

TEST(ShapeQualities, LeavesTrianglesOfOtherSpacesAtZero)
{
    dense2D<double> pos(4, 4, 0.0);
    for (size_t j = 0; j < 4; ++j)
        for (size_t i = 0; i < 3; ++i) pos(i, j) = square3(i, j);
    pos(3, 1) = 99;
    EXPECT_EQ(quality(pos.sub_matrix(0, 0, 4, 3), ET_TRIA3), 0.0);
    EXPECT_EQ(quality(columns<double>({{0}, {1}, {2}}), ET_TRIA3), 0.0);
    // Quadrangles take the form of space there.
    EXPECT_NEAR(quality(pos, ET_QUAD4), 1.0, 1e-15);

    dense1D<double> qualities;
    EXPECT_EQ(shape_qualities(pos, columns<unsigned>({{0, 1, 2, none}, {0, 1, 2, 3}}), ET_FACE_MIX,
                              qualities),
              0);
    EXPECT_EQ(qualities[0], 0.0);
    EXPECT_NEAR(qualities[1], 1.0, 1e-15);
}

TEST(ShapeQualities, TellsTrianglesFromQuadranglesInAMix)
{
    const auto mix = columns<unsigned>({{0, 1, 2, 3}, {0, 1, 3, none}, {0, 3, 1, none}});
    const double right = root3 * (root2 - 1);
    dense1D<double> qualities;
    EXPECT_EQ(shape_qualities(square2, mix, ET_FACE_MIX, qualities), 0);
    ASSERT_EQ(qualities.size, 3u);
    EXPECT_NEAR(qualities[0], 1.0, 1e-15);
    EXPECT_NEAR(qualities[1], right, 1e-15);
    EXPECT_NEAR(qualities[2], -right, 1e-15);

    EXPECT_EQ(shape_qualities(square2, columns<unsigned>({{0, 1, 3}}), ET_FACE_MIX, qualities), 0);
    ASSERT_EQ(qualities.size, 1u);
    EXPECT_NEAR(qualities[0], right, 1e-15);
}

TEST(ShapeQualities, TakesTheKindOfMixedSolidsFromTheRowsOfTheMatrix)
{
    EXPECT_EQ(quality(tetra, ET_SOLID_MIX), quality(tetra, ET_TETRA4));
    EXPECT_EQ(quality(pyramid, ET_SOLID_MIX), quality(pyramid, ET_PYRA5));
    EXPECT_EQ(quality(wedge, ET_SOLID_MIX), quality(wedge, ET_PENTA6));
    EXPECT_EQ(quality(cube, ET_SOLID_MIX), quality(cube, ET_HEXA8));
}

TEST(ShapeQualities, RefusesSolidsThatAreReallyMixed)
{
    const auto hexa_and_pyramid =
        columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 3, 4, none, none, none}});
    dense1D<double> qualities(9);
    EXPECT_EQ(shape_qualities(cube, hexa_and_pyramid, ET_SOLID_MIX, qualities), -2);
    EXPECT_EQ(qualities.size, 0u);
    EXPECT_EQ(
        shape_qualities(cube, columns<unsigned>({{0, 1, 2, 3, none}}), ET_SOLID_MIX, qualities),
        -2);
    EXPECT_EQ(shape_qualities(cube, dense2D<unsigned>(7, 1, 0u), ET_SOLID_MIX, qualities), -2);
    EXPECT_EQ(shape_qualities(cube, dense2D<unsigned>(3, 1, 0u), ET_SOLID_MIX, qualities), -2);
}

TEST(ShapeQualities, RefusesEveryOtherKind)
{
    const int refused[] = {ET_NONE,   ET_NODE,   2,          ET_BAR3,   ET_TRIA6,
                           ET_QUAD8,  ET_QUAD9,  ET_TETRA10, ET_PYRA14, ET_PENTA18,
                           ET_HEXA20, ET_HEXA27, 21,         -1,        1000};
    for (const int type : refused) {
        dense1D<double> qualities(5);
        EXPECT_EQ(shape_qualities(square2, columns<unsigned>({{0, 1, 2, 3}}), element_type(type),
                                  qualities),
                  -3)
            << type;
        EXPECT_EQ(qualities.size, 0u) << type;
        qualities.resize(5);
        EXPECT_EQ(shape_qualities(square2, dense2D<unsigned>(), element_type(type), qualities), -3)
            << type;
        EXPECT_EQ(qualities.size, 0u) << type;
    }
}

TEST(ShapeQualities, RefusesNodesBeyondPosAndRowsOfAnotherKind)
{
    struct {
        const char* fault;
        dense2D<unsigned> connectM;
        element_type type;
    } const ladder[] = {
        {"a node beyond", columns<unsigned>({{0, 1, 2}, {0, 1, 4}}), ET_TRIA3},
        {"a hole", columns<unsigned>({{0, 1, none}}), ET_TRIA3},
        {"rows of another kind", columns<unsigned>({{0, 1, 2, 3}}), ET_TRIA3},
        {"a bar of three nodes", columns<unsigned>({{0, 1, 2}}), ET_BAR2},
        {"a bar beyond", columns<unsigned>({{0, 9}}), ET_BAR2},
        {"a mix of 2 rows", columns<unsigned>({{0, 1}}), ET_FACE_MIX},
        {"a mix with a hole in row 2", columns<unsigned>({{0, 1, none, 3}}), ET_FACE_MIX},
        {"a mix of 3 rows with a hole", columns<unsigned>({{0, 1, none}}), ET_FACE_MIX},
        {"a quadrangle with a hole", columns<unsigned>({{0, 1, 2, none}}), ET_QUAD4},
    };
    for (const auto& rung : ladder) {
        dense1D<double> qualities(5);
        EXPECT_EQ(shape_qualities(square2, rung.connectM, rung.type, qualities), -2) << rung.fault;
        EXPECT_EQ(qualities.size, 0u) << rung.fault;
    }
    dense1D<double> qualities(5);
    EXPECT_EQ(shape_qualities(square2, columns<unsigned>({{0, 1, 9, 9}}), ET_TRIA6, qualities), -3);
}

TEST(ShapeQualities, IsEmptyForAnEmptyMatrix)
{
    for (const auto type : {ET_BAR2, ET_FACE_MIX, ET_TRIA3, ET_QUAD4, ET_SOLID_MIX, ET_TETRA4,
                            ET_PYRA5, ET_PENTA6, ET_HEXA8}) {
        dense1D<double> qualities(5);
        EXPECT_EQ(shape_qualities(dense2D<double>(), dense2D<unsigned>(), type, qualities), 0);
        EXPECT_EQ(qualities.size, 0u);
        qualities.resize(5);
        EXPECT_EQ(shape_qualities(dense2D<double>(), dense2D<unsigned>(3, 0), type, qualities), 0);
        EXPECT_EQ(qualities.size, 0u);
        // Columns of no rows get their values, which stay 0.
        EXPECT_EQ(shape_qualities(dense2D<double>(), dense2D<unsigned>(0, 2), type, qualities), 0);
        EXPECT_TRUE(same(qualities, dense1D<double>{0, 0}));
    }
}

TEST(ShapeQualities, ReadsAndWritesViews)
{
    const strided<double> pos(square3, nan_value);
    const strided<unsigned> mix(columns<unsigned>({{0, 1, 2, 3}, {0, 1, 3, none}}));
    dense1D<double> all{-9, -9, -9, -9};
    auto view = all.sub_vector(1, 2);
    EXPECT_EQ(shape_qualities(pos.view, mix.view, ET_FACE_MIX, view), 0);
    EXPECT_EQ(all[0], -9);
    EXPECT_NEAR(all[1], 1.0, 1e-15);
    EXPECT_NEAR(all[2], root3 * (root2 - 1), 1e-15);
    EXPECT_EQ(all[3], -9);
}

TEST(ShapeQualities, PutsARangeInOneVector)
{
    const dense2D<unsigned> meshes[] = {columns<unsigned>({{0, 1}, {1, 2}}),
                                        dense2D<unsigned>(4, 0), columns<unsigned>({{0, 1, 2, 3}}),
                                        columns<unsigned>({{0, 1, 3}, {0, 3, 1}})};
    // An empty matrix may come with any type.
    const dense1D<int> types{ET_BAR2, ET_HEXA20, ET_QUAD4, ET_TRIA3};
    dense1D<double> qualities(1);
    EXPECT_EQ(shape_qualities(square2, meshes, meshes + 4, types, qualities), 0);
    const double right = root3 * (root2 - 1);
    const dense1D<double> expected{1, 1, 1, right, -right};
    ASSERT_EQ(qualities.size, 5u);
    for (size_t i = 0; i < 5; ++i) EXPECT_NEAR(qualities[i], expected[i], 1e-15) << i;
}

TEST(ShapeQualities, LeavesPlacesOfColumnsWithoutRowsAtTheEnd)
{
    const dense2D<unsigned> meshes[] = {dense2D<unsigned>(0, 2), columns<unsigned>({{0, 1}})};
    dense1D<double> qualities(9);
    EXPECT_EQ(shape_qualities(square2, meshes, meshes + 2, dense1D<int>{99, ET_BAR2}, qualities),
              0);
    EXPECT_TRUE(same(qualities, dense1D<double>{1, 0, 0}));
}

TEST(ShapeQualities, ReturnsTheCodeOfTheFirstFaultOfARange)
{
    const dense2D<unsigned> good[] = {columns<unsigned>({{0, 1}}), columns<unsigned>({{0, 1, 2}})};
    const dense2D<unsigned> bad[] = {columns<unsigned>({{0, 1}}), columns<unsigned>({{0, 1, 4}}),
                                     columns<unsigned>({{0, 1}})};
    const dense1D<int> types{ET_BAR2, ET_TRIA3};
    struct {
        const char* fault;
        const dense2D<unsigned>* first;
        const dense2D<unsigned>* last;
        dense1D<int> types;
        int code;
        size_t size;
    } const ladder[] = {
        {"last before first", good + 2, good, types, -3, 0},
        {"last before first, and too many types", good + 1, good, types, -3, 0},
        {"too few types", good, good + 2, dense1D<int>{ET_BAR2}, -4, 0},
        {"too many types", good, good + 1, types, -4, 0},
        {"too few types, and a node beyond", bad, bad + 2, dense1D<int>{ET_BAR2}, -4, 0},
        {"a node beyond", bad, bad + 2, types, -2, 0},
        {"a node beyond, then no kind", bad, bad + 3, dense1D<int>{ET_BAR2, ET_TRIA3, 77}, -2, 0},
        {"no kind, then a node beyond", bad, bad + 2, dense1D<int>{77, ET_TRIA3}, -3, 0},
        {"a kind not measured", good, good + 2, dense1D<int>{ET_BAR2, ET_TRIA6}, -3, 0},
        {"none: an empty range", good, good, dense1D<int>(), 0, 0},
        {"none", good, good + 2, types, 0, 2},
    };
    for (const auto& rung : ladder) {
        dense1D<double> qualities(7);
        EXPECT_EQ(shape_qualities(square2, rung.first, rung.last, rung.types, qualities), rung.code)
            << rung.fault;
        EXPECT_EQ(qualities.size, rung.size) << rung.fault;
        histogram h;
        h.process(0.25);
        EXPECT_EQ(shape_qualities(square2, rung.first, rung.last, rung.types, h), rung.code)
            << rung.fault;
        EXPECT_EQ(h.total(), 1 + rung.size) << rung.fault;
    }
}

TEST(ShapeQualities, SendsAllValuesToTheHistogram)
{
    const auto mix = columns<unsigned>({{0, 1, 2, 3}, {0, 1, 3, none}, {0, 3, 1, none}});
    histogram h(dense1D<double>{-1, 0, 0.9, 1});
    EXPECT_EQ(shape_qualities(square2, mix, ET_FACE_MIX, h), 0);
    EXPECT_EQ(h.count(0), 1u);
    EXPECT_EQ(h.count(1), 1u);
    EXPECT_EQ(h.count(2), 1u);
    EXPECT_EQ(h.total(), 3u);
}

TEST(ShapeQualities, LeavesTheHistogramAloneOnFailure)
{
    histogram h;
    EXPECT_EQ(shape_qualities(square2, columns<unsigned>({{0, 1, 2}, {0, 1, 4}}), ET_TRIA3, h), -2);
    EXPECT_EQ(shape_qualities(square2, columns<unsigned>({{0, 1, 2, 3}}), ET_TRIA6, h), -3);
    EXPECT_EQ(h.total(), 0u);
    // An empty matrix is passed over before its type is looked at.
    EXPECT_EQ(shape_qualities(square2, dense2D<unsigned>(), ET_TRIA6, h), 0);
    EXPECT_EQ(h.total(), 0u);
}

TEST(TakeLowest, LetsANotANumberReplaceAndBeReplaced)
{
    double low = 1.0;
    detail::take_lowest(low, 2.0);
    EXPECT_EQ(low, 1.0);
    detail::take_lowest(low, nan_value);
    EXPECT_TRUE(std::isnan(low));
    detail::take_lowest(low, 3.0);
    EXPECT_EQ(low, 3.0);
}

namespace {

struct plain_case {
    const char* name;
    element_type type;
    unsigned rows;  // of connectM
    unsigned space; // rows of pos
};

class ShapeQualitiesOfKind : public testing::TestWithParam<plain_case> {
protected:
    void compare(const dense2D<double>& pos, const dense2D<unsigned>& connectM)
    {
        const element_type type = GetParam().type;
        dense1D<double> qualities;
        ASSERT_EQ(shape_qualities(pos, connectM, type, qualities), 0);
        dense1D<double> expected(connectM.cols);
        for (size_t e = 0; e < connectM.cols; ++e)
            expected[e] = plain::shape_quality(pos, connectM, type, e);
        EXPECT_TRUE(same(qualities, expected));
        if (type == ET_HEXA8 && pos.rows >= 3) compare_vectors(pos, connectM, expected);
    }

    /// Whatever this processor has, the shorter vectors are tried too, which others use.
    static void compare_vectors(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                const dense1D<double>& expected)
    {
        using detail::vectors;
        for (const vectors length : {vectors::of_two, detail::longest_vectors()}) {
            dense1D<double> qualities(connectM.cols);
            detail::measure_hexahedra(pos, connectM, length, qualities.begin());
            EXPECT_TRUE(same(qualities, expected)) << "vectors " << int(length);
        }
    }

    dense2D<unsigned> random_elements(unsigned nodes, unsigned count)
    {
        dense2D<unsigned> m(GetParam().rows, count);
        for (size_t e = 0; e < count; ++e)
            for (size_t k = 0; k < m.rows; ++k) m(k, e) = unsigned(random() % nodes);
        if (GetParam().type == ET_FACE_MIX)
            for (size_t e = 0; e < count; e += 2) m(3, e) = none;
        return m;
    }

    std::mt19937 random{4711};
};

} // namespace

// Bit for bit: the order of operations is part of the result.
TEST_P(ShapeQualitiesOfKind, AgreesWithTheFormulasOnRandomNodes)
{
    std::uniform_real_distribution<double> coordinate(-1, 1);
    dense2D<double> pos(GetParam().space, 200);
    for (size_t j = 0; j < pos.cols; ++j)
        for (size_t i = 0; i < pos.rows; ++i) pos(i, j) = coordinate(random);
    compare(pos, random_elements(200, 5000));
}

TEST_P(ShapeQualitiesOfKind, AgreesWithTheFormulasOnPerturbedRegularElements)
{
    const auto& regular = GetParam().rows == 8           ? cube
                          : GetParam().rows == 6         ? wedge
                          : GetParam().rows == 5         ? pyramid
                          : GetParam().type == ET_TETRA4 ? tetra
                                                         : square3;
    constexpr unsigned count = 3000;
    dense2D<double> pos(GetParam().space, count * GetParam().rows);
    dense2D<unsigned> connectM(GetParam().rows, count);
    for (unsigned e = 0; e < count; ++e) {
        const double width = e % 3 == 0 ? 1e-12 : e % 3 == 1 ? 0.2 : 0.8;
        std::uniform_real_distribution<double> shift(-width, width);
        for (unsigned k = 0; k < connectM.rows; ++k) {
            connectM(k, e) = e * GetParam().rows + k;
            for (unsigned d = 0; d < pos.rows; ++d)
                pos(d, connectM(k, e)) = (d < 3 ? regular(d, k) : 0.0) + shift(random);
        }
    }
    compare(pos, connectM);
}

TEST_P(ShapeQualitiesOfKind, AgreesWithTheFormulasOnNearlyFlatElements)
{
    // Few distinct places and heights about the bound below which a tetrahedron counts as flat.
    const double heights[] = {0, 0, 1e-9, -1e-9, 3e-10, -1e-11, 1e-16};
    dense2D<double> pos(GetParam().space, 100);
    for (size_t j = 0; j < pos.cols; ++j)
        for (size_t i = 0; i < pos.rows; ++i)
            pos(i, j) = i == 2 ? heights[random() % 7] : double(random() % 4) / 3;
    compare(pos, random_elements(100, 5000));
}

// From flat to long elements, and corners moved through the bounds within which parts of them are
// inverted, or so near to it that rounding decides.
TEST_P(ShapeQualitiesOfKind, AgreesWithTheFormulasOnStretchedAndFoldedElements)
{
    constexpr unsigned count = 4001; // a number that leaves some at the end of blocks
    dense2D<double> pos(GetParam().space, count * GetParam().rows);
    dense2D<unsigned> connectM(GetParam().rows, count);
    std::uniform_real_distribution<double> shift(-0.1, 0.1);
    const double sizes[] = {1, 1e-3, 1e-6, 1e-8, 1e-12, 1e4, 1e-16};
    for (unsigned e = 0; e < count; ++e) {
        const double size[3] = {1, sizes[random() % 7], sizes[random() % 7]};
        const unsigned folded = unsigned(random() % connectM.rows);
        for (unsigned k = 0; k < connectM.rows; ++k) {
            connectM(k, e) = e * GetParam().rows + k;
            for (unsigned d = 0; d < pos.rows; ++d) {
                const double corner = d < 3 ? cube(d, k) : 0.0;
                const double at = k == folded ? 0.5 * corner + 0.3 : corner;
                pos(d, connectM(k, e)) = (at + shift(random)) * (d < 3 ? size[d] : 1.0);
            }
        }
    }
    compare(pos, connectM);
}

TEST_P(ShapeQualitiesOfKind, AgreesWithTheFormulasOnWildNumbers)
{
    const double wild[] = {0,      -0.0,  1,      -1,        2,        0.5,       1e-170, 1e160,
                           -1e155, 1e-60, 1e-320, nan_value, infinity, -infinity, 3,      -2};
    dense2D<double> pos(GetParam().space, 300);
    for (size_t j = 0; j < pos.cols; ++j)
        for (size_t i = 0; i < pos.rows; ++i) pos(i, j) = wild[random() % (j < 150 ? 6 : 16)];
    compare(pos, random_elements(300, 5000));
}

INSTANTIATE_TEST_SUITE_P(
    AllKinds, ShapeQualitiesOfKind,
    testing::Values(
        plain_case{"bars", ET_BAR2, 2, 3}, plain_case{"triangles_flat", ET_TRIA3, 3, 2},
        plain_case{"triangles", ET_TRIA3, 3, 3}, plain_case{"triangles_of_4_rows", ET_TRIA3, 3, 4},
        plain_case{"quadrangles_flat", ET_QUAD4, 4, 2}, plain_case{"quadrangles", ET_QUAD4, 4, 3},
        plain_case{"quadrangles_of_4_rows", ET_QUAD4, 4, 4},
        plain_case{"faces_flat", ET_FACE_MIX, 4, 2}, plain_case{"faces", ET_FACE_MIX, 4, 3},
        plain_case{"tetrahedra", ET_TETRA4, 4, 3}, plain_case{"pyramids", ET_PYRA5, 5, 3},
        plain_case{"wedges", ET_PENTA6, 6, 3}, plain_case{"hexahedra", ET_HEXA8, 8, 3},
        plain_case{"wedges_of_4_rows", ET_PENTA6, 6, 4},
        plain_case{"hexahedra_of_4_rows", ET_HEXA8, 8, 4}),
    [](const auto& name_of) { return std::string(name_of.param.name); });

TEST(ShapeQualities, DoNotChangeUnderRotationAndScaling)
{
    // Quarter turn about z and a factor of 4: exact for these nodes.
    const element_type types[] = {ET_TETRA4, ET_PYRA5, ET_PENTA6, ET_HEXA8};
    const dense2D<double> elements[] = {tetra, pyramid, wedge, cube};
    for (int i = 0; i < 4; ++i) {
        auto turned = duplicate(elements[i]);
        for (size_t j = 0; j < turned.cols; ++j) {
            turned(0, j) = -4 * elements[i](1, j);
            turned(1, j) = 4 * elements[i](0, j);
            turned(2, j) = 4 * elements[i](2, j);
        }
        EXPECT_NEAR(quality(turned, types[i]), quality(elements[i], types[i]), 1e-14) << types[i];
    }
}

TEST(ShapeQualities, ReportExhaustedMemoryWithNoValues)
{
    const dense2D<unsigned> mesh = columns<unsigned>({{0, 1, 2}, {0, 1, 4}}); // a node beyond
    const dense2D<unsigned> good = columns<unsigned>({{0, 1, 2}});
    const dense1D<int> types{ET_TRIA3};
    const size_t before = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const auto check = [&](auto&& call) {
            const auto refused = allocation::sweep<allocation::fail_containers>(
                [&](size_t n, auto broken) {
                    dense1D<double> qualities;
                    histogram h;
                    const int code = broken([&] { return call(qualities, h); });
                    EXPECT_EQ(code, n == 1 ? -199 : 0);
                    EXPECT_EQ(qualities.size + h.total(), n == 1 ? 0u : 1u);
                },
                onwards);
            EXPECT_EQ(refused, 1u);
        };
        check([&](auto& qualities, auto&) {
            return shape_qualities(square2, good, ET_TRIA3, qualities);
        });
        check([&](auto& qualities, auto&) {
            return shape_qualities(square2, &good, &good + 1, types, qualities);
        });
        check([&](auto&, auto& h) { return shape_qualities(square2, good, ET_TRIA3, h); });
        check([&](auto&, auto& h) { return shape_qualities(square2, &good, &good + 1, types, h); });
    }
    // The vector is sized before anything else is looked at.
    dense1D<double> qualities;
    const allocation::fail_containers refused(1);
    EXPECT_EQ(shape_qualities(square2, mesh, ET_TRIA6, qualities), -199);
    EXPECT_EQ(qualities.size, 0u);
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(ShapeQualities, ThrowOnlyForTheWorkVectorOfTheHistogram)
{
    const dense2D<unsigned> good = columns<unsigned>({{0, 1, 2}});
    const dense1D<int> types{ET_TRIA3};
    const size_t before = allocation::live_blocks();
    const auto refusals = [&](auto&& call) {
        return allocation::sweep<allocation::fail_new>([&](size_t, auto broken) {
            dense1D<double> qualities;
            histogram h;
            try {
                EXPECT_EQ(broken([&] { return call(qualities, h); }), 0);
                EXPECT_EQ(qualities.size + h.total(), 1u);
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(qualities.size + h.total(), 0u);
            }
        });
    };
    EXPECT_EQ(refusals([&](auto& qualities, auto&) {
                  return shape_qualities(square2, good, ET_TRIA3, qualities);
              }),
              0u);
    EXPECT_EQ(refusals([&](auto& qualities, auto&) {
                  return shape_qualities(square2, &good, &good + 1, types, qualities);
              }),
              0u);
    EXPECT_EQ(refusals([&](auto&, auto& h) { return shape_qualities(square2, good, ET_TRIA3, h); }),
              2u);
    EXPECT_EQ(refusals([&](auto&, auto& h) {
                  return shape_qualities(square2, &good, &good + 1, types, h);
              }),
              1u);
    EXPECT_EQ(allocation::live_blocks(), before);
}
