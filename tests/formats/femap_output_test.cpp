#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/femap_files.h"
#include "plain/formats/femap.h"
#include "plain/formats/random_mesh.h"
#include "support/comma_locale.h"
#include "support/exhausted.h"
#include "support/files.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

using femap::list;

const std::string head = "*********************************\n"
                         "*********** NODES ***************\n"
                         "*********************************\n"
                         "-1\n"
                         "403\n";
const std::string middle = "-1\n"
                           "*********************************\n"
                           "********* ELEMENTS **************\n"
                           "*********************************\n"
                           "-1\n"
                           "404\n";
const std::string tail = "0.,0.,0.,0,0,0,0,0,0,\n"
                         "0.,0.,0.,\n"
                         "0.,0.,0.,\n"
                         "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,\n";
const std::string last = "-1\n";

// A record from its first line up to the code, and its slots.
std::string record(const std::string& first, const std::string& slots0, const std::string& slots10)
{
    return first + ",1,0,0,0,0,0,0,0,\n" + slots0 + "\n" + slots10 + "\n" + tail;
}
const std::string zeros = "0,0,0,0,0,0,0,0,0,0,";

dense2D<double> one_node()
{
    return columns<double>({{0.5, -2, 1e10}});
}
const std::string one_node_line = "0,0,0,1,0,0,0,0,0,0,0,0.5,-2,1e+10,0,\n";

struct result {
    int code;
    std::string text;
};

result write(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
             const dense1D<unsigned>& offsets, const dense1D<int>& types,
             const dense1D<unsigned>& groups)
{
    const temporary_file out("what stood here before");
    const int code = FEMAP_output(out.name(), pos, connectM, offsets, types, groups);
    return {code, out.read()};
}

// One run of all columns.
result write(const dense2D<unsigned>& connectM, int type)
{
    return write(one_node(), connectM, list<unsigned>({0, unsigned(connectM.cols)}),
                 list<int>({type}), dense1D<unsigned>(connectM.cols, 3));
}

std::string elements_of(const result& r)
{
    const std::string begin = head + one_node_line + middle;
    EXPECT_EQ(r.text.substr(0, begin.size()), begin);
    EXPECT_EQ(r.text.substr(r.text.size() - last.size()), last);
    return r.text.substr(begin.size(), r.text.size() - begin.size() - last.size());
}

TEST(FEMAPOutput, WritesANodeBlockAndAnElementBlock)
{
    const auto pos = columns<double>({{0, 0, 0}, {1, 0.25, -3}, {1234567, 1e-5, 100000}});
    const result r = write(pos, columns<unsigned>({{2, 0, 1}}), list<unsigned>({0, 1}),
                           list<int>({ET_TRIA3}), list<unsigned>({42}));
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(same_text(r.text, head +
                                      "0,0,0,1,0,0,0,0,0,0,0,0,0,0,0,\n"
                                      "1,0,0,1,0,0,0,0,0,0,0,1,0.25,-3,0,\n"
                                      "2,0,0,1,0,0,0,0,0,0,0,1.23457e+06,1e-05,100000,0,\n" +
                                      middle +
                                      "0,42,0,32,2,1,0,0,0,0,0,0,0,\n"
                                      "2,0,1,0,0,0,0,0,0,0,\n"
                                      "0,0,0,0,0,0,0,0,0,0,\n" +
                                      tail + last));
}

