#include <array>
#include <string>
#include <vector>

#include <kz3/lattiq/quality.h>

#include "plain/quality/edge_set.h"
#include "support/allocation.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

/// One column 10, 11, 12, ... of n rows.
dense2D<unsigned> one_element(unsigned n)
{
    dense2D<unsigned> m(n, 1);
    for (unsigned k = 0; k < n; ++k) m(k, 0) = 10 + k;
    return m;
}

/// Edges of that element given by its rows, in the order of a plain table.
dense2D<unsigned> in_order(const std::vector<std::array<unsigned, 2>>& rows)
{
    plain::edge_set set;
    for (const auto& r : rows) set.insert(10 + r[0], 10 + r[1]);
    dense2D<unsigned> list;
    for (const auto& e : set.ordered()) list.push_back({e[0], e[1]});
    return list;
}

const auto two_triangles = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
const auto two_triangles_edges = columns<unsigned>({{1, 2}, {0, 1}, {2, 0}, {1, 3}, {3, 2}});

struct kind_edges {
    const char* name;
    element_type type;
    unsigned nodes;
    std::vector<std::array<unsigned, 2>> rows;
};

const std::vector<std::array<unsigned, 2>> tria_edges = {{1, 2}, {2, 0}, {0, 1}};
const std::vector<std::array<unsigned, 2>> quad_edges = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
const std::vector<std::array<unsigned, 2>> tetra_edges = {{1, 2}, {2, 0}, {0, 1},
                                                          {3, 0}, {3, 1}, {3, 2}};
const std::vector<std::array<unsigned, 2>> pyramid_edges = {{0, 4}, {1, 4}, {2, 4}, {3, 4},
                                                            {0, 1}, {1, 2}, {2, 3}, {3, 0}};
const std::vector<std::array<unsigned, 2>> wedge_edges = {{0, 3}, {1, 4}, {2, 5}, {1, 2}, {2, 0},
                                                          {0, 1}, {4, 5}, {5, 3}, {3, 4}};
const std::vector<std::array<unsigned, 2>> hexa_edges = {
    {0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

class CopyEdgesOfKind : public testing::TestWithParam<kind_edges> {};

} // namespace

TEST_P(CopyEdgesOfKind, JoinsTheCornersInTheDirectionsOfItsRows)
{
    const kind_edges& kind = GetParam();
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(one_element(kind.nodes), kind.type, edges), 0);
    EXPECT_TRUE(same(edges, in_order(kind.rows)));
}

INSTANTIATE_TEST_SUITE_P(
    AllKinds, CopyEdgesOfKind,
    testing::Values(
        kind_edges{"node", ET_NODE, 1, {}}, kind_edges{"bar2", ET_BAR2, 2, {{0, 1}}},
        kind_edges{"bar3", ET_BAR3, 3, {{0, 1}}}, kind_edges{"tria3", ET_TRIA3, 3, tria_edges},
        kind_edges{"tria6", ET_TRIA6, 6, tria_edges}, kind_edges{"quad4", ET_QUAD4, 4, quad_edges},
        kind_edges{"quad8", ET_QUAD8, 8, quad_edges}, kind_edges{"quad9", ET_QUAD9, 9, quad_edges},
        kind_edges{"tetra4", ET_TETRA4, 4, tetra_edges},
        kind_edges{"tetra10", ET_TETRA10, 10, tetra_edges},
        kind_edges{"pyra5", ET_PYRA5, 5, pyramid_edges},
        kind_edges{"pyra14", ET_PYRA14, 14, pyramid_edges},
        kind_edges{"penta6", ET_PENTA6, 6, wedge_edges},
        kind_edges{"penta18", ET_PENTA18, 18, wedge_edges},
        kind_edges{"hexa8", ET_HEXA8, 8, hexa_edges}, kind_edges{"hexa20", ET_HEXA20, 20, {}},
        kind_edges{"hexa27", ET_HEXA27, 27, hexa_edges},
        kind_edges{"face_mix_of_3_rows", ET_FACE_MIX, 3, tria_edges},
        kind_edges{"face_mix_of_4_rows", ET_FACE_MIX, 4, quad_edges},
        kind_edges{"solid_mix_of_4_rows", ET_SOLID_MIX, 4, tetra_edges},
        kind_edges{"solid_mix_of_5_rows", ET_SOLID_MIX, 5, pyramid_edges},
        kind_edges{"solid_mix_of_6_rows", ET_SOLID_MIX, 6, wedge_edges},
        kind_edges{"solid_mix_of_8_rows", ET_SOLID_MIX, 8, hexa_edges}),
    [](const auto& name_of) { return std::string(name_of.param.name); });

