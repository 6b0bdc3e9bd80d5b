#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "plain/formats/random_mesh.h"
#include "plain/formats/vtk.h"
#include "support/comma_locale.h"
#include "support/exhausted.h"
#include "support/files.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

// ---- vtk_convert ----

struct lists {
    unsigned ncells = 0;
    dense1D<unsigned> cells;
    dense1D<unsigned> cell_types;

    int convert(const dense2D<unsigned>& connectM, int type)
    {
        return vtk_convert(connectM, element_type(type), ncells, cells, cell_types);
    }
};

struct linear_kind {
    int type;
    unsigned cell_type;
    unsigned corners;
};

struct VtkConvertKinds : testing::TestWithParam<linear_kind> {};

TEST_P(VtkConvertKinds, TurnsCornersAndOtherNodesIntoCells)
{
    const auto [type, cell_type, corners] = GetParam();
    const unsigned rows = element_type_nodes[type];
    dense2D<unsigned> connectM(rows, 2, 0);
    for (unsigned k = 0; k < rows; ++k) connectM(k, 0) = 10 + k, connectM(k, 1) = 50 + k;
    dense1D<unsigned> cells;
    dense1D<unsigned> cell_types;
    for (const unsigned first : {10U, 50U}) {
        cells.push_back(corners);
        for (unsigned k = 0; k < corners; ++k) cells.push_back(first + k);
        if (cell_type == 10) cells[cells.size - 2] = first + 3, cells[cells.size - 1] = first + 2;
        cell_types.push_back(cell_type);
        if (rows == corners) continue;
        cells.push_back(rows - corners);
        for (unsigned k = corners; k < rows; ++k) cells.push_back(first + k);
        cell_types.push_back(2);
    }

    lists l;
    ASSERT_EQ(l.convert(connectM, type), 0);
    EXPECT_EQ(l.ncells, rows == corners ? 2U : 4U);
    EXPECT_TRUE(same(l.cells, cells));
    EXPECT_TRUE(same(l.cell_types, cell_types));
}

INSTANTIATE_TEST_SUITE_P(
    All, VtkConvertKinds,
    testing::Values(linear_kind{ET_BAR2, 3, 2}, linear_kind{ET_BAR3, 3, 2},
                    linear_kind{ET_TRIA3, 5, 3}, linear_kind{ET_TRIA6, 5, 3},
                    linear_kind{ET_QUAD4, 9, 4}, linear_kind{ET_QUAD8, 9, 4},
                    linear_kind{ET_QUAD9, 9, 4}, linear_kind{ET_TETRA4, 10, 4},
                    linear_kind{ET_TETRA10, 10, 4}, linear_kind{ET_PYRA5, 14, 5},
                    linear_kind{ET_PYRA14, 14, 5}, linear_kind{ET_PENTA6, 13, 6},
                    linear_kind{ET_PENTA18, 13, 6}, linear_kind{ET_HEXA8, 12, 8},
                    linear_kind{ET_HEXA20, 12, 8}, linear_kind{ET_HEXA27, 12, 8}),
    [](const auto& of) { return "Type" + std::to_string(of.param.type); });

TEST(VtkConvert, SwapsTheLastCornersOfATetrahedronAndAddsItsOtherNodes)
{
    lists l;
    ASSERT_EQ(l.convert(columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}}), ET_TETRA10), 0);
    EXPECT_EQ(l.ncells, 2U);
    EXPECT_TRUE(same(l.cells, {4, 0, 1, 3, 2, 6, 4, 5, 6, 7, 8, 9}));
    EXPECT_TRUE(same(l.cell_types, {10, 2}));
}

TEST(VtkConvert, PutsTheMiddleOfAQuadrangleWithItsOtherNodes)
{
    lists l;
    ASSERT_EQ(l.convert(columns<unsigned>({{8, 7, 6, 5, 4, 3, 2, 1, 0}}), ET_QUAD9), 0);
    EXPECT_TRUE(same(l.cells, {4, 8, 7, 6, 5, 5, 4, 3, 2, 1, 0}));
    EXPECT_TRUE(same(l.cell_types, {9, 2}));
}

