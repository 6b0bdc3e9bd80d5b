#include <kz3/lattiq/connectivity.h>

#include <climits>
#include <random>
#include <string>

#include "connectivity/random_elements.h"
#include "plain/connectivity/get_mesh_boundaries.h"
#include "support/allocation.h"
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

class MeshBoundariesOfType : public testing::TestWithParam<element_type> {
protected:
    const element_type type = GetParam();
    const detail::faced_type& faced = *detail::find_faced_type(type);
};

INSTANTIATE_TEST_SUITE_P(GetMeshBoundaries, MeshBoundariesOfType,
                         testing::ValuesIn(all_faced_types()),
                         [](const auto& of) { return name_of(of.param); });

TEST_P(MeshBoundariesOfType, AreAllFacesWhereNoneHasANeighbor)
{
    std::mt19937 random(31);
    const auto m = random_elements(type, 50, 0, 1000, random);
    dense2D<unsigned> expected;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_element_boundaries(m, type, expected), 0);
    ASSERT_EQ(
        get_mesh_boundaries(m, dense2D<unsigned>(faced.face_rows, m.cols, none), type, boundaries),
        0);
    EXPECT_TRUE(same(boundaries, expected));
}

// Neighbours at random, by which the boundaries of single elements are thinned out.
TEST_P(MeshBoundariesOfType, AreTheFacesWithoutANeighborInOrder)
{
    std::mt19937 random(32);
    const auto m = random_elements(type, 50, 0, 1000, random);
    dense2D<unsigned> neighbors(faced.face_rows, m.cols);
    dense2D<unsigned> expected(faced.boundary_rows, 0);
    for (size_t e = 0; e < m.cols; ++e) {
        for (size_t f = 0; f < faced.face_rows; ++f)
            neighbors(f, e) = random() % 2 == 0 ? none : unsigned(random()) - (random() % 2);
        dense2D<unsigned> alone;
        ASSERT_EQ(get_element_boundaries(m.sub_matrix(0, e, m.rows, 1), type, alone), 0);
        for (size_t f = 0; f < alone.cols; ++f) {
            if (neighbors(f, e) != none) continue;
            ASSERT_TRUE(expected.resize(faced.boundary_rows, expected.cols + 1));
            for (size_t k = 0; k < alone.rows; ++k) expected(k, expected.cols - 1) = alone(k, f);
        }
    }
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_mesh_boundaries(m, neighbors, type, boundaries), 0);
    EXPECT_TRUE(same(boundaries, expected));
    EXPECT_GT(boundaries.cols, 0u);
}

TEST_P(MeshBoundariesOfType, AgreeWithFreeFacesListedOneByOne)
{
    for (unsigned seed = 0; seed < 20; ++seed)
        for (const size_t n : {1, 2, 33, 400}) {
            std::mt19937 random(seed);
            const auto m = random_elements(type, n, seed * 200000000, 20, random);
            dense2D<unsigned> neighbors;
            ASSERT_EQ(get_neighbors(m, type, seed % 2 == 0, neighbors), 0);
            dense2D<unsigned> boundaries(3, 7, 5U);
            ASSERT_EQ(get_mesh_boundaries(m, neighbors, type, boundaries), 0);
            ASSERT_TRUE(same(boundaries, plain::get_mesh_boundaries(m, neighbors, type)));
        }
}

TEST_P(MeshBoundariesOfType, KeepTheirRowsWhereThereIsNone)
{
    std::mt19937 random(33);
    const auto m = random_elements(type, 10, 0, 1000, random);
    dense2D<unsigned> boundaries(2, 2, 5U);
    ASSERT_EQ(
        get_mesh_boundaries(m, dense2D<unsigned>(faced.face_rows, m.cols, 0U), type, boundaries),
        0);
    EXPECT_EQ(boundaries.rows, faced.boundary_rows);
    EXPECT_EQ(boundaries.cols, 0u);
}

TEST_P(MeshBoundariesOfType, AreReadFromStridedViewsThatStayAsTheyWere)
{
    std::mt19937 random(34);
    const auto m = random_elements(type, 30, 0, 12, random);
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(m, type, true, neighbors), 0);
    const strided<unsigned> m_view(m);
    const strided<unsigned> neighbors_view(neighbors);
    dense2D<unsigned> expected;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_mesh_boundaries(m, neighbors, type, expected), 0);
    ASSERT_EQ(get_mesh_boundaries(m_view.view, neighbors_view.view, type, boundaries), 0);
    EXPECT_TRUE(same(boundaries, expected));
    EXPECT_TRUE(same(m_view.view, m));
    EXPECT_TRUE(same(neighbors_view.view, neighbors));
    EXPECT_TRUE(m_view.gaps_untouched());
    EXPECT_TRUE(neighbors_view.gaps_untouched());
}

