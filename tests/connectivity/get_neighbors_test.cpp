#include <kz3/lattiq/connectivity.h>

#include <algorithm>
#include <array>
#include <climits>
#include <numeric>
#include <random>
#include <string>

#include <kz3/lattiq/core.h>

#include "connectivity/random_elements.h"
#include "core/element_table.h"
#include "plain/connectivity/get_neighbors.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

// n elements on nodes 0, 1, 2, ..., none shared.
dense2D<unsigned> separate_elements(size_t rows, size_t n)
{
    dense2D<unsigned> m(rows, n);
    for (size_t e = 0; e < n; ++e)
        for (size_t k = 0; k < rows; ++k) m(k, e) = unsigned(e * rows + k);
    return m;
}

// Two elements of one kind that have nothing in common but the nodes given: on face f of the first
// in their order, on face g of the second in reverse. Unused rows of a taller column are holes.
dense2D<unsigned> pair_across(const detail::element_kind& kind, unsigned f, unsigned g,
                              const std::vector<unsigned>& nodes, size_t rows)
{
    dense2D<unsigned> m(rows, 2, NO_NODE);
    for (unsigned k = 0; k < kind.corners; ++k) {
        m(k, 0) = 1000 + k;
        m(k, 1) = 2000 + k;
    }
    const unsigned n = kind.face_nodes[f];
    for (unsigned k = 0; k < n; ++k) {
        m(kind.face_rows[f][k], 0) = nodes[k];
        m(kind.face_rows[g][k], 1) = nodes[n - 1 - k];
    }
    return m;
}

// The kinds that a type is made of.
std::vector<element_type> kinds_of(element_type type)
{
    if (type == ET_FACE_MIX) return {ET_TRIA3, ET_QUAD4};
    if (type == ET_SOLID_MIX) return {ET_TETRA4, ET_PYRA5, ET_PENTA6, ET_HEXA8};
    return {type};
}

std::vector<unsigned> with_sum(unsigned nodes, unsigned sum)
{
    std::vector<unsigned> list(nodes);
    std::iota(list.begin(), list.end(), 2U);
    list.back() = sum - std::accumulate(list.begin(), list.end() - 1, 0U);
    return list;
}

class NeighborsOfType : public testing::TestWithParam<element_type> {
protected:
    const element_type type = GetParam();
    const detail::faced_type& faced = *detail::find_faced_type(type);
};

INSTANTIATE_TEST_SUITE_P(GetNeighbors, NeighborsOfType, testing::ValuesIn(all_faced_types()),
                         [](const auto& of) { return name_of(of.param); });

TEST_P(NeighborsOfType, FindsNoneForASingleElement)
{
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(separate_elements(faced.rows, 1), type, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, dense2D<unsigned>(faced.face_rows, 1, none)));
}

TEST_P(NeighborsOfType, FindsNoneAmongSeparateElements)
{
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(separate_elements(faced.rows, 500), type, true, neighbors), 0);
    EXPECT_TRUE(same(neighbors, dense2D<unsigned>(faced.face_rows, 500, none)));
}

TEST_P(NeighborsOfType, JoinsAcrossEveryPairOfLocalFaces)
{
    for (const element_type each : kinds_of(type)) {
        const auto& kind = *detail::find_kind(each);
        for (unsigned f = 0; f < kind.faces; ++f)
            for (unsigned g = 0; g < kind.faces; ++g) {
                if (kind.face_nodes[f] != kind.face_nodes[g]) continue;
                SCOPED_TRACE(name_of(each) + " " + std::to_string(f) + " " + std::to_string(g));
                dense2D<unsigned> neighbors;
                ASSERT_EQ(get_neighbors(pair_across(kind, f, g, {7, 5, 8, 6}, faced.rows), type,
                                        false, neighbors),
                          0);
                dense2D<unsigned> expected(faced.face_rows, 2, none);
                expected(f, 0) = 1;
                expected(g, 1) = 0;
                EXPECT_TRUE(same(neighbors, expected));
            }
    }
}