TEST(VtkConvert, PutsTheMiddleOfABarIntoACellOfOne)
{
    lists l;
    ASSERT_EQ(l.convert(columns<unsigned>({{7, 9, 8}}), ET_BAR3), 0);
    EXPECT_TRUE(same(l.cells, {2, 7, 9, 1, 8}));
    EXPECT_TRUE(same(l.cell_types, {3, 2}));
}

TEST(VtkConvert, AppendsToWhatTheListsHold)
{
    lists l;
    ASSERT_EQ(l.convert(columns<unsigned>({{0, 1, 2}}), ET_TRIA3), 0);
    ASSERT_EQ(l.convert(columns<unsigned>({{4, 5, 6, 7}, {0, 1, 2, 3}}), ET_TETRA4), 0);
    EXPECT_EQ(l.ncells, 3U);
    EXPECT_TRUE(same(l.cells, {3, 0, 1, 2, 4, 4, 5, 7, 6, 4, 0, 1, 3, 2}));
    EXPECT_TRUE(same(l.cell_types, {5, 10, 10}));
}

TEST(VtkConvert, ChecksNoNodeCount)
{
    lists l;
    ASSERT_EQ(l.convert(columns<unsigned>({{0xFFFFFFFE, 1}}), ET_BAR2), 0);
    EXPECT_TRUE(same(l.cells, {2, 0xFFFFFFFE, 1}));
}

TEST(VtkConvert, ReadsStridedViewsAndWritesBehindViews)
{
    const strided<unsigned> tria(columns<unsigned>({{0, 1, 2}, {2, 1, 3}}));
    dense1D<unsigned> parent{70, 71, 72, 73};
    unsigned ncells = 0;
    dense1D<unsigned> cells = parent.sub_vector(1, 1);
    dense1D<unsigned> cell_types;
    ASSERT_EQ(vtk_convert(tria.view, ET_TRIA3, ncells, cells, cell_types), 0);
    EXPECT_TRUE(same(cells, {71, 3, 0, 1, 2, 3, 2, 1, 3}));
    EXPECT_EQ(parent[0], 70U);
    EXPECT_TRUE(tria.gaps_untouched());
}

TEST(VtkConvert, ReadsAMatrixThatSharesItsStorageWithTheCells)
{
    dense1D<unsigned> cells{1, 2, 0};
    dense2D<unsigned> connectM = dense2D<unsigned>::wrap(nullptr, 3, 1);
    connectM.vec = cells.vec;
    dense1D<unsigned> cell_types;
    unsigned ncells = 0;
    ASSERT_EQ(vtk_convert(connectM, ET_TRIA3, ncells, cells, cell_types), 0);
    EXPECT_TRUE(same(cells, {1, 2, 0, 3, 1, 2, 0}));
}

TEST(VtkConvert, GrowsEachListOnce)
{
    const dense2D<unsigned> tetra(10, 1000, 3);
    lists l;
    const std::size_t before = allocation::calls();
    ASSERT_EQ(l.convert(tetra, ET_TETRA10), 0);
    EXPECT_EQ(allocation::calls(), before + 2);
    EXPECT_EQ(l.ncells, 2000U);
    EXPECT_EQ(l.cells.size, 12000U);
}

struct refusal {
    const char* fault;
    dense2D<unsigned> connectM;
    int type;
    int code;
};