TEST(CopyEdges, KeepsTheDirectionOfTheFirstTriangleOnASharedEdge)
{
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(two_triangles, ET_TRIA3, edges), 0);
    EXPECT_TRUE(same(edges, two_triangles_edges));
}

TEST(CopyEdges, AppendsTheListAgainWhenCalledAgain)
{
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(two_triangles, ET_TRIA3, edges), 0);
    EXPECT_EQ(copy_edges(two_triangles, ET_TRIA3, edges), 0);
    EXPECT_TRUE(same(
        edges,
        columns<unsigned>(
            {{1, 2}, {0, 1}, {2, 0}, {1, 3}, {3, 2}, {1, 2}, {0, 1}, {2, 0}, {1, 3}, {3, 2}})));
}

TEST(CopyEdges, EndsAMixedFaceAtItsHole)
{
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(columns<unsigned>({{10, 11, 12, none}}), ET_FACE_MIX, edges), 0);
    EXPECT_TRUE(same(edges, in_order(tria_edges)));
}

TEST(CopyEdges, EndsAMixedSolidAtItsFirstHole)
{
    struct {
        dense2D<unsigned> connectM;
        std::vector<std::array<unsigned, 2>> rows;
    } const cases[] = {
        {columns<unsigned>({{10, 11, 12, 13, none, 15, 16, 17}}), tetra_edges},
        {columns<unsigned>({{10, 11, 12, 13, 14, none, 16, 17}}), pyramid_edges},
        {columns<unsigned>({{10, 11, 12, 13, 14, 15, none, 17}}), wedge_edges},
        {columns<unsigned>({{10, 11, 12, 13, none}}), tetra_edges},
        {columns<unsigned>({{10, 11, 12, 13, 14, none}}), pyramid_edges},
        {columns<unsigned>({{10, 11, 12, 13, none, none}}), tetra_edges},
    };
    for (const auto& c : cases) {
        dense2D<unsigned> edges;
        EXPECT_EQ(copy_edges(c.connectM, ET_SOLID_MIX, edges), 0);
        EXPECT_TRUE(same(edges, in_order(c.rows))) << c.connectM.rows << " rows";
    }
}

TEST(CopyEdges, LooksAtEachColumnOfAMixedMatrixForItself)
{
    // Quadrangle 0 1 2 3 and triangle 2 1 4. Buckets: (1,2) 1, (3,0) 1, (0,1) 3, (4,2) 0, (1,4) 7,
    // (2,3) 7.
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(columns<unsigned>({{0, 1, 2, 3}, {2, 1, 4, none}}), ET_FACE_MIX, edges),
              0);
    EXPECT_TRUE(same(edges, columns<unsigned>({{4, 2}, {3, 0}, {1, 2}, {0, 1}, {1, 4}, {2, 3}})));
}

TEST(CopyEdges, KeepsOneSetOverARange)
{
    // The bar runs along an edge of the first triangle, against it.
    const dense2D<unsigned> meshes[] = {two_triangles, columns<unsigned>({{2, 1}, {8, 1}})};
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(meshes, meshes + 2, dense1D<int>{ET_TRIA3, ET_BAR2}, edges), 0);
    EXPECT_TRUE(same(edges, columns<unsigned>({{1, 2}, {0, 1}, {8, 1}, {2, 0}, {1, 3}, {3, 2}})));
}

TEST(CopyEdges, MeetsTheMatricesOfARangeInOrder)
{
    const dense2D<unsigned> meshes[] = {columns<unsigned>({{2, 1}}), two_triangles};
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(meshes, meshes + 2, dense1D<int>{ET_BAR2, ET_TRIA3}, edges), 0);
    EXPECT_TRUE(same(edges, columns<unsigned>({{2, 1}, {0, 1}, {2, 0}, {1, 3}, {3, 2}})));
}