TEST_P(NeighborsOfType, MatchesAFaceOfFullSumByType)
{
    const bool entered = type == ET_TRIA3 || type == ET_TETRA4;
    for (const element_type each : kinds_of(type)) {
        const auto& kind = *detail::find_kind(each);
        for (unsigned f = 0; f < kind.faces; ++f) {
            SCOPED_TRACE(name_of(each) + " " + std::to_string(f));
            const auto pair =
                pair_across(kind, f, f, with_sum(kind.face_nodes[f], 0xFFFFFFFF), faced.rows);
            dense2D<unsigned> neighbors;
            if (type == ET_BAR2) { // the one node would be a hole
                ASSERT_EQ(get_neighbors(pair, type, false, neighbors), -1);
                continue;
            }
            ASSERT_EQ(get_neighbors(pair, type, false, neighbors), 0);
            EXPECT_EQ(neighbors(f, 0), entered ? 1 : none);
            EXPECT_EQ(neighbors(f, 1), entered ? 0 : none);
        }
    }
}

// A sum of 0 becomes 0xFFFFFFFF if a hole is added to a triangle; that sum skips nothing.
TEST_P(NeighborsOfType, MatchesFacesWhoseSumWraps)
{
    for (const element_type each : kinds_of(type)) {
        const auto& kind = *detail::find_kind(each);
        for (unsigned f = 0; f < kind.faces; ++f)
            for (const unsigned wrapped : {0U, 5U, 52U, 0xFFFFFFFEU}) {
                SCOPED_TRACE(name_of(each) + " " + std::to_string(f));
                const auto pair =
                    pair_across(kind, f, f, with_sum(kind.face_nodes[f], wrapped), faced.rows);
                dense2D<unsigned> neighbors;
                ASSERT_EQ(get_neighbors(pair, type, false, neighbors), 0);
                EXPECT_EQ(neighbors(f, 0), 1u);
                EXPECT_EQ(neighbors(f, 1), 0u);
            }
    }
}

TEST_P(NeighborsOfType, ReadsAStridedViewAndLeavesItAsItWas)
{
    std::mt19937 random(11);
    const auto m = random_elements(type, 60, 0, 12, random);
    const strided<unsigned> view(m);
    dense2D<unsigned> expected;
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(m, type, true, expected), 0);
    ASSERT_EQ(get_neighbors(view.view, type, true, neighbors), 0);
    EXPECT_TRUE(same(neighbors, expected));
    EXPECT_TRUE(same(view.view, m));
    EXPECT_TRUE(view.gaps_untouched());
}

TEST_P(NeighborsOfType, LeavesTheConnectivityAloneThatSharesStorageWithTheResult)
{
    std::mt19937 random(12);
    const auto m = random_elements(type, 40, 0, 9, random);
    dense2D<unsigned> expected;
    ASSERT_EQ(get_neighbors(m, type, true, expected), 0);
    const auto shared = duplicate(m);
    dense2D<unsigned> neighbors = shared;
    ASSERT_EQ(get_neighbors(shared, type, true, neighbors), 0);
    EXPECT_TRUE(same(neighbors, expected));
    EXPECT_TRUE(same(shared, m));
}

TEST_P(NeighborsOfType, IsEmptyWhereAnyAllocationFails)
{
    const auto m = separate_elements(faced.rows, 200);
    const auto shared = duplicate(m);
    const size_t live = allocation::live_blocks();
    const auto refused = [&](size_t, auto&& call) {
        dense2D<unsigned> neighbors(2, 2, 7U);
        const int code = call([&] { return get_neighbors(m, type, false, neighbors); });
        EXPECT_TRUE(code == 0 || code == -199) << code;
        EXPECT_EQ(code != 0, neighbors.empty());
        // The result goes where the connectivity stands, and so to a storage of its own.
        neighbors = shared;
        const int again = call([&] { return get_neighbors(shared, type, false, neighbors); });
        EXPECT_TRUE(again == 0 || again == -199) << again;
        EXPECT_EQ(again != 0, neighbors.empty());
        EXPECT_TRUE(same(shared, m));
    };
    for (const bool onwards : {false, true}) {
        EXPECT_EQ(allocation::sweep<allocation::fail_containers>(refused, onwards), 1u);
        EXPECT_EQ(allocation::sweep<allocation::fail_new>(refused, onwards), 3u);
    }
    EXPECT_EQ(allocation::live_blocks(), live);
}

struct regime {
    size_t elements;
    unsigned base;
    unsigned span;
    unsigned stride = 1;
};