TEST_P(MeshBoundariesOfType, LeaveTheInputsAloneThatShareTheirStorage)
{
    std::mt19937 random(35);
    const auto m = random_elements(type, 30, 0, 12, random);
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(m, type, true, neighbors), 0);
    dense2D<unsigned> expected;
    ASSERT_EQ(get_mesh_boundaries(m, neighbors, type, expected), 0);
    const auto shared_m = duplicate(m);
    const auto shared_neighbors = duplicate(neighbors);
    for (const auto& shared : {shared_m, shared_neighbors}) {
        dense2D<unsigned> boundaries = shared;
        ASSERT_EQ(get_mesh_boundaries(shared_m, shared_neighbors, type, boundaries), 0);
        EXPECT_TRUE(same(boundaries, expected));
        EXPECT_TRUE(same(shared_m, m));
        EXPECT_TRUE(same(shared_neighbors, neighbors));
    }
}

TEST_P(MeshBoundariesOfType, AreEmptyWhereAnyAllocationFails)
{
    std::mt19937 random(36);
    const auto m = random_elements(type, 30, 0, 1000, random);
    const dense2D<unsigned> neighbors(faced.face_rows, m.cols, none);
    const size_t live = allocation::live_blocks();
    for (const auto& shared : {m, neighbors}) {
        const auto before = duplicate(shared);
        const auto refused = [&](size_t, auto&& call) {
            dense2D<unsigned> boundaries = shared;
            const int code =
                call([&] { return get_mesh_boundaries(m, neighbors, type, boundaries); });
            EXPECT_TRUE(code == 0 || code == -199) << code;
            EXPECT_EQ(code != 0, boundaries.empty());
            EXPECT_TRUE(same(shared, before));
        };
        for (const bool onwards : {false, true}) {
            EXPECT_EQ(allocation::sweep<allocation::fail_containers>(refused, onwards), 1u);
            EXPECT_EQ(allocation::sweep<allocation::fail_new>(refused, onwards), 1u);
        }
    }
    EXPECT_EQ(allocation::live_blocks(), live);
}

} // namespace

TEST(GetMeshBoundaries, WritesTheRimOfTwoTriangles)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    ASSERT_EQ(get_mesh_boundaries(tria, neighbors, ET_TRIA3, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{2, 0}, {0, 1}, {1, 3}, {3, 2}})));
}

TEST(GetMeshBoundaries, WritesTheEndsOfAChainOfBars)
{
    const auto bars = columns<unsigned>({{4, 5}, {5, 6}, {6, 7}});
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_neighbors(bars, ET_BAR2, false, neighbors), 0);
    ASSERT_EQ(get_mesh_boundaries(bars, neighbors, ET_BAR2, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{4}, {7}})));
}

TEST(GetMeshBoundaries, LeavesNoneOnAClosedSurface)
{
    const auto tetra = columns<unsigned>({{1, 2, 3}, {2, 0, 3}, {1, 3, 0}, {2, 1, 0}});
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_neighbors(tetra, ET_TRIA3, false, neighbors), 0);
    ASSERT_EQ(get_mesh_boundaries(tetra, neighbors, ET_TRIA3, boundaries), 0);
    EXPECT_EQ(boundaries.rows, 2u);
    EXPECT_EQ(boundaries.cols, 0u);
}

TEST(GetMeshBoundaries, WritesAFaceOfThreeElementsOnceForEach)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {0, 1, 3}, {1, 0, 4}});
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    ASSERT_EQ(get_mesh_boundaries(tria, neighbors, ET_TRIA3, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{1, 2},
                                                    {2, 0},
                                                    {0, 1}, //
                                                    {1, 3},
                                                    {3, 0},
                                                    {0, 1}, //
                                                    {0, 4},
                                                    {4, 1},
                                                    {1, 0}})));

    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, true, neighbors), 0);
    ASSERT_EQ(get_mesh_boundaries(tria, neighbors, ET_TRIA3, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{1, 2},
                                                    {2, 0}, //
                                                    {1, 3},
                                                    {3, 0}, //
                                                    {0, 4},
                                                    {4, 1},
                                                    {1, 0}})));
}

TEST(GetMeshBoundaries, ServesThreeRowsOfMixedFacesAsTriangles)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    const auto neighbors = columns<unsigned>({{1, none, none}, {none, none, 0}});
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_mesh_boundaries(tria, neighbors, ET_FACE_MIX, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{2, 0}, {0, 1}, {1, 3}, {3, 2}})));
    EXPECT_EQ(get_mesh_boundaries(tria, dense2D<unsigned>(4, 2, none), ET_FACE_MIX, boundaries),
              -2);
}

TEST(GetMeshBoundaries, CountsNoRowThatAMixedColumnDoesNotUse)
{
    const auto solids = columns<unsigned>(
        {{10, 11, 12, 13, none, none, none, none}, {12, 13, 20, 21, 11, none, none, none}});
    dense2D<unsigned> neighbors;
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_neighbors(solids, ET_SOLID_MIX, false, neighbors), 0);
    ASSERT_EQ(get_mesh_boundaries(solids, neighbors, ET_SOLID_MIX, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{12, 10, 13, none},
                                                    {11, 13, 10, none},
                                                    {12, 11, 10, none},
                                                    {13, 11, 20, none},
                                                    {20, 11, 21, none},
                                                    {21, 11, 12, none},
                                                    {12, 13, 20, 21}})));
}