TEST(VtkConvert, RefusesByTheFirstFaultAndLeavesTheListsAlone)
{
    const auto four = columns<unsigned>({{0, 1, 2, 3}});
    const refusal refusals[] = {
        {"hole", columns<unsigned>({{0, none}}), ET_BAR2, -1},
        {"rows", four, ET_BAR2, -1},
        {"more rows than nodes", four, ET_TRIA3, -1},
        {"rows and no cell type", four, ET_NODE, -1},
        {"mixed rows", columns<unsigned>({{0, 1}}), ET_FACE_MIX, -1},
        {"type below all", four, -1, -1},
        {"type none", four, ET_NONE, -1},
        {"type above all", four, 21, -1},
        {"type far above all", four, 1 << 30, -1},
        {"nodes", columns<unsigned>({{0}}), ET_NODE, -2},
        {"mixed faces", four, ET_FACE_MIX, -2},
        {"mixed solids", four, ET_SOLID_MIX, -2},
        {"empty below all", dense2D<unsigned>(), -1, -2},
        {"empty none", dense2D<unsigned>(), ET_NONE, -2},
        {"empty unassigned", dense2D<unsigned>(), 2, -2},
        {"empty above all", dense2D<unsigned>(), 21, -2},
        {"empty far above all", dense2D<unsigned>(), 1 << 30, -2},
        {"empty mixed", dense2D<unsigned>(), ET_FACE_MIX, -2},
        {"empty", dense2D<unsigned>(), ET_BAR2, -1},
        {"no rows", dense2D<unsigned>(0, 4, 0), ET_TRIA3, -1},
        {"too few rows, no columns", dense2D<unsigned>(3, 0, 0), ET_TETRA4, -1},
    };
    for (const refusal& r : refusals) {
        lists l{7, {1, 9}, {1}};
        EXPECT_EQ(l.convert(r.connectM, r.type), r.code) << r.fault;
        EXPECT_EQ(l.ncells, 7U) << r.fault;
        EXPECT_TRUE(same(l.cells, {1, 9})) << r.fault;
        EXPECT_TRUE(same(l.cell_types, {1})) << r.fault;
    }
}

TEST(VtkConvert, AddsNothingForNoColumns)
{
    for (const std::size_t rows : {4U, 5U, 100U}) {
        lists l{7, {1, 9}, {1}};
        EXPECT_EQ(l.convert(dense2D<unsigned>(rows, 0, 0), ET_TETRA4), 0);
        EXPECT_EQ(l.ncells, 7U);
        EXPECT_TRUE(same(l.cells, {1, 9}));
        EXPECT_TRUE(same(l.cell_types, {1}));
    }
}

TEST(VtkConvert, LeavesTheListsAloneWhenMemoryIsExhausted)
{
    const dense2D<unsigned> tria(6, 100, 1);
    for (const std::size_t n : {1U, 2U}) {
        lists l{7, {1, 9}, {1}};
        const allocation::fail_containers refused(n);
        EXPECT_EQ(l.convert(tria, ET_TRIA6), -199);
        EXPECT_EQ(l.ncells, 7U);
        EXPECT_TRUE(same(l.cells, {1, 9}));
        EXPECT_TRUE(same(l.cell_types, {1}));
    }
    EXPECT_GT(exhaust<allocation::fail_containers>({-199},
                                                   [&] { return lists().convert(tria, ET_TRIA6); }),
              0U);
    lists l;
    const allocation::fail_new all(1, true);
    EXPECT_EQ(l.convert(tria, ET_TRIA6), 0);
}

// ---- vtk_output to a stream ----

const std::string head = "# vtk DataFile Version 2.0\nGenerated by KZ3 Lattiq(TM).\nASCII\n"
                         "DATASET UNSTRUCTURED_GRID\n\nPOINTS 3 double\n"
                         "0.000000 0.000000 0.000000\n1.000000 0.000000 0.000000\n"
                         "0.000000 1.000000 0.000000\n";
const std::string no_cells = "\nCELLS 0 0\n\nCELL_TYPES 0\n";

dense2D<double> triangle()
{
    return columns<double>({{0, 0}, {1, 0}, {0, 1}});
}