// Few nodes make every face collide and repeat nodes; the highest make sums wrap; those about a
// half, a third and a quarter of the range make sums of 0xFFFFFFFF; those 53 apart, the number of
// buckets of a small mesh, make sums that differ and still share a bucket.
constexpr regime regimes[] = {
    {1, 0, 1},
    {2, 0, 4},
    {12, 0, 3},
    {40, 0, 5},
    {40, 17, 9},
    {150, 0, 30},
    {400, 1000000, 900},
    {40, 0xFFFFFFFF - 5, 5},
    {150, 0xFFFFFFFF - 40, 40},
    {60, 0x7FFFFFFF - 3, 8},
    {60, 0x55555555 - 3, 7},
    {60, 0x3FFFFFFF - 2, 6},
    {60, 0, 0xFFFFFFFF},
    {17, 0, 6, 53},
    {26, 7, 4, 97},
};

TEST_P(NeighborsOfType, AgreesWithBucketsWalkedStepByStep)
{
    for (unsigned seed = 0; seed < 12; ++seed)
        for (const regime& r : regimes) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", base " + std::to_string(r.base) +
                         ", span " + std::to_string(r.span));
            std::mt19937 random(seed);
            const auto m = random_elements(type, r.elements, r.base, r.span, random, r.stride);
            for (const bool link_non_manifold : {false, true}) {
                dense2D<unsigned> neighbors(1, 3, 4U);
                dense2D<unsigned> expected;
                const int code = plain::get_neighbors(m, type, link_non_manifold, expected);
                ASSERT_EQ(get_neighbors(m, type, link_non_manifold, neighbors), code);
                ASSERT_TRUE(same(neighbors, expected));
            }
        }
}

// Nodes that are few enough to have runs of their own, a few or many faces at each, and nodes far
// apart, whose faces are found by their hash.
TEST_P(NeighborsOfType, AgreesOnManyElementsWhateverTheNodes)
{
    for (const regime& r : {regime{2000, 0, 900}, regime{2000, 0, 12}, regime{2000, 0, 6000},
                            regime{2000, 3, 900, 4000037}, regime{2000, 3, 12, 300000007}}) {
        SCOPED_TRACE("span " + std::to_string(r.span) + ", stride " + std::to_string(r.stride));
        std::mt19937 random(3);
        auto m = random_elements(type, r.elements, r.base, r.span, random, r.stride);
        // Every other element holds the nodes of an earlier one, in another order.
        for (size_t e = 1; e < m.cols; e += 2)
            for (size_t k = 0; k < m.rows; ++k) m(k, e) = m(k, e / 4 * 2);
        for (size_t e = 1; e < m.cols; e += 2) std::reverse(&m(0, e), &m(0, e) + 3);
        for (const bool link_non_manifold : {false, true}) {
            dense2D<unsigned> neighbors;
            dense2D<unsigned> expected;
            const int code = plain::get_neighbors(m, type, link_non_manifold, expected);
            ASSERT_EQ(get_neighbors(m, type, link_non_manifold, neighbors), code);
            ASSERT_TRUE(same(neighbors, expected));
        }
    }
}

TEST_P(NeighborsOfType, AreMutual)
{
    std::mt19937 random(5);
    const auto m = random_elements(type, 3000, 0, 40, random);
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(m, type, true, neighbors), 0);
    size_t joined = 0;
    for (size_t e = 0; e < neighbors.cols; ++e)
        for (size_t f = 0; f < neighbors.rows; ++f) {
            const unsigned other = neighbors(f, e);
            if (other == none) continue;
            ++joined;
            const auto back = neighbors.col(other);
            EXPECT_NE(std::count(back.begin(), back.end(), unsigned(e)), 0) << e << " " << f;
        }
    EXPECT_GT(joined, 0u);
}

} // namespace

TEST(GetNeighbors, JoinsTwoTrianglesAcrossTheirCommonEdge)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, none, none}, {none, none, 0}})));
}

TEST(GetNeighbors, JoinsBarsOppositeTheirNodes)
{
    const auto bars = columns<unsigned>({{4, 5}, {5, 6}, {7, 6}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(bars, ET_BAR2, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, none}, {2, 0}, {1, none}})));
}

TEST(GetNeighbors, KeepsTheNumberingsOfTrianglesAndQuadranglesInOneMesh)
{
    const auto faces = columns<unsigned>({{0, 1, 2, 3}, {2, 1, 4, none}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(faces, ET_FACE_MIX, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{none, 1, none, none}, {none, none, 0, none}})));
}

