#include <kz3/lattiq/connectivity.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <random>
#include <string>

#include "connectivity/random_elements.h"
#include "plain/connectivity/get_element_boundaries.h"
#include "support/allocation.h"
#include "support/files.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

// One element on nodes 10, 11, 12, ...
dense2D<unsigned> one(size_t rows)
{
    dense2D<unsigned> m(rows, 1);
    for (size_t k = 0; k < rows; ++k) m(k, 0) = unsigned(10 + k);
    return m;
}

class ElementBoundariesOfType : public testing::TestWithParam<element_type> {
protected:
    const element_type type = GetParam();
    const detail::faced_type& faced = *detail::find_faced_type(type);
};

INSTANTIATE_TEST_SUITE_P(GetElementBoundaries, ElementBoundariesOfType,
                         testing::ValuesIn(all_faced_types()),
                         [](const auto& of) { return name_of(of.param); });

// A matrix has, in order, what its columns give one by one.
TEST_P(ElementBoundariesOfType, StandInOrderOfElements)
{
    std::mt19937 random(21);
    const auto m = random_elements(type, 50, 0, 1000, random);
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(m, type, boundaries), 0);
    size_t j = 0;
    for (size_t e = 0; e < m.cols; ++e) {
        dense2D<unsigned> alone;
        ASSERT_EQ(get_element_boundaries(m.sub_matrix(0, e, m.rows, 1), type, alone), 0);
        ASSERT_LE(j + alone.cols, boundaries.cols);
        EXPECT_TRUE(same(boundaries.sub_matrix(0, j, alone.rows, alone.cols), alone)) << e;
        j += alone.cols;
    }
    EXPECT_EQ(j, boundaries.cols);
}

TEST_P(ElementBoundariesOfType, AgreeWithFacesListedOneByOne)
{
    for (unsigned seed = 0; seed < 20; ++seed)
        for (const size_t n : {1, 2, 33, 400}) {
            std::mt19937 random(seed);
            const auto m = random_elements(type, n, seed * 200000000, 1000, random);
            dense2D<unsigned> boundaries(3, 7, 5U);
            ASSERT_EQ(get_element_boundaries(m, type, boundaries), 0);
            ASSERT_TRUE(same(boundaries, plain::get_element_boundaries(m, type)));
        }
}

TEST_P(ElementBoundariesOfType, AreReadFromAStridedViewThatStaysAsItWas)
{
    std::mt19937 random(22);
    const auto m = random_elements(type, 30, 0, 1000, random);
    const strided<unsigned> view(m);
    dense2D<unsigned> expected;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(m, type, expected), 0);
    ASSERT_EQ(get_element_boundaries(view.view, type, boundaries), 0);
    EXPECT_TRUE(same(boundaries, expected));
    EXPECT_TRUE(same(view.view, m));
    EXPECT_TRUE(view.gaps_untouched());
}

TEST_P(ElementBoundariesOfType, LeaveTheConnectivityAloneThatSharesTheirStorage)
{
    std::mt19937 random(23);
    const auto m = random_elements(type, 30, 0, 1000, random);
    dense2D<unsigned> expected;
    ASSERT_EQ(get_element_boundaries(m, type, expected), 0);
    const auto shared = duplicate(m);
    dense2D<unsigned> boundaries = shared;
    ASSERT_EQ(get_element_boundaries(shared, type, boundaries), 0);
    EXPECT_TRUE(same(boundaries, expected));
    EXPECT_TRUE(same(shared, m));
}

TEST_P(ElementBoundariesOfType, AreEmptyWhereAnyAllocationFails)
{
    std::mt19937 random(24);
    const auto m = random_elements(type, 30, 0, 1000, random);
    const auto shared = duplicate(m);
    const size_t live = allocation::live_blocks();
    const auto refused = [&](size_t, auto&& call) {
        dense2D<unsigned> boundaries = shared;
        const int code = call([&] { return get_element_boundaries(shared, type, boundaries); });
        EXPECT_TRUE(code == 0 || code == -199) << code;
        EXPECT_EQ(code != 0, boundaries.empty());
        EXPECT_TRUE(same(shared, m));
    };
    for (const bool onwards : {false, true}) {
        EXPECT_EQ(allocation::sweep<allocation::fail_containers>(refused, onwards), 1u);
        EXPECT_EQ(allocation::sweep<allocation::fail_new>(refused, onwards), 1u);
    }
    EXPECT_EQ(allocation::live_blocks(), live);
}

} // namespace