std::string written(const dense2D<double>& pos, unsigned ncells, const dense1D<unsigned>& cells,
                    const dense1D<unsigned>& cell_types)
{
    const temporary_file file;
    std::FILE* stream = std::fopen(file.name(), "w");
    EXPECT_EQ(vtk_output(stream, pos, ncells, cells, cell_types), 0);
    std::fclose(stream);
    return file.read();
}

TEST(VtkStream, WritesBehindWhatTheCallerHasBufferedAndStaysOpen)
{
    const temporary_file file;
    std::FILE* stream = std::fopen(file.name(), "w");
    std::fprintf(stream, "before\n");
    ASSERT_EQ(vtk_output(stream, triangle(), 1, {3, 0, 1, 2}, {5}), 0);
    std::fprintf(stream, "after\n");
    ASSERT_EQ(std::fclose(stream), 0);
    EXPECT_TRUE(same_text(file.read(),
                          "before\n" + head + "\nCELLS 1 4\n3 0 1 2 \n\nCELL_TYPES 1\n5\nafter\n"));
}

TEST(VtkStream, WritesFromThePresentPositionOn)
{
    const temporary_file file("0123456789");
    std::FILE* stream = std::fopen(file.name(), "r+");
    std::fseek(stream, 4, SEEK_SET);
    ASSERT_EQ(vtk_output(stream, triangle(), 0, {}, {}), 0);
    ASSERT_EQ(std::fclose(stream), 0);
    EXPECT_TRUE(same_text(file.read(), "0123" + head + no_cells));
}

TEST(VtkStream, PrintsCoordinatesWithSixDecimals)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(same_text(
        written(columns<double>({{1e-7, -1e-7, 123456789.123456789},
                                 {nan, -std::numeric_limits<double>::infinity(), 0.0000005},
                                 {1e22, -0.0, 2.5}}),
                0, {}, {}),
        "# vtk DataFile Version 2.0\nGenerated by KZ3 Lattiq(TM).\nASCII\n"
        "DATASET UNSTRUCTURED_GRID\n\nPOINTS 3 double\n"
        "0.000000 -0.000000 123456789.123457\nnan -inf 0.000000\n"
        "10000000000000000000000.000000 -0.000000 2.500000\n" +
            no_cells));
}

TEST(VtkStream, WritesAsManyCellsAsItIsTold)
{
    EXPECT_TRUE(same_text(written(triangle(), 1, {2, 0, 1, 2, 1, 2}, {3, 3}),
                          head + "\nCELLS 1 6\n2 0 1 \n\nCELL_TYPES 2\n3\n3\n"));
}

TEST(VtkStream, StopsWhereTheCellsEnd)
{
    EXPECT_TRUE(same_text(written(triangle(), 5, {2, 0, 1}, {3}),
                          head + "\nCELLS 5 3\n2 0 1 \n\nCELL_TYPES 1\n3\n"));
    EXPECT_TRUE(same_text(written(triangle(), 2, {2, 0, 1, 9, 2}, {3}),
                          head + "\nCELLS 2 5\n2 0 1 \n9 2 \n\nCELL_TYPES 1\n3\n"));
    EXPECT_TRUE(same_text(written(triangle(), 4294967295U, {4294967295U}, {}),
                          head + "\nCELLS -1 1\n-1 \n\nCELL_TYPES 0\n"));
}

TEST(VtkStream, PrintsWhatIsAboveTheSignedNumbersAsNegative)
{
    EXPECT_TRUE(
        same_text(written(triangle(), 1, {2, 4294967295U, 2147483648U}, {4294967295U, 2147483647U}),
                  head + "\nCELLS 1 3\n2 -1 -2147483648 \n\nCELL_TYPES 2\n-1\n2147483647\n"));
}