TEST(CopyEdges, TakesNodesUpToTheLastId)
{
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(columns<unsigned>({{none - 1, 0}}), ET_BAR2, edges), 0);
    EXPECT_TRUE(same(edges, columns<unsigned>({{none - 1, 0}})));
}

TEST(CopyEdges, ReturnsTheCodeOfTheFirstFault)
{
    const auto bar = columns<unsigned>({{0, 1}});
    const auto hole = columns<unsigned>({{0, none, 2}});
    const auto list = columns<unsigned>({{5, 6}});
    const auto three_rows = columns<unsigned>({{5, 6, 7}});
    struct {
        const char* fault;
        dense2D<unsigned> connectM;
        element_type type;
        dense2D<unsigned> edges;
        int code;
    } const ladder[] = {
        {"empty, with a type of other rows and edges of 3 rows", dense2D<unsigned>(3, 0), ET_HEXA8,
         three_rows, 0},
        {"no rows", dense2D<unsigned>(0, 3), ET_TRIA3, three_rows, 0},
        {"empty, with a type outside the kinds", dense2D<unsigned>(), element_type(77), list, 0},
        {"rows of another kind", bar, ET_TRIA3, list, -1},
        {"a hole", hole, ET_TRIA3, list, -1},
        {"a type without nodes", bar, ET_NONE, list, -1},
        {"a type outside the kinds", bar, element_type(77), list, -1},
        {"a type below the kinds", bar, element_type(-1), list, -1},
        {"a hole, and edges of 3 rows", hole, ET_TRIA3, three_rows, -1},
        {"edges of 3 rows", bar, ET_BAR2, three_rows, -3},
    };
    for (const auto& rung : ladder) {
        auto edges = duplicate(rung.edges);
        EXPECT_EQ(copy_edges(rung.connectM, rung.type, edges), rung.code) << rung.fault;
        EXPECT_TRUE(same(edges, rung.edges)) << rung.fault;
    }
}

TEST(CopyEdges, ReturnsTheCodeOfTheFirstFaultOfARange)
{
    const dense2D<unsigned> good[] = {columns<unsigned>({{0, 1}}), columns<unsigned>({{0, 1, 2}})};
    const dense2D<unsigned> bad[] = {columns<unsigned>({{0, 1}}),
                                     columns<unsigned>({{0, none, 2}})};
    const dense1D<int> types{ET_BAR2, ET_TRIA3};
    const dense1D<int> one_type{ET_BAR2};
    const auto list = columns<unsigned>({{5, 6}});
    const auto three_rows = columns<unsigned>({{5, 6, 7}});
    struct {
        const char* fault;
        const dense2D<unsigned>* first;
        const dense2D<unsigned>* last;
        dense1D<int> types;
        dense2D<unsigned> edges;
        int code;
    } const ladder[] = {
        {"last before first", good + 2, good, types, list, -2},
        {"last before first, and too few types", good + 2, good, one_type, list, -2},
        {"too few types", good, good + 2, one_type, list, -3},
        {"too many types", good, good + 1, types, list, -3},
        {"too few types, and edges of 3 rows", good, good + 2, one_type, three_rows, -3},
        {"edges of 3 rows", good, good + 2, types, three_rows, -4},
        {"edges of 3 rows, and a hole", bad, bad + 2, types, three_rows, -4},
        {"a hole", bad, bad + 2, types, list, -1},
        {"a type outside the kinds", good, good + 2, dense1D<int>{ET_BAR2, 99}, list, -1},
        {"edges of 3 rows for an empty range", good, good, dense1D<int>(), three_rows, -4},
        {"none: an empty range", good, good, dense1D<int>(), list, 0},
    };
    for (const auto& rung : ladder) {
        auto edges = duplicate(rung.edges);
        EXPECT_EQ(copy_edges(rung.first, rung.last, rung.types, edges), rung.code) << rung.fault;
        EXPECT_TRUE(same(edges, rung.edges)) << rung.fault;
    }
}