TEST(GetElementBoundaries, WritesTheNodesOfABarFarOneFirst)
{
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(one(2), ET_BAR2, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{11}, {10}})));
}

TEST(GetElementBoundaries, WritesTheEdgesOfATriangle)
{
    const auto expected = columns<unsigned>({{11, 12}, {12, 10}, {10, 11}});
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(one(3), ET_TRIA3, boundaries), 0);
    EXPECT_TRUE(same(boundaries, expected));
    ASSERT_EQ(get_element_boundaries(one(3), ET_FACE_MIX, boundaries), 0);
    EXPECT_TRUE(same(boundaries, expected));
}

TEST(GetElementBoundaries, WritesTheEdgesOfAQuadrangle)
{
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(one(4), ET_QUAD4, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{10, 11}, {11, 12}, {12, 13}, {13, 10}})));
}

TEST(GetElementBoundaries, WritesTheTrianglesOfATetrahedron)
{
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(columns<unsigned>({{0, 1, 2, 3}}), ET_TETRA4, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{1, 2, 3}, {2, 0, 3}, {1, 3, 0}, {2, 1, 0}})));
}

TEST(GetElementBoundaries, WritesTheFacesOfAPyramidWithHolesBehindTriangles)
{
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(one(5), ET_PYRA5, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{10, 14, 11, none},
                                                    {11, 14, 12, none},
                                                    {12, 14, 13, none},
                                                    {13, 14, 10, none},
                                                    {10, 11, 12, 13}})));
}

TEST(GetElementBoundaries, WritesTheFacesOfAWedge)
{
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(one(6), ET_PENTA6, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{10, 11, 12, none},
                                                    {13, 15, 14, none},
                                                    {12, 11, 14, 15},
                                                    {15, 13, 10, 12},
                                                    {10, 13, 14, 11}})));
}

TEST(GetElementBoundaries, WritesTheQuadranglesOfAHexahedron)
{
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(one(8), ET_HEXA8, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{10, 13, 17, 14},
                                                    {11, 15, 16, 12},
                                                    {10, 14, 15, 11},
                                                    {13, 12, 16, 17},
                                                    {10, 11, 12, 13},
                                                    {14, 17, 16, 15}})));
}

TEST(GetElementBoundaries, TakesMixedFacesByColumn)
{
    const auto faces = columns<unsigned>({{0, 1, 2, none}, {4, 5, 6, 7}});
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(faces, ET_FACE_MIX, boundaries), 0);
    EXPECT_TRUE(same(boundaries,
                     columns<unsigned>({{1, 2}, {2, 0}, {0, 1}, {4, 5}, {5, 6}, {6, 7}, {7, 4}})));
}

TEST(GetElementBoundaries, TakesMixedSolidsByColumnAndReadsNothingBelowTheHole)
{
    const auto solids = columns<unsigned>({{0, 1, 2, 3, none, 4, 5, 6},
                                           {0, 1, 2, 3, 4, none, 5, 6},
                                           {0, 1, 2, 3, 4, 5, none, 6},
                                           {0, 1, 2, 3, 4, 5, 6, 7}});
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(solids, ET_SOLID_MIX, boundaries), 0);
    EXPECT_TRUE(
        same(boundaries,
             columns<unsigned>({{1, 2, 3, none}, {2, 0, 3, none}, {1, 3, 0, none}, {2, 1, 0, none},
                                {0, 4, 1, none}, {1, 4, 2, none}, {2, 4, 3, none}, {3, 4, 0, none},
                                {0, 1, 2, 3},    {0, 1, 2, none}, {3, 5, 4, none}, {2, 1, 4, 5},
                                {5, 3, 0, 2},    {0, 3, 4, 1},    {0, 3, 7, 4},    {1, 5, 6, 2},
                                {0, 4, 5, 1},    {3, 2, 6, 7},    {0, 1, 2, 3},    {4, 7, 6, 5}})));
}