TEST(VtkStream, RefusesByTheFirstFaultAndWritesNothing)
{
    const temporary_file file;
    std::FILE* stream = std::fopen(file.name(), "w");
    EXPECT_EQ(vtk_output(static_cast<std::FILE*>(nullptr), dense2D<double>(), 0, {}, {}), -1);
    EXPECT_EQ(vtk_output(static_cast<std::FILE*>(nullptr), triangle(), 0, {}, {}), -1);
    for (const std::size_t rows : {0U, 1U, 4U})
        EXPECT_EQ(vtk_output(stream, dense2D<double>(rows, 2, 0.0), 0, {}, {}), -2) << rows;
    std::fprintf(stream, "still open");
    std::fclose(stream);
    EXPECT_EQ(file.read(), "still open");
}

TEST(VtkStream, NeedsNoMemory)
{
    const temporary_file file;
    std::FILE* stream = std::fopen(file.name(), "w");
    const auto pos = triangle();
    const dense1D<unsigned> cells{3, 0, 1, 2}, cell_types{5};
    const auto call = [&] { return vtk_output(stream, pos, 1, cells, cell_types); };
    EXPECT_EQ(exhaust<allocation::fail_containers>({}, call), 0U);
    EXPECT_EQ(exhaust<allocation::fail_new>({}, call), 0U);
    std::fclose(stream);
}

// ---- vtk_output to a file ----

struct VtkOutput : testing::Test {
    temporary_file file;

    int write(const dense2D<double>& pos, const std::vector<dense2D<unsigned>>& range,
              const dense1D<int>& types) const
    {
        return vtk_output(file.name(), pos, range.data(), range.data() + range.size(), types);
    }
};

TEST_F(VtkOutput, WritesEveryKindAsTheGoldenFile)
{
    dense2D<double> pos(3, 9, -1.0);
    for (unsigned j = 0; j < 9; ++j) pos(0, j) = j, pos(1, j) = 0.25 * j;
    const auto solids = columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7},
                                           {0, 1, 2, 4, none, 0, 0, 0},
                                           {0, 1, 2, 3, 8, none, 0, 0},
                                           {0, 1, 2, 4, 5, 6, none, 0},
                                           {1, 3, 2, 8, none, none, none, none}});
    const auto before = duplicate(solids);
    ASSERT_EQ(write(pos,
                    {solids, columns<unsigned>({{0, 1, 2, none}, {0, 1, 3, 2}, {4, 5, 6, none}}),
                     columns<unsigned>({{0, 1, 2, 3, 4, 5}}), columns<unsigned>({{7, 8, 6}}),
                     columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7, 8, 0, 1, 2, 3, 4}}),
                     columns<unsigned>({{8, 7, 6, 5, 4, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}})},
                    {ET_SOLID_MIX, ET_FACE_MIX, ET_TRIA6, ET_BAR3, ET_PYRA14, ET_PENTA18}),
              0);
    EXPECT_TRUE(same_text(file.read(), golden("kinds.vtk")));
    EXPECT_TRUE(same(solids, before));
}

TEST_F(VtkOutput, WritesAnEmptyRangeWithoutCells)
{
    ASSERT_EQ(write(triangle(), {}, {}), 0);
    EXPECT_TRUE(same_text(file.read(), head + no_cells));
    ASSERT_EQ(write(triangle(), {dense2D<unsigned>(), dense2D<unsigned>(0, 3, 0)}, {99, ET_NODE}),
              0);
    EXPECT_TRUE(same_text(file.read(), head + no_cells));
}

TEST_F(VtkOutput, OrdersMixedSolidsByNodeCount)
{
    ASSERT_EQ(vtk_output(file.name(), dense2D<double>(2, 8, 0.0),
                         columns<unsigned>({{0, 1, 2, 3, 4, none, 0, 0}, {0, 1, 2, 3, 4, 5, 6, 7}}),
                         ET_SOLID_MIX),
              0);
    const std::string text = file.read();
    EXPECT_TRUE(same_text(text.substr(text.find("\nCELLS")),
                          "\nCELLS 2 15\n8 0 1 2 3 4 5 6 7 \n5 0 1 2 3 4 \n\n"
                          "CELL_TYPES 2\n12\n14\n"));
}