TEST(GetNeighbors, TakesThreeRowsOfMixedFacesForTriangles)
{
    const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_FACE_MIX, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, none, none}, {none, none, 0}})));
}

TEST(GetNeighbors, MatchesAFullSumInThreeRowsOfMixedFacesAsInTriangles)
{
    const auto tria = columns<unsigned>({{0, 1, 0xFFFFFFFE}, {0xFFFFFFFE, 1, 3}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_FACE_MIX, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, none, none}, {none, none, 0}})));

    const auto mixed = columns<unsigned>({{0, 1, 0xFFFFFFFE, none}, {0xFFFFFFFE, 1, 3, none}});
    ASSERT_EQ(get_neighbors(mixed, ET_FACE_MIX, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, dense2D<unsigned>(4, 2, none)));
}

TEST(GetNeighbors, LeavesAnEdgeOfThreeTrianglesOpen)
{
    auto tria = separate_elements(3, 10);
    for (const size_t e : {2, 5, 9}) {
        tria(0, e) = 100;
        tria(1, e) = 101;
    }
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, dense2D<unsigned>(3, 10, none)));
}

TEST(GetNeighbors, LinksTheTwoLowestOfThreeTrianglesOnAnEdge)
{
    auto tria = separate_elements(3, 10);
    for (const size_t e : {2, 5, 9}) {
        tria(0, e) = 100;
        tria(1, e) = 101;
    }
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, true, neighbors), 0);
    dense2D<unsigned> expected(3, 10, none);
    expected(2, 2) = 5;
    expected(2, 5) = 2;
    EXPECT_TRUE(same(neighbors, expected));
}

TEST(GetNeighbors, MakesABarOfOneNodeItsOwnNeighbor)
{
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(columns<unsigned>({{1, 2}, {8, 8}}), ET_BAR2, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{none, none}, {1, 1}})));
}

TEST(GetNeighbors, LinksTheLowestFacesOfAnElementWithThreeEqualOnesToItself)
{
    const auto quad = columns<unsigned>({{3, 4, 3, 4}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(quad, ET_QUAD4, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{none, none, none, none}})));
    ASSERT_EQ(get_neighbors(quad, ET_QUAD4, true, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{0, 0, none, none}})));
}

TEST(GetNeighbors, JoinsATetrahedronAndAPyramidAcrossATriangle)
{
    // The pyramid's first face holds its rows 0, 4 and 1.
    const auto solids = columns<unsigned>(
        {{10, 11, 12, 13, none, 1, 1, 1}, {12, 13, 20, 21, 11, none, none, none}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(solids, ET_SOLID_MIX, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, none, none, none, none, none},
                                                   {0, none, none, none, none, none}})));
}