TEST(GetElementBoundaries, WritesTheFacesThatTheDocsShow)
{
    const std::string docs = read_text(LATTIQ_SOURCE_DIR "/docs/connectivity.md");
    for (const auto& kind : detail::element_kinds) {
        std::string name = name_of(kind.type);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return char(std::toupper(c)); });
        dense2D<unsigned> element(kind.corners, 1);
        for (unsigned k = 0; k < kind.corners; ++k) element(k, 0) = k;
        dense2D<unsigned> boundaries;
        ASSERT_EQ(get_element_boundaries(element, kind.type, boundaries), 0);
        std::string line = "\n| `ET_";
        line.append(name).append("` |");
        for (size_t f = 0; f < 6; ++f) {
            if (f < boundaries.cols)
                for (const unsigned row : boundaries.col(f))
                    if (row != none) line.append(" ").append(std::to_string(row));
            line += " |";
        }
        EXPECT_NE(docs.find(line.append("\n")), std::string::npos) << line;
    }
}

TEST(GetElementBoundaries, WritesASharedFaceTwice)
{
    dense2D<unsigned> boundaries;
    ASSERT_EQ(
        get_element_boundaries(columns<unsigned>({{0, 1, 2}, {2, 1, 3}}), ET_TRIA3, boundaries), 0);
    EXPECT_TRUE(
        same(boundaries, columns<unsigned>({{1, 2}, {2, 0}, {0, 1}, {1, 3}, {3, 2}, {2, 1}})));
}

TEST(GetElementBoundaries, IsEmptyForAnEmptyConnectivityOfAnyType)
{
    for (const int type : {-1, 0, 2, 3, 5, 6, 8, 11, 12, 21, 22, 1000})
        for (const auto& nothing :
             {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(7, 0)}) {
            dense2D<unsigned> boundaries(2, 2, 5U);
            EXPECT_EQ(get_element_boundaries(nothing, element_type(type), boundaries), 0);
            EXPECT_EQ(boundaries.rows + boundaries.cols, 0u);
        }
}

TEST(GetElementBoundaries, EmptiesItsOwnConnectivity)
{
    auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    EXPECT_EQ(get_element_boundaries(tria, ET_TRIA3, tria), 0);
    EXPECT_TRUE(tria.empty());
}

TEST(GetElementBoundaries, RefusesByTheFirstFault)
{
    const struct {
        dense2D<unsigned> connectM;
        int type;
        int code;
    } ladder[] = {
        {one(2), ET_TRIA3, -1},
        {columns<unsigned>({{0, 1, none}}), ET_TRIA3, -1},
        {columns<unsigned>({{0, 1, none}}), ET_FACE_MIX, -1},
        {columns<unsigned>({{0, 1, none, none}}), ET_FACE_MIX, -1},
        {one(5), ET_FACE_MIX, -1},
        {columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, none}}), ET_SOLID_MIX, -1},
        {one(7), ET_SOLID_MIX, -1},
        // These pass check_IDs, and only columns of 8 are served.
        {one(4), ET_SOLID_MIX, -1},
        {one(5), ET_SOLID_MIX, -1},
        {one(6), ET_SOLID_MIX, -1},
        // Unserved types with a bad connectivity, then with a good one.
        {one(3), ET_TRIA6, -1},
        {one(3), ET_NONE, -1},
        {one(3), 2, -1},
        {one(3), 21, -1},
        {one(3), 22, -1},
        {one(3), -1, -1},
        {one(3), INT_MAX, -1},
        {one(1), ET_NODE, -2},
        {one(3), ET_BAR3, -2},
        {one(6), ET_TRIA6, -2},
        {one(8), ET_QUAD8, -2},
        {one(9), ET_QUAD9, -2},
        {one(10), ET_TETRA10, -2},
        {one(14), ET_PYRA14, -2},
        {one(18), ET_PENTA18, -2},
        {one(20), ET_HEXA20, -2},
        {one(27), ET_HEXA27, -2},
    };
    for (const auto& rung : ladder) {
        SCOPED_TRACE(std::to_string(rung.connectM.rows) + " rows, type " +
                     std::to_string(rung.type));
        dense2D<unsigned> boundaries(2, 2, 5U);
        const allocation::fail_containers containers(1, true); // the earlier check still speaks
        const allocation::fail_new standard(1, true);
        EXPECT_EQ(get_element_boundaries(rung.connectM, element_type(rung.type), boundaries),
                  rung.code);
        EXPECT_EQ(boundaries.rows + boundaries.cols, 0u);
    }
}