TEST_F(VtkOutput, WritesTwoMatricesIntoOneCellList)
{
    const strided<double> pos(triangle());
    const strided<unsigned> tria(columns<unsigned>({{0, 1, 2}}));
    ASSERT_EQ(vtk_output(file.name(), pos.view, tria.view, columns<unsigned>({{0, 2, 1}}), ET_TRIA3,
                         ET_BAR3),
              0);
    EXPECT_TRUE(same_text(file.read(), head + "\nCELLS 3 9\n3 0 1 2 \n2 0 2 \n1 1 \n\n"
                                              "CELL_TYPES 3\n5\n3\n2\n"));
}

struct rung {
    const char* fault;
    int code;
    std::size_t pos_rows;
    bool reversed;
    dense1D<int> types;
    dense2D<unsigned> connectM;
};

TEST_F(VtkOutput, RefusesByTheFirstFaultAndEmptiesTheFile)
{
    const auto good = columns<unsigned>({{0, 1}});
    const auto bad = columns<unsigned>({{0, 4}});
    const rung ladder[] = {
        {"no rows", -2, 0, false, {ET_BAR2}, good},
        {"1 row", -2, 1, false, {ET_BAR2}, good},
        {"4 rows", -2, 4, false, {ET_BAR2}, good},
        {"1 row, reversed", -2, 1, true, {ET_BAR2}, good},
        {"reversed", -4, 2, true, {ET_BAR2}, good},
        {"reversed, types", -4, 2, true, {}, good},
        {"types", -5, 2, false, {}, good},
        {"2 types", -5, 3, false, {ET_BAR2, ET_BAR2}, good},
        {"types, node", -5, 2, false, {}, bad},
        {"node", -3, 2, false, {ET_BAR2}, bad},
        {"hole", -3, 2, false, {ET_BAR2}, columns<unsigned>({{0, none}})},
        {"type below all", -3, 2, false, {-1}, good},
        {"type above all", -3, 2, false, {21}, good},
        {"type far above all", -3, 2, false, {1 << 30}, good},
        {"node, no cell type", -3, 2, false, {ET_NODE}, columns<unsigned>({{4}})},
        {"no cell type", -2, 2, false, {ET_NODE}, columns<unsigned>({{3}})},
    };
    const std::size_t descriptors = open_descriptors();
    const std::string no_name = testing::TempDir() + "no_such_directory/x";
    for (const rung& r : ladder) {
        file.write("before");
        const dense2D<double> pos(r.pos_rows, 4, 0.0);
        const auto* first = r.reversed ? &r.connectM + 1 : &r.connectM;
        const auto* last = r.reversed ? &r.connectM : &r.connectM + 1;
        EXPECT_EQ(vtk_output(file.name(), pos, first, last, r.types), r.code) << r.fault;
        EXPECT_EQ(file.read(), "") << r.fault;
        EXPECT_EQ(vtk_output(no_name.c_str(), pos, first, last, r.types), -1) << r.fault;
        EXPECT_EQ(open_descriptors(), descriptors) << r.fault;
    }
}

TEST_F(VtkOutput, RefusesFromTheShorterFormsToo)
{
    const auto bars = columns<unsigned>({{0, 1}});
    const auto nodes = columns<unsigned>({{0}});
    EXPECT_EQ(vtk_output(file.name(), triangle(), bars, ET_BAR3), -3);
    EXPECT_EQ(vtk_output(file.name(), triangle(), nodes, ET_NODE), -2);
    EXPECT_EQ(vtk_output(file.name(), triangle(), bars, nodes, ET_BAR2, ET_NODE), -2);
    EXPECT_EQ(vtk_output(file.name(), triangle(), bars, nodes, ET_BAR2, ET_BAR2), -3);
    EXPECT_EQ(file.read(), "");
}