TEST(FEMAPOutput, WritesEachKindWithItsCodeAndSlots)
{
    struct row {
        element_type type;
        std::string code, slots0, slots10;
    };
    // Rows hold the nodes 100, 101, 102, ...
    const row rows[] = {
        {ET_NODE, "9", "100,0,0,0,0,0,0,0,0,0,", zeros},
        {ET_BAR2, "0", "100,101,0,0,0,0,0,0,0,0,", zeros},
        {ET_BAR3, "1", "100,101,102,0,0,0,0,0,0,0,", zeros},
        {ET_TRIA3, "2", "100,101,102,0,0,0,0,0,0,0,", zeros},
        {ET_TRIA6, "3", "100,101,102,105,103,104,0,0,0,0,", zeros},
        {ET_QUAD4, "4", "100,101,102,103,0,0,0,0,0,0,", zeros},
        {ET_QUAD8, "5", "100,101,102,103,104,105,106,107,0,0,", zeros},
        {ET_TETRA4, "6", "101,100,102,0,103,0,0,0,0,0,", zeros},
        {ET_PENTA6, "7", "100,101,102,0,103,104,105,0,0,0,", zeros},
        {ET_HEXA8, "8", "100,101,102,103,104,105,106,107,0,0,", zeros},
        {ET_TETRA10, "10", "100,102,101,0,103,0,0,0,105,104,", "106,0,107,109,108,0,0,0,0,0,"},
        {ET_HEXA20, "12", "100,101,102,103,104,105,106,107,108,109,",
         "110,111,112,113,114,115,116,117,118,119,"},
    };
    for (const row& kind : rows) {
        dense2D<unsigned> m(element_type_nodes[kind.type], 1);
        for (std::size_t k = 0; k < m.rows; ++k) m(k, 0) = unsigned(100 + k);
        const result r = write(m, kind.type);
        EXPECT_EQ(r.code, 0);
        EXPECT_TRUE(
            same_text(elements_of(r), record("0,3,0,32," + kind.code, kind.slots0, kind.slots10)))
            << kind.type;
    }
}

TEST(FEMAPOutput, PassesOverKindsWithoutACode)
{
    for (const int type : {2, int(ET_QUAD9), int(ET_PYRA5), int(ET_PYRA14), int(ET_PENTA18),
                           int(ET_HEXA27), int(ET_NONE), 21}) {
        const result r = write(dense2D<unsigned>(27, 2, 0), type);
        EXPECT_EQ(r.code, 0) << type;
        EXPECT_EQ(elements_of(r), "") << type;
    }
}

TEST(FEMAPOutput, WritesAMixedRunAsTheKindOfItsFirstColumn)
{
    const auto triangle_first = columns<unsigned>({{1, 2, 3, none}, {4, 5, 6, 7}});
    EXPECT_EQ(elements_of(write(triangle_first, ET_FACE_MIX)),
              record("0,3,0,32,2", "1,2,3,0,0,0,0,0,0,0,", zeros) +
                  record("1,3,0,32,2", "4,5,6,0,0,0,0,0,0,0,", zeros));
    const auto quad_first = columns<unsigned>({{4, 5, 6, 7}, {1, 2, 3, none}});
    EXPECT_EQ(elements_of(write(quad_first, ET_FACE_MIX)),
              record("0,3,0,32,4", "4,5,6,7,0,0,0,0,0,0,", zeros) +
                  record("1,3,0,32,4", "1,2,3,4294967295,0,0,0,0,0,0,", zeros));
    const auto solid = [](std::vector<unsigned> nodes) {
        dense2D<unsigned> m(8, 1);
        std::copy(nodes.begin(), nodes.end(), &m(0, 0));
        return m;
    };
    EXPECT_EQ(elements_of(write(solid({1, 2, 3, 4, none, 6, 7, 8}), ET_SOLID_MIX)),
              record("0,3,0,32,6", "2,1,3,0,4,0,0,0,0,0,", zeros));
    EXPECT_EQ(elements_of(write(solid({1, 2, 3, 4, 5, 6, none, 8}), ET_SOLID_MIX)),
              record("0,3,0,32,7", "1,2,3,0,4,5,6,0,0,0,", zeros));
    EXPECT_EQ(elements_of(write(solid({1, 2, 3, 4, 5, 6, 7, 8}), ET_SOLID_MIX)),
              record("0,3,0,32,8", "1,2,3,4,5,6,7,8,0,0,", zeros));
    auto pyramid_first = solid({1, 2, 3, 4, 5, none, 7, 8});
    ASSERT_TRUE(pyramid_first.resize(8, 2, 1));
    const result r = write(pyramid_first, ET_SOLID_MIX);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(elements_of(r), "");
}