TEST(GetNeighbors, NeverJoinsATriangleAndAQuadrangle)
{
    // Triangle (1, 2, 3) of the tetrahedron, base (1, 2, 3, 3) of the pyramid.
    const auto solids = columns<unsigned>(
        {{9, 1, 2, 3, none, none, none, none}, {1, 2, 3, 3, 20, none, none, none}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(solids, ET_SOLID_MIX, false, neighbors), 0);
    EXPECT_EQ(neighbors(0, 0), none);
    EXPECT_EQ(neighbors(4, 1), none);
}

TEST(GetNeighbors, TellsQuadranglesOnTheSameNodesApartByTheirCycle)
{
    // Local face 4 holds rows 0 to 3.
    const auto crossed =
        columns<unsigned>({{0, 1, 2, 3, 10, 11, 12, 13}, {0, 2, 1, 3, 20, 21, 22, 23}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(crossed, ET_HEXA8, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, dense2D<unsigned>(6, 2, none)));

    const auto turned =
        columns<unsigned>({{0, 1, 2, 3, 10, 11, 12, 13}, {2, 1, 0, 3, 20, 21, 22, 23}});
    ASSERT_EQ(get_neighbors(turned, ET_HEXA8, false, neighbors), 0);
    EXPECT_EQ(neighbors(4, 0), 1u);
    EXPECT_EQ(neighbors(4, 1), 0u);
}

TEST(GetNeighbors, JoinsTetrahedraWhateverTheOrderOfTheThreeNodes)
{
    for (const auto& other : {columns<unsigned>({{1, 2, 3}}), columns<unsigned>({{1, 3, 2}}),
                              columns<unsigned>({{2, 1, 3}}), columns<unsigned>({{2, 3, 1}}),
                              columns<unsigned>({{3, 1, 2}}), columns<unsigned>({{3, 2, 1}})}) {
        const auto tetra =
            columns<unsigned>({{0, 1, 2, 3}, {9, other(0, 0), other(1, 0), other(2, 0)}});
        dense2D<unsigned> neighbors;
        ASSERT_EQ(get_neighbors(tetra, ET_TETRA4, false, neighbors), 0);
        EXPECT_TRUE(
            same(neighbors, columns<unsigned>({{1, none, none, none}, {0, none, none, none}})));
    }
}

TEST(GetNeighbors, AnchorsARepeatedSmallestNodeAtItsFirstOccurrence)
{
    // Bases (1, 1, 2, 3) and its rotation (1, 2, 3, 1) differ; (1, 3, 2, 1) starts at the same node
    // and runs the other way: from its first 1 backward it reads 1, 1, 2, 3.
    const auto rotated =
        columns<unsigned>({{1, 1, 2, 3, 10, 11, 12, 13}, {1, 2, 3, 1, 20, 21, 22, 23}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(rotated, ET_HEXA8, false, neighbors), 0);
    EXPECT_EQ(neighbors(4, 0), none);
    EXPECT_EQ(neighbors(4, 1), none);

    const auto reversed =
        columns<unsigned>({{1, 1, 2, 3, 10, 11, 12, 13}, {1, 3, 2, 1, 20, 21, 22, 23}});
    ASSERT_EQ(get_neighbors(reversed, ET_HEXA8, false, neighbors), 0);
    EXPECT_EQ(neighbors(4, 0), 1u);
    EXPECT_EQ(neighbors(4, 1), 0u);
}

TEST(GetNeighbors, IsEmptyForAnEmptyConnectivityOfAnyType)
{
    for (const int type : {-1, 0, 2, 3, 5, 6, 8, 11, 12, 21, 22, 1000})
        for (const auto& nothing :
             {dense2D<unsigned>(), dense2D<unsigned>(3, 0), dense2D<unsigned>(7, 0)}) {
            dense2D<unsigned> neighbors(2, 2, 5U);
            EXPECT_EQ(get_neighbors(nothing, element_type(type), false, neighbors), 0);
            EXPECT_EQ(neighbors.rows + neighbors.cols, 0u);
        }
    dense2D<unsigned> no_rows;
    no_rows.cols = 4;
    dense2D<unsigned> neighbors(2, 2, 5U);
    EXPECT_EQ(get_neighbors(no_rows, ET_TRIA6, false, neighbors), 0);
    EXPECT_TRUE(neighbors.empty());
}

TEST(GetNeighbors, EmptiesItsOwnConnectivity)
{
    auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    EXPECT_EQ(get_neighbors(tria, ET_TRIA3, false, tria), 0);
    EXPECT_TRUE(tria.empty());
}

TEST(GetNeighbors, RefusesByTheFirstFault)
{
    const auto of_type = [](element_type type) {
        return separate_elements(element_type_nodes[type], 2);
    };
    const auto with_hole = [&](size_t rows, size_t row) {
        auto m = separate_elements(rows, 2);
        m(row, 1) = none;
        return m;
    };
    const struct {
        dense2D<unsigned> connectM;
        int type;
        int code;
    } ladder[] = {
        {separate_elements(2, 2), ET_TRIA3, -1},
        {separate_elements(4, 2), ET_TRIA3, -1},
        {with_hole(2, 0), ET_BAR2, -1},
        {with_hole(3, 2), ET_TRIA3, -1},
        {with_hole(4, 3), ET_QUAD4, -1},
        {with_hole(4, 2), ET_FACE_MIX, -1},
        {with_hole(3, 2), ET_FACE_MIX, -1},
        {separate_elements(2, 2), ET_FACE_MIX, -1},
        {separate_elements(5, 2), ET_FACE_MIX, -1},
        {with_hole(8, 7), ET_SOLID_MIX, -1},
        {with_hole(8, 3), ET_SOLID_MIX, -1},
        {separate_elements(7, 2), ET_SOLID_MIX, -1},
        // These pass check_IDs, and only columns of 8 are served.
        {separate_elements(4, 2), ET_SOLID_MIX, -1},
        {separate_elements(5, 2), ET_SOLID_MIX, -1},
        {separate_elements(6, 2), ET_SOLID_MIX, -1},
        {with_hole(6, 5), ET_SOLID_MIX, -1},
        // Unserved types with a bad connectivity.
        {separate_elements(3, 2), ET_TRIA6, -1},
        {with_hole(6, 1), ET_TRIA6, -1},
        {separate_elements(3, 2), ET_NONE, -1},
        {separate_elements(3, 2), 2, -1},
        {separate_elements(3, 2), 21, -1},
        {separate_elements(3, 2), 22, -1},
        {separate_elements(3, 2), -1, -1},
        {separate_elements(3, 2), INT_MAX, -1},
        {separate_elements(3, 2), INT_MIN, -1},
        // Unserved types with a good one.
        {of_type(ET_NODE), ET_NODE, -2},
        {of_type(ET_BAR3), ET_BAR3, -2},
        {of_type(ET_TRIA6), ET_TRIA6, -2},
        {of_type(ET_QUAD8), ET_QUAD8, -2},
        {of_type(ET_QUAD9), ET_QUAD9, -2},
        {of_type(ET_TETRA10), ET_TETRA10, -2},
        {of_type(ET_PYRA14), ET_PYRA14, -2},
        {of_type(ET_PENTA18), ET_PENTA18, -2},
        {of_type(ET_HEXA20), ET_HEXA20, -2},
        {of_type(ET_HEXA27), ET_HEXA27, -2},
    };
    for (const auto& rung : ladder) {
        SCOPED_TRACE(std::to_string(rung.connectM.rows) + " rows, type " +
                     std::to_string(rung.type));
        const auto before = duplicate(rung.connectM);
        dense2D<unsigned> neighbors(2, 2, 5U);
        EXPECT_EQ(get_neighbors(rung.connectM, element_type(rung.type), false, neighbors),
                  rung.code);
        EXPECT_EQ(neighbors.rows + neighbors.cols, 0u);
        EXPECT_TRUE(same(rung.connectM, before));

        // With memory exhausted too, the earlier check still speaks.
        const allocation::fail_containers containers(1, true);
        const allocation::fail_new standard(1, true);
        EXPECT_EQ(get_neighbors(rung.connectM, element_type(rung.type), false, neighbors),
                  rung.code);
    }
}

TEST(GetNeighbors, ReusesTheStorageOfTheResult)
{
    const auto tria = separate_elements(3, 20);
    dense2D<unsigned> neighbors(3, 20, 7U);
    const unsigned* storage = neighbors.vec->data;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    EXPECT_EQ(neighbors.vec->data, storage);
    EXPECT_TRUE(same(neighbors, dense2D<unsigned>(3, 20, none)));
}

// Fans about nodes of their own, begun before others end: many faces share each of these nodes, a few
// more or less than the blocks that are used again hold.
TEST(GetNeighbors, AgreesWithThePlainVersionOnFansOfManySizes)
{
    for (const unsigned spokes : {11U, 12U, 15U, 16U, 17U, 31U, 32U, 33U})
        for (const unsigned window : {1U, 20U, 300U}) {
            std::mt19937 random(spokes);
            std::vector<std::array<unsigned, 3>> fans;
            for (unsigned fan = 0; fan < 100; ++fan) {
                const unsigned apex = fan * (spokes + 1);
                for (unsigned k = 0; k < spokes; ++k)
                    fans.push_back({apex, apex + 1 + k, apex + 1 + (k + 1) % spokes});
            }
            for (size_t e = 0; e < fans.size(); e += window / 2 + 1)
                std::shuffle(fans.begin() + long(e),
                             fans.begin() + long(std::min<size_t>(e + window, fans.size())),
                             random);
            dense2D<unsigned> tria(3, fans.size());
            for (size_t e = 0; e < fans.size(); ++e)
                std::rotate_copy(fans[e].begin(), fans[e].begin() + random() % 3, fans[e].end(),
                                 &tria(0, e));
            dense2D<unsigned> neighbors;
            dense2D<unsigned> expected;
            ASSERT_EQ(plain::get_neighbors(tria, ET_TRIA3, false, expected), 0);
            ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
            ASSERT_TRUE(same(neighbors, expected)) << spokes << ' ' << window;
        }
}

TEST(GetNeighbors, LinksAClosedSurfaceOnEveryEdge)
{
    const auto octahedron = columns<unsigned>(
        {{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}, {1, 0, 5}, {2, 1, 5}, {3, 2, 5}, {0, 3, 5}});
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(octahedron, ET_TRIA3, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, columns<unsigned>({{1, 3, 4},
                                                   {2, 0, 5},
                                                   {3, 1, 6},
                                                   {0, 2, 7},
                                                   {7, 5, 0},
                                                   {4, 6, 1},
                                                   {5, 7, 2},
                                                   {6, 4, 3}})));
}

TEST(GetNeighbors, FindsTheSixHexahedraAroundEachInAGrid)
{
    constexpr unsigned n = 12;
    const auto node = [](unsigned x, unsigned y, unsigned z) {
        return x + (n + 1) * (y + (n + 1) * z);
    };
    dense2D<unsigned> hexa(8, n * n * n);
    dense2D<unsigned> expected(6, n * n * n, none);
    for (unsigned e = 0; e < n * n * n; ++e) {
        const unsigned x = e % n;
        const unsigned y = e / n % n;
        const unsigned z = e / n / n;
        for (unsigned k = 0; k < 8; ++k)
            hexa(k, e) = node(x + (k % 4 == 1 || k % 4 == 2), y + (k % 4 >= 2), z + k / 4);
        if (x > 0) expected(0, e) = e - 1;
        if (x + 1 < n) expected(1, e) = e + 1;
        if (y > 0) expected(2, e) = e - n;
        if (y + 1 < n) expected(3, e) = e + n;
        if (z > 0) expected(4, e) = e - n * n;
        if (z + 1 < n) expected(5, e) = e + n * n;
    }
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(hexa, ET_HEXA8, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, expected));
}

// The next four would take time that grows with the square of the elements if runs of faces with
// one key, one node or one sum were compared pair by pair.
TEST(GetNeighbors, TakesAnElementRepeatedManyTimes)
{
    constexpr size_t n = 200000;
    dense2D<unsigned> tetra(4, n);
    for (size_t e = 0; e < n; ++e)
        for (unsigned k = 0; k < 4; ++k) tetra(k, e) = k;
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tetra, ET_TETRA4, true, neighbors), 0);
    dense2D<unsigned> expected(4, n, none);
    for (unsigned f = 0; f < 4; ++f) {
        expected(f, 0) = 1;
        expected(f, 1) = 0;
    }
    EXPECT_TRUE(same(neighbors, expected));
}