TEST(CopyEdges, TakesAnyTypeForAnEmptyMatrixOfARange)
{
    const dense2D<unsigned> meshes[] = {dense2D<unsigned>(0, 4), columns<unsigned>({{0, 1}})};
    dense2D<unsigned> edges;
    EXPECT_EQ(copy_edges(meshes, meshes + 2, dense1D<int>{99, ET_BAR2}, edges), 0);
    EXPECT_EQ(copy_edges(meshes, meshes + 2, dense1D<int>{ET_TRIA3, ET_BAR2}, edges), 0);
    EXPECT_TRUE(same(edges, columns<unsigned>({{0, 1}, {0, 1}})));
}

TEST(CopyEdges, LeavesTheListAsItIsWhereThereAreNoEdges)
{
    const auto list = columns<unsigned>({{5, 6}});
    auto edges = duplicate(list);
    EXPECT_EQ(copy_edges(one_element(20), ET_HEXA20, edges), 0);
    EXPECT_TRUE(same(edges, list));
}

TEST(CopyEdges, TakesAnEmptyListOfAnyRows)
{
    dense2D<unsigned> edges(3, 0);
    EXPECT_EQ(copy_edges(two_triangles, ET_TRIA3, edges), 0);
    EXPECT_TRUE(same(edges, two_triangles_edges));
    dense2D<unsigned> no_rows(0, 9);
    EXPECT_EQ(copy_edges(two_triangles, ET_TRIA3, no_rows), 0);
    EXPECT_TRUE(same(no_rows, two_triangles_edges));
}

TEST(CopyEdges, ReadsAndAppendsToViews)
{
    const strided<unsigned> mesh(two_triangles);
    strided<unsigned> list(columns<unsigned>({{5, 6}, {7, 8}}));
    EXPECT_EQ(copy_edges(mesh.view, ET_TRIA3, list.view), 0);
    EXPECT_TRUE(mesh.gaps_untouched());
    EXPECT_TRUE(same(list.view.sub_matrix(0, 0, 2, 2), columns<unsigned>({{5, 6}, {7, 8}})));
    EXPECT_TRUE(same(list.view.sub_matrix(0, 2, 2, 5), two_triangles_edges));
}

TEST(CopyEdges, AppendsToTheListItReads)
{
    auto edges = columns<unsigned>({{1, 3}, {0, 1}, {1, 0}});
    EXPECT_EQ(copy_edges(edges, ET_BAR2, edges), 0);
    EXPECT_TRUE(same(edges, columns<unsigned>({{1, 3}, {0, 1}, {1, 0}, {0, 1}, {1, 3}})));
}

TEST(CopyEdges, ReportsExhaustedMemoryAndLeavesTheList)
{
    const dense2D<unsigned> meshes[] = {two_triangles};
    const dense1D<int> types{ET_TRIA3};
    const size_t before = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const auto refused = allocation::sweep<allocation::fail_containers>(
            [&](size_t n, auto broken) {
                auto edges = columns<unsigned>({{5, 6}});
                const int code = broken([&] { return copy_edges(meshes[0], ET_TRIA3, edges); });
                EXPECT_EQ(code, n == 1 ? -199 : 0);
                EXPECT_EQ(edges.cols, n == 1 ? 1u : 6u);
                EXPECT_EQ(edges(0, 0), 5u);
            },
            onwards);
        EXPECT_EQ(refused, 1u); // the reserve of the list, and nothing after it
        const auto refused_range = allocation::sweep<allocation::fail_containers>(
            [&](size_t n, auto broken) {
                dense2D<unsigned> edges;
                const int code =
                    broken([&] { return copy_edges(meshes, meshes + 1, types, edges); });
                EXPECT_EQ(code, n == 1 ? -199 : 0);
                EXPECT_EQ(edges.cols, n == 1 ? 0u : 5u);
            },
            onwards);
        EXPECT_EQ(refused_range, 1u);
    }
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(CopyEdges, LeavesTheListWhenAWorkTableFindsNoMemory)
{
    const size_t before = allocation::live_blocks();
    const auto refused = allocation::sweep<allocation::fail_new>([&](size_t, auto broken) {
        auto edges = columns<unsigned>({{5, 6}});
        try {
            EXPECT_EQ(broken([&] { return copy_edges(two_triangles, ET_TRIA3, edges); }), 0);
            EXPECT_EQ(edges.cols, 6u);
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(same(edges, columns<unsigned>({{5, 6}})));
        }
    });
    EXPECT_GE(refused, 3u);
    EXPECT_EQ(allocation::live_blocks(), before);
}