TEST(FEMAPOutput, TakesRowsThatAMixedMatrixLacksForHoles)
{
    EXPECT_EQ(elements_of(write(columns<unsigned>({{1, 2, 3}}), ET_FACE_MIX)),
              record("0,3,0,32,2", "1,2,3,0,0,0,0,0,0,0,", zeros));
    // Were row 4 read, it would be the first node of the next column, which is no hole.
    EXPECT_EQ(elements_of(write(columns<unsigned>({{1, 2, 3, 4}, {5, 6, 7, 8}}), ET_SOLID_MIX)),
              record("0,3,0,32,6", "2,1,3,0,4,0,0,0,0,0,", zeros) +
                  record("1,3,0,32,6", "6,5,7,0,8,0,0,0,0,0,", zeros));
    EXPECT_EQ(
        elements_of(write(columns<unsigned>({{1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}}), ET_SOLID_MIX)),
        "");
    EXPECT_EQ(elements_of(write(columns<unsigned>({{1, 2, 3, 4, 5, 6}}), ET_SOLID_MIX)),
              record("0,3,0,32,7", "1,2,3,0,4,5,6,0,0,0,", zeros));
}

TEST(FEMAPOutput, WritesTheKindsOfTheGoldenFile)
{
    dense2D<double> pos(3, 20);
    for (std::size_t j = 0; j < 20; ++j) {
        pos(0, j) = double(j) * 0.5;
        pos(1, j) = 0.0 - double(j) / 3;
        pos(2, j) = double(j) * 123456.789;
    }
    const int kinds[] = {ET_NODE,  ET_BAR2,   ET_BAR3,   ET_TRIA3, ET_TRIA6,   ET_QUAD4, ET_QUAD8,
                         ET_QUAD9, ET_TETRA4, ET_PENTA6, ET_HEXA8, ET_TETRA10, ET_HEXA20};
    dense2D<unsigned> connectM(20, 26, none);
    dense1D<unsigned> offsets = list<unsigned>({0});
    dense1D<int> types;
    dense1D<unsigned> groups;
    for (unsigned e = 0; e < 26; ++e) {
        const int type = kinds[e / 2];
        for (unsigned k = 0; k < element_type_nodes[type]; ++k)
            connectM(k, e) = (3 * e + 7 * k) % 20;
        groups.push_back(100 + e);
        if (e % 2 == 0) continue;
        types.push_back(type);
        offsets.push_back(e + 1);
    }
    const strided<double> wide_pos(pos);
    const strided<unsigned> wide(connectM);
    const result r = write(wide_pos.view, wide.view, offsets, types, groups);
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(same_text(r.text, golden("kinds.neu")));
}

// ---- runs ----

TEST(FEMAPOutput, WritesTheColumnsOfEachRun)
{
    const auto bars = columns<unsigned>({{1, 2}, {3, 4}, {5, 6}});
    const auto numbers = list<unsigned>({7, 8, 9});
    const auto first = record("0,7,0,32,0", "1,2,0,0,0,0,0,0,0,0,", zeros);
    const auto second = record("1,8,0,32,0", "3,4,0,0,0,0,0,0,0,0,", zeros);
    const auto third = record("2,9,0,32,0", "5,6,0,0,0,0,0,0,0,0,", zeros);
    const auto written = [&](std::vector<unsigned> offsets) {
        const result r = write(one_node(), bars, list(offsets),
                               dense1D<int>(offsets.size() - 1, ET_BAR2), numbers);
        EXPECT_EQ(r.code, 0);
        return elements_of(r);
    };
    EXPECT_EQ(written({0, 3}), first + second + third);
    EXPECT_EQ(written({0, 1, 3}), first + second + third);
    EXPECT_EQ(written({1, 2}), second);
    EXPECT_EQ(written({0, 0, 1}), first);
    EXPECT_EQ(written({2, 3, 1, 2}), third + second); // a falling pair is an empty run
    EXPECT_EQ(written({1, 4}), second + third);       // past the end: as far as columns go
    EXPECT_EQ(written({2, none}), third);
    EXPECT_EQ(written({none, 0}), "");
    EXPECT_EQ(written({3, none}), "");
    EXPECT_EQ(written({0}), ""); // no run at all
}

TEST(FEMAPOutput, NeverComparesNodesWithTheColumnsOfPos)
{
    const result r = write(columns<unsigned>({{4294967294, 7}}), ET_BAR2);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(elements_of(r), record("0,3,0,32,0", "4294967294,7,0,0,0,0,0,0,0,0,", zeros));
}