TEST(GetMeshBoundaries, LooksAtNothingButTheMissingNeighbors)
{
    // No element has these indices, nor do they point back.
    const auto neighbors = columns<unsigned>({{77, 0xFFFFFFFE, none}});
    dense2D<unsigned> boundaries;
    ASSERT_EQ(get_mesh_boundaries(one(3), neighbors, ET_TRIA3, boundaries), 0);
    EXPECT_TRUE(same(boundaries, columns<unsigned>({{10, 11}})));
}

TEST(GetMeshBoundaries, IsEmptyForAnEmptyConnectivityWhateverElseIsWrong)
{
    for (const int type : {-1, 0, 2, 3, 5, 6, 8, 11, 12, 21, 22, 1000}) {
        dense2D<unsigned> boundaries(2, 2, 5U);
        EXPECT_EQ(get_mesh_boundaries(dense2D<unsigned>(3, 0), dense2D<unsigned>(1, 9, 0U),
                                      element_type(type), boundaries),
                  0);
        EXPECT_EQ(boundaries.rows + boundaries.cols, 0u);
    }
}

TEST(GetMeshBoundaries, EmptiesTheArgumentThatIsAlsoTheResult)
{
    auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    auto neighbors = columns<unsigned>({{1, none, none}, {none, none, 0}});
    EXPECT_EQ(get_mesh_boundaries(tria, neighbors, ET_TRIA3, neighbors), -2);
    EXPECT_TRUE(neighbors.empty());
    EXPECT_EQ(get_mesh_boundaries(tria, neighbors, ET_TRIA3, tria), 0);
    EXPECT_TRUE(tria.empty());
}

TEST(GetMeshBoundaries, RefusesByTheFirstFault)
{
    const auto neighbors = [](size_t rows, size_t cols = 1) {
        return dense2D<unsigned>(rows, cols, none);
    };
    const struct {
        dense2D<unsigned> connectM;
        dense2D<unsigned> neighbors;
        int type;
        int code;
    } ladder[] = {
        {one(2), neighbors(3), ET_TRIA3, -1},
        {columns<unsigned>({{0, 1, none}}), neighbors(3), ET_TRIA3, -1},
        {one(4), neighbors(6), ET_SOLID_MIX, -1},
        {one(5), neighbors(6), ET_SOLID_MIX, -1},
        {one(6), neighbors(6), ET_SOLID_MIX, -1},
        {one(3), neighbors(3), 22, -1},
        {one(3), neighbors(3), -1, -1},
        {one(3), neighbors(3), INT_MIN, -1},
        // Connectivity and type.
        {one(3), neighbors(6), ET_TRIA6, -1},
        // Connectivity and neighbours.
        {one(2), neighbors(2), ET_TRIA3, -1},
        {one(6), neighbors(5), ET_SOLID_MIX, -1},
        {one(6), neighbors(6, 2), ET_SOLID_MIX, -1},
        // Type, then type and neighbours.
        {one(1), neighbors(1), ET_NODE, -2},
        {one(3), neighbors(3), ET_BAR3, -2},
        {one(6), neighbors(3), ET_TRIA6, -2},
        {one(10), neighbors(9, 7), ET_TETRA10, -2},
        {one(20), neighbors(6), ET_HEXA20, -2},
        // Neighbours.
        {one(2), neighbors(1), ET_BAR2, -2},
        {one(2), neighbors(3), ET_BAR2, -2},
        {one(3), neighbors(2), ET_TRIA3, -2},
        {one(4), neighbors(3), ET_QUAD4, -2},
        {one(4), neighbors(3), ET_FACE_MIX, -2},
        {one(4), neighbors(3), ET_TETRA4, -2},
        {one(5), neighbors(4), ET_PYRA5, -2},
        {one(5), neighbors(6), ET_PYRA5, -2},
        {one(6), neighbors(6), ET_PENTA6, -2},
        {one(8), neighbors(5), ET_HEXA8, -2},
        {one(8), neighbors(5), ET_SOLID_MIX, -2},
        {one(3), neighbors(3, 2), ET_TRIA3, -2},
        {one(3), neighbors(3, 0), ET_TRIA3, -2},
        {one(3), dense2D<unsigned>(), ET_TRIA3, -2},
    };
    for (const auto& rung : ladder) {
        SCOPED_TRACE(std::to_string(rung.connectM.rows) + " rows, " +
                     std::to_string(rung.neighbors.rows) + " of neighbors, type " +
                     std::to_string(rung.type));
        dense2D<unsigned> boundaries(2, 2, 5U);
        const allocation::fail_containers containers(1, true); // the earlier check still speaks
        const allocation::fail_new standard(1, true);
        EXPECT_EQ(
            get_mesh_boundaries(rung.connectM, rung.neighbors, element_type(rung.type), boundaries),
            rung.code);
        EXPECT_EQ(boundaries.rows + boundaries.cols, 0u);
    }
}