TEST_F(VtkOutput, DoesNotReportAFullDevice)
{
    EXPECT_EQ(vtk_output("/dev/full", triangle(), columns<unsigned>({{0, 1}}), ET_BAR2), 0);
    EXPECT_EQ(vtk_output("/dev/full", dense2D<double>(3, 20000, 1.5), columns<unsigned>({{0, 1}}),
                         ET_BAR2),
              0);
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST_F(VtkOutput, WritesTheSameUnderADecimalComma)
{
    const comma_locale comma;
    ASSERT_EQ(write(triangle(), {}, {}), 0);
    EXPECT_TRUE(same_text(file.read(), head + no_cells));
}
#endif

TEST_F(VtkOutput, AgreesWithThePlainPrintingOnRandomMeshes)
{
    const temporary_file expected;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        plain::random_mesh mesh(seed);
        const unsigned n = 1 + mesh.below(300);
        const auto pos = mesh.nodes(2 + mesh.below(2), n);
        std::vector<dense2D<unsigned>> matrices;
        std::vector<int> types;
        dense1D<int> list;
        for (unsigned i = mesh.below(30); i-- > 0;) {
            const int type = int(3 + mesh.below(18));
            matrices.push_back(mesh.elements(type, n, 40));
            types.push_back(type);
            list.push_back(type);
        }
        ASSERT_EQ(write(pos, matrices, list), 0);
        plain::vtk_output(expected.name(), pos, matrices, types);
        ASSERT_TRUE(same_text(file.read(), expected.read()));
    }
}

// More cells than one block of output holds, of one kind and of two cells to an element.
TEST_F(VtkOutput, AgreesWithThePlainPrintingOnManyElements)
{
    const temporary_file expected;
    plain::random_mesh mesh(2024);
    const auto pos = mesh.nodes(3, 12000);
    for (const int type : {ET_TETRA4, ET_TETRA10, ET_HEXA27}) {
        const auto m = mesh.elements(type, 12000, 20000);
        ASSERT_EQ(write(pos, {m}, dense1D<int>(1, type)), 0);
        plain::vtk_output(expected.name(), pos, {m}, {type});
        ASSERT_TRUE(same_text(file.read(), expected.read())) << type;
    }
}

TEST_F(VtkOutput, SurvivesExhaustedMemory)
{
    const auto pos = triangle();
    const auto faces = columns<unsigned>({{0, 1, 2, none}, {0, 1, 2, 1}});
    const dense1D<int> types{ET_FACE_MIX};
    const std::string whole = head + "\nCELLS 2 9\n4 0 1 2 1 \n3 0 1 2 \n\nCELL_TYPES 2\n9\n5\n";
    const auto range = [&] { return vtk_output(file.name(), pos, &faces, &faces + 1, types); };
    const auto one = [&] { return vtk_output(file.name(), pos, faces, ET_FACE_MIX); };
    const auto two = [&] {
        return vtk_output(file.name(), pos, faces, faces, ET_FACE_MIX, ET_FACE_MIX);
    };
    const auto all_or_nothing = [&](std::size_t n) {
        const std::string text = file.read();
        EXPECT_TRUE(text.empty() || text == whole) << "allocation " << n << ": " << text;
    };
    file.write("");
    EXPECT_GT(exhaust<allocation::fail_containers>({-199}, range, all_or_nothing), 0U);
    EXPECT_GT(exhaust<allocation::fail_new>({-199}, range, all_or_nothing), 0U);
    EXPECT_GT(exhaust<allocation::fail_containers>({-199}, one, all_or_nothing), 0U);
    EXPECT_GT(exhaust<allocation::fail_new>({-199}, one, all_or_nothing), 0U);
    EXPECT_GT(exhaust<allocation::fail_containers>({-199}, two), 0U);
    EXPECT_GT(exhaust<allocation::fail_new>({-199}, two), 0U);
}

} // namespace