TEST(FEMAPOutput, LooksOnlyAtTheRowsOfTheType)
{
    EXPECT_EQ(write(columns<unsigned>({{1, 2, none}}), ET_BAR2).code, 0);
    EXPECT_EQ(write(columns<unsigned>({{1, 2, none}}), ET_TRIA3).code, -3);
    EXPECT_EQ(write(columns<unsigned>({{1, 2, 3, none, none}}), ET_FACE_MIX).code, 0);
    EXPECT_EQ(write(columns<unsigned>({{1, 2}}), ET_FACE_MIX).code, -3);
    // A mixed matrix of solids has 4, 5, 6 or 8 rows, and up to 20 of them are looked at.
    for (const std::size_t rows : {3U, 7U, 10U, 20U, 27U})
        EXPECT_EQ(write(dense2D<unsigned>(rows, 1, 0), ET_SOLID_MIX).code, -3) << rows;
    EXPECT_EQ(write(columns<unsigned>({{1, 2, 3, 4, none, none, none, none}}), ET_SOLID_MIX).code,
              0);
    EXPECT_EQ(write(columns<unsigned>({{1, 2, 3, none, 5, 6, 7, 8}}), ET_SOLID_MIX).code, -3);
}

TEST(FEMAPOutput, RefusesARunOfMoreRowsThanTheMatrixHas)
{
    EXPECT_EQ(write(columns<unsigned>({{1, 2, 3}, {4, 5, 6}}), ET_QUAD4).code, -3);
    EXPECT_EQ(write(columns<unsigned>({{1, 2, 3}}), ET_HEXA27).code, -3);
}