TEST(GetNeighbors, TakesAFanAroundOneNode)
{
    constexpr unsigned n = 200000;
    dense2D<unsigned> tria(3, n);
    dense2D<unsigned> expected(3, n, none);
    for (unsigned e = 0; e < n; ++e) {
        tria(0, e) = 0;
        tria(1, e) = e + 1;
        tria(2, e) = (e + 1) % n + 1;
        expected(1, e) = (e + 1) % n;
        expected(2, e) = (e + n - 1) % n;
    }
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, expected));
}

TEST(GetNeighbors, TakesAFanAroundOneNodeWhereNodesAreFarApart)
{
    constexpr unsigned n = 200000;
    dense2D<unsigned> tria(3, n);
    dense2D<unsigned> expected(3, n, none);
    for (unsigned e = 0; e < n; ++e) {
        tria(0, e) = 7;
        tria(1, e) = 20000 * (e + 1);
        tria(2, e) = 20000 * ((e + 1) % n + 1);
        expected(1, e) = (e + 1) % n;
        expected(2, e) = (e + n - 1) % n;
    }
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, expected));
}

TEST(GetNeighbors, TakesEdgesThatAllHaveOneSum)
{
    constexpr unsigned n = 200000;
    dense2D<unsigned> tria(3, 2 * n);
    dense2D<unsigned> expected(3, 2 * n, none);
    for (unsigned e = 0; e < n; ++e) {
        tria(0, e) = tria(1, e + n) = e;
        tria(1, e) = tria(0, e + n) = 2 * n - e;
        tria(2, e) = 3 * n + e;
        tria(2, e + n) = 4 * n + e;
        expected(2, e) = e + n;
        expected(2, e + n) = e;
    }
    dense2D<unsigned> neighbors;
    ASSERT_EQ(get_neighbors(tria, ET_TRIA3, false, neighbors), 0);
    EXPECT_TRUE(same(neighbors, expected));
}