TEST(FEMAPOutput, RefusesATypeThatIsNoElementTypeWhereItHasElements)
{
    for (const int type : {-1, 22, 1000, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(write(columns<unsigned>({{1, 2, 3}}), type).code, -3) << type;
        const result r = write(one_node(), columns<unsigned>({{1, 2}}), list<unsigned>({0, 0, 1}),
                               list<int>({type, ET_BAR2}), list<unsigned>({1}));
        EXPECT_EQ(r.code, 0) << type;
    }
}

// ---- codes ----

TEST(FEMAPOutput, ReturnsTheFirstCodeThatApplies)
{
    const auto bars = columns<unsigned>({{1, 2}, {3, 4}});
    const auto hole = columns<unsigned>({{1, none}, {3, 4}});
    const dense2D<double> flat(2, 1, 0.0);
    const auto bounds = list<unsigned>({0, 2});
    const auto bad_bounds = list<unsigned>({0, 1, 2});
    const auto types = list<int>({ET_BAR2});
    const auto groups = list<unsigned>({1, 1});
    const auto bad_groups = list<unsigned>({1});

    const auto expect = [](const result& r, int code) {
        EXPECT_EQ(r.code, code);
        EXPECT_EQ(r.text, "");
    };
    expect(write(flat, bars, bounds, types, groups), -2);
    expect(write(dense2D<double>(4, 1, 0.0), bars, bounds, types, groups), -2);
    expect(write(flat, bars, bad_bounds, types, groups), -2);
    expect(write(one_node(), bars, bad_bounds, types, groups), -5);
    expect(write(one_node(), bars, dense1D<unsigned>(), dense1D<int>(), groups), -5);
    expect(write(one_node(), bars, bad_bounds, types, bad_groups), -5);
    expect(write(one_node(), bars, bounds, types, bad_groups), -6);
    expect(write(one_node(), hole, bounds, types, bad_groups), -6);
    expect(write(one_node(), hole, bounds, types, groups), -3);
    // A later run fails as the first does.
    expect(write(one_node(), columns<unsigned>({{3, 4}, {1, none}}), bad_bounds,
                 list<int>({ET_BAR2, ET_BAR2}), groups),
           -3);
}

TEST(FEMAPOutput, LeavesAnEmptyFileForAnEmptyMatrixWhateverElse)
{
    for (const auto& [rows, cols] : {std::pair<std::size_t, std::size_t>{0, 0}, {0, 3}, {4, 0}}) {
        const result r = write(dense2D<double>(2, 1, 0.0), dense2D<unsigned>(rows, cols),
                               list<unsigned>({0, 1, 2, 3}), dense1D<int>(), list<unsigned>({1}));
        EXPECT_EQ(r.code, 0);
        EXPECT_EQ(r.text, "");
    }
    // Not even the file is needed.
    EXPECT_EQ(FEMAP_output("/no/such/folder/x", one_node(), dense2D<unsigned>(), ET_BAR2), 0);
    EXPECT_EQ(FEMAP_output(nullptr, one_node(), dense2D<unsigned>(), ET_BAR2), 0);
}

TEST(FEMAPOutput, RefusesAFileThatCannotBeOpened)
{
    const auto bar = columns<unsigned>({{1, 2}});
    const dense2D<double> flat(2, 1, 0.0); // a fault that is looked at later
    EXPECT_EQ(FEMAP_output("/no/such/folder/x", flat, bar, ET_BAR2), -1);
    EXPECT_EQ(FEMAP_output(testing::TempDir().c_str(), flat, bar, ET_BAR2), -1);
    EXPECT_EQ(FEMAP_output(nullptr, flat, bar, ET_BAR2), -1);
    EXPECT_EQ(FEMAP_output("/no/such/folder/x", flat, bar, bar, ET_BAR2, ET_BAR2), -1);
}

TEST(FEMAPOutput, DoesNotSeeAFailedWrite)
{
    const dense2D<unsigned> bars(2, 20000, 0);
    EXPECT_EQ(FEMAP_output("/dev/full", one_node(), columns<unsigned>({{1, 2}}), ET_BAR2), 0);
    EXPECT_EQ(FEMAP_output("/dev/full", one_node(), bars, list<unsigned>({0, 20000}),
                           list<int>({ET_BAR2}), dense1D<unsigned>(20000, 1)),
              0);
}

TEST(FEMAPOutput, ClosesTheFileOnEveryPath)
{
    const std::size_t before = open_descriptors();
    const temporary_file out;
    const auto bar = columns<unsigned>({{1, 2}});
    for (int round = 0; round < 5; ++round) {
        FEMAP_output(out.name(), one_node(), bar, ET_BAR2);
        FEMAP_output(out.name(), one_node(), dense2D<unsigned>(), ET_BAR2);
        FEMAP_output(out.name(), dense2D<double>(), bar, ET_BAR2);
        FEMAP_output(out.name(), one_node(), bar, ET_TRIA3);
        FEMAP_output(out.name(), one_node(), bar, bar, ET_BAR2, ET_BAR2);
        FEMAP_output("/dev/full", one_node(), bar, ET_BAR2);
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(FEMAPOutput, LeavesItsArgumentsAlone)
{
    const strided<double> pos(one_node());
    const strided<unsigned> m(columns<unsigned>({{1, 2, 3, none}, {4, 5, 6, 7}}));
    const auto before = duplicate(m.view);
    const result r = write(pos.view, m.view, list<unsigned>({0, 2}), list<int>({ET_FACE_MIX}),
                           list<unsigned>({1, 2}));
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(same(m.view, before));
    EXPECT_TRUE(m.gaps_untouched() && pos.gaps_untouched());
}

// ---- one matrix, two matrices ----

TEST(FEMAPOutput, WritesOneMatrixOfOneColumnOnly)
{
    const temporary_file out("before");
    EXPECT_EQ(FEMAP_output(out.name(), one_node(), columns<unsigned>({{7, 8, 9}}), ET_TRIA3), 0);
    EXPECT_TRUE(same_text(out.read(), head + one_node_line + middle +
                                          record("0,1,0,32,2", "7,8,9,0,0,0,0,0,0,0,", zeros) +
                                          last));
    const auto two = columns<unsigned>({{7, 8, 9}, {7, 8, none}});
    EXPECT_EQ(FEMAP_output(out.name(), one_node(), two, ET_TRIA3), -6);
    EXPECT_EQ(out.read(), "");
    EXPECT_EQ(FEMAP_output(out.name(), dense2D<double>(2, 1, 0.0), two, ET_TRIA3), -2);
    EXPECT_EQ(FEMAP_output(out.name(), one_node(), columns<unsigned>({{7, 8, none}}), ET_TRIA3),
              -3);
    out.write("before");
    EXPECT_EQ(FEMAP_output(out.name(), one_node(), dense2D<unsigned>(3, 0), ET_TRIA3), 0);
    EXPECT_EQ(out.read(), "");
}

TEST(FEMAPOutput, WritesTwoMatricesOfTwoColumnsTogetherOnly)
{
    const auto bars = columns<unsigned>({{1, 2}, {3, 4}});
    const auto bar = columns<unsigned>({{1, 2}});
    const auto face = columns<unsigned>({{5, 6, 7}});
    const dense2D<unsigned> nothing;
    const temporary_file out;
    const auto written = [&](const dense2D<unsigned>& a, const dense2D<unsigned>& b, int type1,
                             int type2) {
        out.write("before");
        EXPECT_EQ(
            FEMAP_output(out.name(), one_node(), a, b, element_type(type1), element_type(type2)),
            0);
        return elements_of({0, out.read()});
    };
    const std::string both = record("0,1,0,32,0", "1,2,0,0,0,0,0,0,0,0,", zeros) +
                             record("1,2,0,32,0", "3,4,0,0,0,0,0,0,0,0,", zeros);
    EXPECT_EQ(written(bars, nothing, ET_BAR2, ET_TRIA3), both);
    EXPECT_EQ(written(nothing, bars, ET_TRIA3, ET_BAR2), both);
    // The last bound is the number of columns of the second matrix: 1, where the run would end at 2.
    EXPECT_EQ(written(bar, face, ET_BAR2, ET_TRIA3),
              record("0,1,0,32,0", "1,2,0,0,0,0,0,0,0,0,", zeros));
    EXPECT_EQ(written(face, bar, ET_TRIA3, ET_BAR2),
              record("0,1,0,32,2", "5,6,7,0,0,0,0,0,0,0,", zeros));
    // The hole that fills up the lower matrix is refused where its type is said to be higher.
    EXPECT_EQ(FEMAP_output(out.name(), one_node(), bar, face, ET_TRIA3, ET_TRIA3), -3);
    EXPECT_EQ(out.read(), "");

    EXPECT_EQ(FEMAP_output(out.name(), one_node(), bars, face, ET_BAR2, ET_TRIA3), -6);
    EXPECT_EQ(FEMAP_output(out.name(), one_node(), bar, nothing, ET_BAR2, ET_TRIA3), -6);
    EXPECT_EQ(FEMAP_output(out.name(), dense2D<double>(), bars, face, ET_BAR2, ET_TRIA3), -2);
    out.write("before");
    EXPECT_EQ(FEMAP_output(out.name(), dense2D<double>(), nothing, nothing, ET_BAR2, ET_BAR2), 0);
    EXPECT_EQ(out.read(), "");
    EXPECT_TRUE(same(bar, columns<unsigned>({{1, 2}})));
}

TEST(FEMAPOutput, CountsNoColumnsOfAMatrixWithoutRows)
{
    const dense2D<unsigned> flat(0, 1);
    const auto bars = columns<unsigned>({{1, 2}, {3, 4}});
    const temporary_file out;
    EXPECT_EQ(FEMAP_output(out.name(), one_node(), flat, bars, ET_TRIA3, ET_BAR2), 0);
    EXPECT_EQ(
        FEMAP_output(out.name(), one_node(), flat, columns<unsigned>({{1, 2}}), ET_TRIA3, ET_BAR2),
        -6);
}

// ---- surroundings ----

TEST(FEMAPOutput, WritesTheSameBytesAsThePlainWriter)
{
    constexpr std::size_t heights[] = {1, 2, 3, 4, 5, 6, 8, 10, 14, 18, 20, 27};
    plain::random_mesh make(41);
    int written = 0;
    int refused = 0;
    for (int round = 0; round < 400; ++round) {
        const std::size_t height = heights[make.below(std::size(heights))];
        const auto pos = make.nodes(make.below(20) ? 3 : 2, make.below(6));
        dense2D<unsigned> connectM(height, 0);
        dense1D<unsigned> offsets = list<unsigned>({0});
        dense1D<int> types;
        dense1D<unsigned> groups;
        const unsigned runs = make.below(6);
        while (types.size < runs) {
            const int type = int(make.below(22));
            if (element_type_nodes[type] > height) continue;
            auto run = make.elements(type, 1000, 3);
            if (run.rows > height) continue;
            const std::size_t held = connectM.cols;
            ASSERT_TRUE(connectM.resize(height, held + run.cols, none));
            for (std::size_t e = 0; e < run.cols; ++e)
                for (std::size_t k = 0; k < run.rows; ++k) connectM(k, held + e) = run(k, e);
            types.push_back(type);
            offsets.push_back(unsigned(connectM.cols));
        }
        while (groups.size < connectM.cols) groups.push_back(unsigned(make.random()));
        if (connectM.cols != 0 && make.below(10) == 0)
            connectM(make.below(height), make.below(connectM.cols)) = none;
        const strided<unsigned> wide(connectM);
        const auto& shown = make.below(2) && !connectM.empty() ? wide.view : connectM;

        const temporary_file plain_file;
        const int code = plain::FEMAP_output(plain_file.name(), pos, shown, offsets, types, groups);
        const result r = write(pos, shown, offsets, types, groups);
        ASSERT_EQ(r.code, code) << round;
        ASSERT_TRUE(same_text(r.text, plain_file.read())) << round;
        (code == 0 ? written : refused) += 1;
    }
    EXPECT_GT(written, 100);
    EXPECT_GT(refused, 20);
}

TEST(FEMAPOutput, WritesCoordinatesThatAreNoNumbers)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const result r =
        write(columns<double>({{infinity, -infinity, std::nan("")}, {-0.0, 5e-324, 1e300}}),
              columns<unsigned>({{0, 1}}), list<unsigned>({0, 1}), list<int>({ET_BAR2}),
              list<unsigned>({none}));
    EXPECT_TRUE(same_text(
        r.text, head +
                    "0,0,0,1,0,0,0,0,0,0,0,inf,-inf,nan,0,\n"
                    "1,0,0,1,0,0,0,0,0,0,0,-0,4.94066e-324,1e+300,0,\n" +
                    middle + record("0,4294967295,0,32,0", "0,1,0,0,0,0,0,0,0,0,", zeros) + last));
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST(FEMAPOutput, WritesTheSameBytesUnderALocaleWithADecimalComma)
{
    const auto pos = columns<double>({{0.5, 1234567.25, -1e-9}});
    const auto many = list<unsigned>({123456});
    const auto call = [&] {
        return write(pos, columns<unsigned>({{1000000, 2}}), list<unsigned>({0, 1}),
                     list<int>({ET_BAR2}), many);
    };
    const result expected = call();
    EXPECT_NE(expected.text.find(",0.5,1.23457e+06,-1e-09,0,\n"), std::string::npos);
    const comma_locale locale;
    EXPECT_TRUE(same_text(call().text, expected.text));
}
#endif

TEST(FEMAPOutput, NeedsNoMemoryForOneMatrixButHeaders)
{
    const temporary_file out;
    const auto bar = columns<unsigned>({{1, 2}});
    const auto pos = one_node();
    const auto offsets = list<unsigned>({0, 1});
    const auto types = list<int>({ET_BAR2});
    const auto groups = list<unsigned>({1});
    const auto full = [&] { return FEMAP_output(out.name(), pos, bar, offsets, types, groups); };
    const auto one = [&] { return FEMAP_output(out.name(), pos, bar, ET_BAR2); };
    EXPECT_EQ(exhaust<allocation::fail_containers>({}, full), 0U);
    EXPECT_EQ(exhaust<allocation::fail_new>({}, full), 0U);
    EXPECT_EQ(exhaust<allocation::fail_containers>({}, one), 0U);
    EXPECT_GT(exhaust<allocation::fail_new>({}, one), 0U);
}

TEST(FEMAPOutput, ReportsThatTwoMatricesFindNoMemoryToBeJoined)
{
    const temporary_file out;
    const auto bar = columns<unsigned>({{1, 2}});
    const auto pos = one_node();
    const auto call = [&] { return FEMAP_output(out.name(), pos, bar, bar, ET_BAR2, ET_BAR2); };
    ASSERT_EQ(call(), 0);
    const std::string whole = out.read();
    const std::size_t blocks = allocation::live_blocks();
    const std::size_t descriptors = open_descriptors();
    for (const bool onwards : {false, true}) {
        int failures = 0;
        allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, const auto& armed) {
                out.write("before");
                const int code = armed(call);
                failures += code != 0;
                EXPECT_TRUE(code == 0 || code == -199) << n << ": " << code;
                EXPECT_EQ(out.read(), code == 0 ? whole : "before") << n;
                EXPECT_EQ(allocation::live_blocks(), blocks) << n;
            },
            onwards);
        // Room for two columns that is refused is asked for again as room for one.
        EXPECT_EQ(failures != 0, onwards);
    }
    exhaust<allocation::fail_new>({-199}, call);
    EXPECT_EQ(allocation::live_blocks(), blocks);
    EXPECT_EQ(open_descriptors(), descriptors);
}

} // namespace
