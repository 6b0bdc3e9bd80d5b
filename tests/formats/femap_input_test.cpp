#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/femap_files.h"
#include "formats/femap_reader.h"
#include "support/allocation.h"
#include "support/comma_locale.h"
#include "support/files.h"
#include "support/same.h"

using namespace kz3::lattiq;

namespace {

using namespace femap;
using ::same;
using femap::same;

void expect_stop(const std::string& content)
{
    const temporary_file in(content);
    EXPECT_EXIT(read_file(in.name()), testing::KilledBySignal(SIGABRT), "") << content;
}

// The slots of a record that is known to be read: whether a node line is.
mesh read_nodes(const std::string& lines)
{
    return read(nodes(lines) + elements(bar));
}

mesh read_elements(const std::string& lines)
{
    return read(two_nodes + elements(lines));
}

TEST(FEMAPInput, ReadsNodesAndElements)
{
    const mesh m = read(two_nodes + elements(triangle));
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.pos, columns<double>({{1, 2, 3}, {4, 5, 6}})));
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1, 2}})));
    EXPECT_TRUE(same(m.offsets, list<unsigned>({0, 1})));
    EXPECT_TRUE(same(m.types, list<int>({ET_TRIA3})));
    EXPECT_TRUE(same(m.groups, list<unsigned>({6})));
}

TEST(FEMAPInput, MapsEachCodeAndItsSlots)
{
    // Slot k holds 100 + k.
    std::vector<int> slots(20);
    for (int k = 0; k < 20; ++k) slots[std::size_t(k)] = 100 + k;
    struct row {
        const char* code;
        element_type type;
        std::vector<unsigned> nodes;
    };
    const row rows[] = {
        {"0", ET_BAR2, {100, 101}},
        {"1", ET_BAR3, {100, 101, 102}},
        {"2", ET_TRIA3, {100, 101, 102}},
        {"3", ET_TRIA6, {100, 101, 102, 104, 105, 103}},
        {"4", ET_QUAD4, {100, 101, 102, 103}},
        {"5", ET_QUAD8, {100, 101, 102, 103, 104, 105, 106, 107}},
        {"6", ET_TETRA4, {101, 100, 102, 104}},
        {"7", ET_PENTA6, {100, 101, 102, 104, 105, 106}},
        {"8", ET_HEXA8, {100, 101, 102, 103, 104, 105, 106, 107}},
        {"9", ET_NODE, {100}},
        {"10", ET_TETRA10, {100, 102, 101, 104, 109, 108, 110, 112, 114, 113}},
        {"12", ET_HEXA20, {100, 101, 102, 103, 104, 105, 106, 107, 108, 109,
                           110, 111, 112, 113, 114, 115, 116, 117, 118, 119}},
    };
    for (const row& kind : rows) {
        const mesh m = read_elements(element("1", kind.code, slots));
        EXPECT_EQ(m.code, 0) << kind.code;
        EXPECT_TRUE(same(m.types, list<int>({kind.type}))) << kind.code;
        ASSERT_EQ(m.connectM.rows, kind.nodes.size()) << kind.code;
        EXPECT_TRUE(same(m.connectM.col(0), list(kind.nodes))) << kind.code;
    }
}

TEST(FEMAPInput, GivesBackWhatWasWritten)
{
    const mesh m = read(golden("kinds.neu"));
    EXPECT_EQ(m.code, 0);
    ASSERT_EQ(m.pos.cols, 20U);
    for (std::size_t j = 0; j < 20; ++j) {
        // Six significant digits.
        EXPECT_EQ(m.pos(0, j), double(j) * 0.5);
        EXPECT_NEAR(m.pos(1, j), -double(j) / 3, 1e-5);
        EXPECT_NEAR(m.pos(2, j), double(j) * 123456.789, 5);
    }
    EXPECT_NE(m.pos(1, 1), -1.0 / 3);
    // The golden file holds no record for the two ET_QUAD9, so what follows moves up.
    const std::vector<int> kinds = {ET_NODE,   ET_BAR2,  ET_BAR3,    ET_TRIA3,
                                    ET_TRIA6,  ET_QUAD4, ET_QUAD8,   ET_TETRA4,
                                    ET_PENTA6, ET_HEXA8, ET_TETRA10, ET_HEXA20};
    EXPECT_TRUE(same(m.types, list(kinds)));
    ASSERT_EQ(m.connectM.cols, 24U);
    EXPECT_EQ(m.connectM.rows, 20U);
    for (unsigned e = 0; e < 24; ++e) {
        const unsigned written = e < 14 ? e : e + 2;
        EXPECT_EQ(m.offsets[e / 2], e / 2 * 2);
        EXPECT_EQ(m.groups[e], 100 + written);
        for (unsigned k = 0; k < 20; ++k)
            EXPECT_EQ(m.connectM(k, e),
                      k < element_type_nodes[kinds[e / 2]] ? (3 * written + 7 * k) % 20 : none);
    }
    EXPECT_EQ(m.offsets[12], 24U);
}

// ---- blocks ----

TEST(FEMAPInput, PassesOverOtherBlocks)
{
    const std::string other = "-1\n402\n4 0 3,\n\n0,0,\n-1\n";
    const mesh m = read("banner\n\n" + other + two_nodes + other + elements(bar) + other);
    EXPECT_TRUE(same(m, read(two_nodes + elements(bar))));
    EXPECT_EQ(m.code, 0);
}

TEST(FEMAPInput, TakesABlockByItsNumberWhereverTheLineStands)
{
    // No "-1" ahead of it; the elements first; several of each; none closed at the end.
    const mesh m = read("404\n" + bar + "-1\n403\n" + node("0", "1,2,3") + "-1\n404\n" + bar +
                        "-1\n403\n" + node("1", "4,5,6"));
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.pos, columns<double>({{1, 2, 3}, {4, 5, 6}})));
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1}, {0, 1}})));
    EXPECT_TRUE(same(m.offsets, list<unsigned>({0, 2})));
}

TEST(FEMAPInput, IgnoresBlanksInABlockMarkerButNoTabs)
{
    const std::string line = node("0", "1,2,3");
    EXPECT_EQ(read(" 4 0  3 \n" + line + " - 1 \n  404\n" + bar + "-1 \n").code, 0);
    for (const char* marker : {"403\t", "\t403", "403,", "0403", "+403", "4033", "40", "403\r"})
        EXPECT_EQ(read(std::string(marker) + "\n" + line + "-1\n404\n" + bar).code, -1) << marker;
    // An end with a tab is no end, and no node either.
    expect_stop("403\n" + line + "-1\t\n404\n");
    expect_stop("403\n" + line + "-1,\n404\n");
}

TEST(FEMAPInput, KnowsNoCarriageReturn)
{
    std::string lines;
    for (const char c : two_nodes + elements(bar)) lines += c == '\n' ? "\r\n" : std::string(1, c);
    const mesh m = read(lines);
    EXPECT_EQ(m.code, -1);
    EXPECT_TRUE(m.pos.empty() && m.connectM.empty());
    EXPECT_TRUE(same(m.offsets, list<unsigned>({0, 0})));
    // Behind the last comma of a field line it does no harm.
    EXPECT_EQ(read("403\n0,0,0,1,0,0,0,0,0,0,0,1,2,3,0,\r\n-1\n404\n" + bar).code, 0);
}

TEST(FEMAPInput, ReadsALastLineWithoutALineEnd)
{
    std::string lines = elements(bar) + "403\n" + node("0", "1,2,3");
    lines.pop_back();
    EXPECT_EQ(read(lines).code, 0);
    lines.pop_back(); // the comma: 14 fields are still there
    EXPECT_EQ(read(lines).code, 0);
}

// ---- fields ----

TEST(FEMAPInput, CountsAFieldOnlyWithACommaBehindIt)
{
    const std::string ten = "0,0,0,1,0,0,0,0,0,0,0,";
    EXPECT_TRUE(same(read_nodes(ten + "1,2,3,\n").pos, columns<double>({{1, 2, 3}})));
    expect_stop(nodes(ten + "1,2,3\n"));
    expect_stop(nodes(ten + "1,2,\n"));
    expect_stop(nodes("0\n"));
    // Empty fields count.
    EXPECT_TRUE(same(read_nodes(",,,,,,,,,,,,,,\n").pos, columns<double>({{0, 0, 0}})));
    EXPECT_TRUE(same(read_nodes(ten + ",2,,\n").pos, columns<double>({{0, 2, 0}})));
}

TEST(FEMAPInput, StopsTheProcessWhereALineHasTooFewFields)
{
    const std::string first = "0,1,0,32,0,\n";
    const std::string ten = "0,1,0,0,0,0,0,0,0,0,\n";
    const std::string nine = "0,1,0,0,0,0,0,0,0,0\n";
    EXPECT_EQ(read_elements(first + ten + ten + "\n\n\n\n").code, 0);
    expect_stop(two_nodes + elements("0,1,0,32,0\n" + ten + ten));
    expect_stop(two_nodes + elements(first + nine + ten));
    expect_stop(two_nodes + elements(first + ten + nine));
    expect_stop(two_nodes + elements(first + "\n" + ten));
    expect_stop(two_nodes + elements("\n" + bar));
    expect_stop(nodes("\n"));
    expect_stop(nodes(node("0", "1,2,3") + " \n"));
    // An element of an unknown code needs as many in its first line.
    expect_stop(two_nodes + elements("0,1,0,32,\n"));
}

TEST(FEMAPInput, StopsTheProcessWhereAnElementLacksItsNodeLines)
{
    const std::string first = "0,1,0,32,0,\n";
    const std::string ten = "0,1,0,0,0,0,0,0,0,0,\n";
    expect_stop(two_nodes + open_elements + first);
    expect_stop(two_nodes + open_elements + "0,1,0,32,0,1,0,0,0,0,0,0,0,"); // nor a line end
    expect_stop(two_nodes + open_elements + first + ten);
    // The four lines behind them are not looked at, so none of them is missed.
    EXPECT_EQ(read(two_nodes + open_elements + first + ten + ten).code, 0);
    EXPECT_EQ(read(two_nodes + open_elements + first + ten + ten.substr(0, ten.size() - 1)).code,
              0);
}

TEST(FEMAPInput, SkipsFourLinesBehindTheNodesWhateverTheyHold)
{
    const std::string record = "0,5,0,32,0,\n0,1,0,0,0,0,0,0,0,0,\n0,1,0,0,0,0,0,0,0,0,\n";
    const mesh m = read_elements(record + "-1\n\n404\n403\n" + triangle);
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1, none}, {0, 1, 2}})));
}

TEST(FEMAPInput, ReadsWholeNumbersAsAtoiDoes)
{
    const auto group = [](const std::string& text) {
        const mesh m = read_elements(element(text, "0", {0, 1}));
        EXPECT_EQ(m.code, 0);
        return int(m.groups[0]);
    };
    EXPECT_EQ(group("12"), 12);
    EXPECT_EQ(group(" \t+12"), 12);
    EXPECT_EQ(group("-12"), -12);
    EXPECT_EQ(group("12.9"), 12);
    EXPECT_EQ(group("12 3"), 12);
    EXPECT_EQ(group("0x10"), 0);
    EXPECT_EQ(group("abc"), 0);
    EXPECT_EQ(group(""), 0);
    EXPECT_EQ(group("- 12"), 0);
    EXPECT_EQ(group("+-12"), 0);
    EXPECT_EQ(group(std::string("1\0002", 3)), 1);
    EXPECT_EQ(group(std::string("\0001", 2)), 0);
    EXPECT_EQ(group("2147483647"), 2147483647);
    EXPECT_EQ(group("2147483648"), std::numeric_limits<int>::min());
    EXPECT_EQ(group("4294967295"), -1);
    EXPECT_EQ(group("4294967301"), 5);
    EXPECT_EQ(group("-4294967301"), -5);
    EXPECT_EQ(group("9223372036854775807"), -1);
    EXPECT_EQ(group("9223372036854775808"), -1);
    EXPECT_EQ(group("99999999999999999999999999"), -1);
    EXPECT_EQ(group("-9223372036854775808"), 0);
    EXPECT_EQ(group("-99999999999999999999999999"), 0);
    // A node that was written as an unsigned number comes back as one.
    const mesh m = read_elements("0,1,0,32,0,\n4294967295,3000000000,0,0,0,0,0,0,0,0,\n"
                                 "0,0,0,0,0,0,0,0,0,0,\n");
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{none, 3000000000}})));
}

TEST(FEMAPInput, ReadsCoordinatesAsAtofDoes)
{
    const auto x = [](const std::string& text) {
        const mesh m = read_nodes(node("0", text + ",7,7"));
        EXPECT_EQ(m.code, 0);
        return m.pos(0, 0);
    };
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(x("1.5"), 1.5);
    EXPECT_EQ(x(" \t1.5 "), 1.5);
    EXPECT_EQ(x("+1.5e1"), 15);
    EXPECT_EQ(x("-.5"), -0.5);
    EXPECT_EQ(x("5."), 5);
    EXPECT_EQ(x("1e"), 1);
    EXPECT_EQ(x("1e+"), 1);
    EXPECT_EQ(x("1.5D3"), 1.5);
    EXPECT_EQ(x("1.5.2"), 1.5);
    EXPECT_EQ(x("."), 0);
    EXPECT_EQ(x("-"), 0);
    EXPECT_EQ(x("+-1"), 0);
    EXPECT_EQ(x("x"), 0);
    EXPECT_EQ(x(""), 0);
    EXPECT_TRUE(std::signbit(x("-0")));
    EXPECT_EQ(x("0x1p4"), 16);
    EXPECT_EQ(x("-0X1.8"), -1.5);
    EXPECT_EQ(x("0x"), 0);
    EXPECT_EQ(x("inf"), infinity);
    EXPECT_EQ(x("-Infinity"), -infinity);
    EXPECT_TRUE(std::isnan(x("nan(12)")));
    EXPECT_EQ(x("1e999"), infinity);
    EXPECT_EQ(x("-1e999"), -infinity);
    EXPECT_EQ(x("1e-999"), 0);
    EXPECT_TRUE(std::signbit(x("-1e-999")));
    EXPECT_EQ(x("4e-324"), 5e-324);
    EXPECT_EQ(x("0.1000000000000000055511151231257827"), 0.1);
    EXPECT_EQ(x(std::string("1\0002", 3)), 1);
    EXPECT_EQ(x(std::string(5000, '0') + "1"), 1);
    EXPECT_EQ(x("0." + std::string(5000, '9')), 1);
}

// ---- nodes ----

TEST(FEMAPInput, PutsANodeInTheColumnOfItsIdentifier)
{
    // In any order, with gaps; the last of two with one identifier stays.
    const mesh m = read_nodes(node("3", "3,3,3") + node("1", "1,1,1") + node("3", "4,4,4"));
    EXPECT_TRUE(same(m.pos, columns<double>({{0, 0, 0}, {1, 1, 1}, {0, 0, 0}, {4, 4, 4}})));
}

TEST(FEMAPInput, LeavesColumn0UnsetWhereIdentifiersStartAt1)
{
    const mesh m =
        read(nodes(node("1", "1,2,3") + node("2", "4,5,6")) + elements(element("1", "0", {1, 2})));
    EXPECT_TRUE(same(m.pos, columns<double>({{0, 0, 0}, {1, 2, 3}, {4, 5, 6}})));
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{1, 2}})));
}

TEST(FEMAPInput, ClearsColumnsThatNoLineNamesAlsoInUsedStorage)
{
    mesh m;
    m.pos = dense2D<double>(3, 50, 7.0);
    const temporary_file in(nodes(node("9", "1,2,3") + node("4", "4,5,6")) + elements(bar));
    ASSERT_EQ(FEMAP_input(in.name(), m.pos, m.connectM, m.offsets, m.types, m.groups), 0);
    ASSERT_EQ(m.pos.cols, 10U);
    for (std::size_t j = 0; j < 9; ++j)
        for (std::size_t d = 0; d < 3; ++d) EXPECT_EQ(m.pos(d, j), j == 4 ? double(4 + d) : 0.0);
}

TEST(FEMAPInput, SizesASparsePosOnce)
{
    using kz3::lattiq::detail::femap_nodes;
    dense2D<double> pos(3, 500, 7.0);
    pos.clear();
    femap_nodes list(pos, 10); // columns up to 10 are filled, or up to 16 for each node
    list.add(9, {1, 1, 1});
    list.add(200, {2, 2, 2}); // waits, and so does all that comes behind
    EXPECT_EQ(pos.cols, 10U);
    list.add(10, {3, 3, 3});
    list.add(100, {4, 4, 4});
    list.add(9, {5, 5, 5}); // not this one, which has its column
    EXPECT_EQ(pos.cols, 10U);
    list.add(100, {6, 6, 6}); // takes the place of the other
    list.finish();
    ASSERT_EQ(pos.cols, 201U);
    for (std::size_t j = 0; j < 201; ++j) {
        const double expected = j == 9     ? 5
                                : j == 10  ? 3
                                : j < 10   ? 0
                                : j == 100 ? 6
                                : j == 200 ? 2
                                           : 7; // as the storage held it
        EXPECT_EQ(pos(0, j), expected) << j;
        EXPECT_EQ(pos(2, j), expected) << j;
    }
}

TEST(FEMAPInput, FillsColumnsInProportionToTheNodes)
{
    using kz3::lattiq::detail::femap_nodes;
    dense2D<double> pos(3, 500, 7.0);
    pos.clear();
    femap_nodes list(pos, 10);
    for (int i = 0; i < 5; ++i) list.add(0, {1, 1, 1});
    list.add(95, {2, 2, 2}); // the sixth line: 96 columns
    ASSERT_EQ(pos.cols, 96U);
    for (std::size_t j = 1; j < 95; ++j) EXPECT_EQ(pos(1, j), 0.0);
    list.add(112, {3, 3, 3}); // the seventh: 112, one too few
    EXPECT_EQ(pos.cols, 96U);
    list.finish();
    EXPECT_EQ(pos.cols, 113U);
    EXPECT_EQ(pos(1, 100), 7.0);
    EXPECT_EQ(pos(1, 112), 3.0);
}

// Memory of this process at its highest, in MB.
long peak_memory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

TEST(FEMAPInput, TakesNoMemoryForTheColumnsOfAHighIdentifier)
{
    const long before = peak_memory();
    // 960 MB of columns. With a second identifier, since growth would copy the columns of the first.
    const mesh m = read_nodes(node("40000000", "1,2,3") + node("1", "4,5,6") +
                              node("40000001", "7,8,9") + node("0", "1,1,1"));
    EXPECT_EQ(m.code, 0);
    ASSERT_EQ(m.pos.cols, 40000002U);
    EXPECT_EQ(m.pos(0, 0), 1);
    EXPECT_EQ(m.pos(2, 1), 6);
    EXPECT_EQ(m.pos(1, 40000000), 2);
    EXPECT_EQ(m.pos(1, 40000001), 8);
    EXPECT_LT(peak_memory() - before, 300);
}

TEST(FEMAPInput, LeavesOutANodeWhoseColumnCannotBeHad)
{
    const temporary_file in(elements(bar) + nodes(node("0", "1,2,3") + node("2000000000", "9,9,9") +
                                                  node("1", "4,5,6") + node("-1", "9,9,9")));
    mesh m;
    ASSERT_TRUE(m.pos.reserve(3, 4) && m.connectM.reserve(2, 8) && m.offsets.reserve(4, 1) &&
                m.types.reserve(4, 1) && m.groups.reserve(4, 1));
    {
        const allocation::fail_containers breaker(1, true);
        m.code = FEMAP_input(in.name(), m.pos, m.connectM, m.offsets, m.types, m.groups);
        EXPECT_TRUE(breaker.fired());
    }
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.pos, columns<double>({{1, 2, 3}, {4, 5, 6}})));
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1}})));
}

// ---- elements and runs ----

TEST(FEMAPInput, FillsShorterElementsUpWithHoles)
{
    const mesh m = read_elements(bar + triangle + quad + bar);
    EXPECT_TRUE(same(m.connectM,
                     columns<unsigned>(
                         {{0, 1, none, none}, {0, 1, 2, none}, {3, 2, 1, 0}, {0, 1, none, none}})));
    EXPECT_TRUE(same(m.groups, list<unsigned>({5, 6, 7, 5})));
}

TEST(FEMAPInput, OpensARunAtEveryChangeOfType)
{
    const mesh m = read_elements(triangle + quad + triangle + triangle + quad);
    EXPECT_TRUE(same(m.types, list<int>({ET_TRIA3, ET_QUAD4, ET_TRIA3, ET_QUAD4})));
    EXPECT_TRUE(same(m.offsets, list<unsigned>({0, 1, 2, 4, 5})));
    // A new block alone opens none.
    const mesh blocks = read(two_nodes + elements(triangle) + elements(triangle));
    EXPECT_TRUE(same(blocks.types, list<int>({ET_TRIA3})));
    EXPECT_TRUE(same(blocks.offsets, list<unsigned>({0, 2})));
}

TEST(FEMAPInput, CountsAnUnknownElementAsARunOfType0)
{
    for (const char* code : {"11", "13", "-1", "99", "-5"}) {
        const std::string odd = element("8", code, {9, 9, 9});
        const mesh between = read_elements(triangle + triangle + odd + quad + quad);
        EXPECT_EQ(between.code, 0);
        EXPECT_EQ(between.connectM.cols, 4U);
        EXPECT_TRUE(same(between.types, list<int>({ET_TRIA3, 0, ET_QUAD4})));
        EXPECT_TRUE(same(between.offsets, list<unsigned>({0, 1, 4})));
        EXPECT_TRUE(same(between.groups, list<unsigned>({6, 6, 7, 7})));
    }
    const mesh first = read_elements(unknown + unknown + triangle);
    EXPECT_TRUE(same(first.types, list<int>({0, 0, ET_TRIA3})));
    EXPECT_TRUE(same(first.offsets, list<unsigned>({0, 1})));
    const mesh last = read_elements(triangle + unknown);
    EXPECT_TRUE(same(last.types, list<int>({ET_TRIA3, 0})));
    EXPECT_TRUE(same(last.offsets, list<unsigned>({0, 0, 1})));
    const mesh back = read_elements(triangle + unknown + triangle);
    EXPECT_TRUE(same(back.types, list<int>({ET_TRIA3, 0, ET_TRIA3})));
    EXPECT_TRUE(same(back.offsets, list<unsigned>({0, 0, 2})));
    const mesh only = read_elements(unknown);
    EXPECT_EQ(only.code, -1);
    EXPECT_TRUE(same(only.types, list<int>({0})));
    EXPECT_TRUE(same(only.offsets, list<unsigned>({0, 0})));
    EXPECT_EQ(only.pos.cols, 2U);
}

TEST(FEMAPInput, SkipsSixLinesOfAnUnknownElementWhateverTheyHold)
{
    const mesh m = read_elements("0,8,0,32,11,\n\n-1\n1\n403\n,\n\n" + triangle);
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1, 2}})));
    // Also past the end of the file.
    EXPECT_EQ(read(two_nodes + open_elements + bar + "0,8,0,32,11,\n\n\n").code, 0);
}

// ---- results ----

TEST(FEMAPInput, NeedsANodeAndAnElement)
{
    const mesh nothing = read("");
    EXPECT_EQ(nothing.code, -1);
    EXPECT_TRUE(same(nothing.offsets, list<unsigned>({0, 0})));
    EXPECT_EQ(nothing.types.size, 0U);
    const mesh no_element = read(two_nodes + elements(""));
    EXPECT_EQ(no_element.code, -1);
    EXPECT_TRUE(same(no_element.pos, columns<double>({{1, 2, 3}, {4, 5, 6}})));
    const mesh no_node = read(nodes("") + elements(bar + triangle));
    EXPECT_EQ(no_node.code, -1);
    EXPECT_TRUE(no_node.pos.empty());
    EXPECT_TRUE(same(no_node.connectM, columns<unsigned>({{0, 1, none}, {0, 1, 2}})));
    EXPECT_TRUE(same(no_node.offsets, list<unsigned>({0, 1, 2})));
    EXPECT_TRUE(same(no_node.types, list<int>({ET_BAR2, ET_TRIA3})));
}

TEST(FEMAPInput, EmptiesAllOutputsWhereTheFileCannotBeOpened)
{
    for (const char* name : {"/no/such/file", static_cast<const char*>(nullptr)}) {
        mesh m = read(two_nodes + elements(bar));
        m.code = FEMAP_input(name, m.pos, m.connectM, m.offsets, m.types, m.groups);
        EXPECT_EQ(m.code, -1);
        EXPECT_TRUE(m.pos.empty() && m.connectM.empty());
        EXPECT_EQ(m.offsets.size + m.types.size + m.groups.size, 0U);

        m = read(two_nodes + elements(bar));
        element_type type = ET_HEXA8;
        EXPECT_EQ(FEMAP_input(name, m.pos, m.connectM, type), -1);
        EXPECT_TRUE(m.pos.empty() && m.connectM.empty());
        EXPECT_EQ(type, ET_HEXA8);

        m = read(two_nodes + elements(bar));
        dense2D<unsigned> second = columns<unsigned>({{1}});
        element_type type2 = ET_NODE;
        EXPECT_EQ(FEMAP_input(name, m.pos, m.connectM, second, type, type2), -1);
        EXPECT_TRUE(m.pos.empty() && m.connectM.empty() && second.empty());
        EXPECT_EQ(type, ET_HEXA8);
        EXPECT_EQ(type2, ET_NODE);
    }
    EXPECT_EQ(read_file(testing::TempDir().c_str()).code, -1); // opens, but cannot be read
}

TEST(FEMAPInput, ReplacesWhatTheOutputsHeld)
{
    mesh m = read(two_nodes + elements(triangle + quad + triangle));
    const temporary_file in(nodes(node("0", "7,8,9")) + elements(bar));
    m.code = FEMAP_input(in.name(), m.pos, m.connectM, m.offsets, m.types, m.groups);
    EXPECT_TRUE(same(m, read(nodes(node("0", "7,8,9")) + elements(bar))));
}

// ---- one matrix, two matrices ----

TEST(FEMAPInput, GivesTheFirstRunAsOneMatrix)
{
    const temporary_file in(two_nodes + elements(triangle + triangle + quad));
    dense2D<double> pos;
    dense2D<unsigned> connectM;
    element_type type = ET_NONE;
    EXPECT_EQ(FEMAP_input(in.name(), pos, connectM, type), 0);
    EXPECT_EQ(type, ET_TRIA3);
    EXPECT_EQ(pos.cols, 2U);
    EXPECT_TRUE(same(connectM, columns<unsigned>({{0, 1, 2}, {0, 1, 2}})));
    EXPECT_EQ(connectM.ld, 4U); // a view of the matrix of the file
}

TEST(FEMAPInput, GivesTwoRunsAsTwoMatrices)
{
    const temporary_file in(two_nodes + elements(triangle + triangle + quad + bar));
    dense2D<double> pos;
    dense2D<unsigned> first;
    dense2D<unsigned> second;
    element_type type1 = ET_NONE;
    element_type type2 = ET_NONE;
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, second, type1, type2), 0);
    EXPECT_EQ(type1, ET_TRIA3);
    EXPECT_EQ(type2, ET_QUAD4);
    EXPECT_TRUE(same(first, columns<unsigned>({{0, 1, 2, none}, {0, 1, 2, none}})));
    EXPECT_TRUE(same(second, columns<unsigned>({{3, 2, 1, 0}})));

    // The second has the rows of its type alone.
    in.write(two_nodes + elements(quad + triangle));
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, second, type1, type2), 0);
    EXPECT_TRUE(same(first, columns<unsigned>({{3, 2, 1, 0}})));
    EXPECT_TRUE(same(second, columns<unsigned>({{0, 1, 2}})));
}

TEST(FEMAPInput, LeavesTheSecondMatrixEmptyWhereThereIsOneRun)
{
    const temporary_file in(two_nodes + elements(triangle));
    dense2D<double> pos;
    dense2D<unsigned> first;
    auto second = columns<unsigned>({{1, 2}});
    element_type type1 = ET_NONE;
    element_type type2 = ET_HEXA8;
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, second, type1, type2), 0);
    EXPECT_EQ(type1, ET_TRIA3);
    EXPECT_EQ(type2, ET_HEXA8);
    EXPECT_TRUE(same(first, columns<unsigned>({{0, 1, 2}})));
    EXPECT_TRUE(second.empty());
}

TEST(FEMAPInput, HandsOnRunsOfUnknownElementsAsTheyAreCounted)
{
    dense2D<double> pos;
    dense2D<unsigned> first;
    dense2D<unsigned> second;
    element_type type1 = ET_HEXA8;
    element_type type2 = ET_HEXA8;
    // types 0 and ET_TRIA3, offsets 0 and 2
    const temporary_file in(two_nodes + elements(unknown + triangle + triangle));
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, type1), 0);
    EXPECT_EQ(type1, ET_NONE);
    EXPECT_TRUE(first.empty());
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, second, type1, type2), 0);
    EXPECT_EQ(type1, ET_NONE);
    EXPECT_TRUE(same(first, columns<unsigned>({{0, 1, 2}, {0, 1, 2}})));
    EXPECT_EQ(type2, ET_TRIA3);
    EXPECT_TRUE(second.empty());

    // types ET_TRIA3, 0, ET_QUAD4, offsets 0, 1, 3
    in.write(two_nodes + elements(triangle + triangle + unknown + quad));
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, type1), 0);
    EXPECT_EQ(type1, ET_TRIA3);
    EXPECT_TRUE(same(first, columns<unsigned>({{0, 1, 2}})));
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, second, type1, type2), 0);
    EXPECT_TRUE(same(first, columns<unsigned>({{0, 1, 2, none}})));
    EXPECT_EQ(type2, ET_NONE);
    EXPECT_TRUE(second.empty());

    // types ET_TRIA3 and 0, offsets 0, 0, 1
    in.write(two_nodes + elements(triangle + unknown));
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, type1), 0);
    EXPECT_EQ(type1, ET_TRIA3);
    EXPECT_TRUE(first.empty());
}

TEST(FEMAPInput, KeepsTheMatricesEmptyWhereNoMeshWasRead)
{
    const temporary_file in(elements(triangle + quad)); // no node
    dense2D<double> pos;
    auto first = columns<unsigned>({{1}});
    auto second = first;
    element_type type1 = ET_HEXA8;
    element_type type2 = ET_NODE;
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, second, type1, type2), -1);
    EXPECT_TRUE(first.empty() && second.empty());
    EXPECT_EQ(type1, ET_HEXA8);
    EXPECT_EQ(type2, ET_NODE);
    // The form for one matrix reads into it.
    EXPECT_EQ(FEMAP_input(in.name(), pos, first, type1), -1);
    EXPECT_TRUE(same(first, columns<unsigned>({{0, 1, 2, none}, {3, 2, 1, 0}})));
    EXPECT_EQ(type1, ET_HEXA8);
}

// ---- against the plain reader ----

enum class outcome { read, stopped, left_out };

// What the plain reader makes of a file must be what comes out. One that stops the process is only
// tried where asked for, as that costs a process; one with a high identifier is left out.
outcome compare(const std::string& content, bool try_stop)
{
    mesh expected;
    try {
        expected = read_plainly(content);
    } catch (const plain::too_many_columns&) {
        return outcome::left_out;
    } catch (const plain::stopped&) {
        if (try_stop) expect_stop(content);
        return outcome::stopped;
    }
    EXPECT_TRUE(same(read(content), expected)) << content;
    return outcome::read;
}

TEST(FEMAPInput, ReadsACutFileAsThePlainReaderDoes)
{
    const std::string whole =
        two_nodes + elements(bar + unknown + quad) + nodes(node("2", "1e1,.5,-3"));
    int stopped = 0;
    for (std::size_t n = 0; n <= whole.size(); ++n)
        if (compare(whole.substr(0, n), n % 5 == 0) == outcome::stopped) ++stopped;
    EXPECT_GT(stopped, 50);
    EXPECT_LT(std::size_t(stopped), whole.size() / 2);
}

TEST(FEMAPInput, ReadsMutatedFilesAsThePlainReaderDoes)
{
    const std::string pieces[] = {"403\n",
                                  "404\n",
                                  "-1\n",
                                  "\n",
                                  ",",
                                  " ",
                                  "-1",
                                  "-",
                                  "0x1p3",
                                  "1e",
                                  "+",
                                  ".",
                                  "nan",
                                  "\t",
                                  "\r\n",
                                  "11,",
                                  ",,",
                                  "99999999999999999999",
                                  bar,
                                  quad,
                                  unknown,
                                  node("1", "1,2,3"),
                                  std::string(1, '\0')};
    const std::string whole =
        two_nodes + elements(bar + quad + triangle) + nodes(node("7", "1,2,3"));
    std::mt19937 random(20260);
    const auto below = [&](std::size_t n) { return std::size_t(random() % n); };
    int read_files = 0;
    int stops_tried = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string content = whole;
        for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
            const std::size_t at = below(content.size() + 1);
            switch (below(4)) {
            case 0:
                content.insert(at, pieces[below(std::size(pieces))]);
                break;
            case 1:
                content.erase(at, below(3));
                break;
            case 2:
                content.erase(at, below(80));
                break;
            default:
                if (at < content.size()) content[at] = char(random());
            }
        }
        const bool try_stop = stops_tried < 40;
        const outcome o = compare(content, try_stop);
        read_files += o == outcome::read;
        stops_tried += o == outcome::stopped && try_stop;
        if (HasFailure()) return;
    }
    EXPECT_GT(read_files, 1000);
}

TEST(FEMAPInput, ReadsRandomFieldsAsThePlainReaderDoes)
{
    const std::string letters = "00112233445566778899.eE+- x";
    const std::string ids[] = {"0", "7", "42"};
    std::mt19937 random(77);
    const auto add_field = [&](std::string& line, std::size_t longest) {
        for (std::size_t n = random() % (longest + 1); n > 0; --n)
            line += letters[random() % letters.size()];
        line += ',';
    };
    for (int round = 0; round < 3000; ++round) {
        std::string record = "7,";
        add_field(record, 12);
        record += "0,32,4,1,0,0,0,0,0,0,0,\n";
        for (int k = 0; k < 20; ++k) {
            add_field(record, random() % 2 ? 1 : 22);
            if (k % 10 == 9) record += '\n';
        }
        record += "\n\n\n\n";
        std::string xyz;
        for (const std::size_t longest : {20U, 9U, 25U}) add_field(xyz, longest);
        const std::string text = nodes(node(ids[random() % 3], xyz)) + elements(record);
        ASSERT_EQ(compare(text, false), outcome::read) << text;
        if (HasFailure()) return;
    }
}

TEST(FEMAPInput, ReadsRandomBytesAsNothing)
{
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        std::string content(random() % 300, '\0');
        for (char& c : content) c = char(random());
        compare(content, true);
    }
}

TEST(FEMAPInput, ReadsLinesThatCrossTheBlocksOfItsBuffer)
{
    // 65536 bytes are read at once: fields and line ends fall on every place around that.
    const std::string lines = two_nodes + elements(quad + triangle);
    const mesh expected = read(lines);
    for (std::size_t n = 65536 - 100; n < 65536; n += 7) {
        EXPECT_TRUE(same(read(std::string(n, 'x') + "\n" + lines), expected)) << n;
        EXPECT_TRUE(same(read(std::string(2 * n, ' ') + lines), expected)) << n; // "-1" with blanks
    }
    EXPECT_TRUE(same(read(std::string(3000000, 'x') + "\n" + lines), expected));
    const mesh wide =
        read_nodes("0,0,0,1,0,0,0,0,0,0,0," + std::string(300000, ' ') + "1.5,2,3,0,\n");
    EXPECT_TRUE(same(wide.pos, columns<double>({{1.5, 2, 3}})));
    std::string many;
    for (int j = 0; j < 20000; ++j) many += node(std::to_string(j), std::to_string(j) + ",0.5,-1");
    const mesh m = read_nodes(many);
    ASSERT_EQ(m.pos.cols, 20000U);
    for (std::size_t j = 0; j < 20000; ++j) ASSERT_EQ(m.pos(0, j), double(j));
}

// ---- surroundings ----

TEST(FEMAPInput, ReadsFromAPipe)
{
    const std::string content = golden("kinds.neu");
    const temporary_file pipe;
    ASSERT_EQ(mkfifo(pipe.name(), 0600), 0);
    std::thread writer([&] {
        std::ofstream out(pipe.name(), std::ios::binary);
        for (std::size_t at = 0; at < content.size(); at += 37)
            out.write(content.data() + at,
                      std::streamsize(std::min<std::size_t>(37, content.size() - at)))
                .flush();
    });
    const mesh m = read_file(pipe.name());
    writer.join();
    EXPECT_EQ(m.code, 0);
    EXPECT_TRUE(same(m, read(content)));
}

TEST(FEMAPInput, ClosesEveryFile)
{
    const std::size_t before = open_descriptors();
    const temporary_file in(two_nodes + elements(bar));
    for (int round = 0; round < 10; ++round) {
        mesh m = read("");
        read(two_nodes + elements(bar));
        element_type type = ET_NONE;
        FEMAP_input(in.name(), m.pos, m.connectM, type);
        FEMAP_input(in.name(), m.pos, m.connectM, m.connectM, type, type);
        read_file("/no/such/file");
    }
    EXPECT_EQ(open_descriptors(), before);
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST(FEMAPInput, ReadsTheSameValuesUnderALocaleWithADecimalComma)
{
    const std::string lines =
        nodes(node("0", "1.5,-2.25e1,0x1.8p1") + node("1", "1e-400, .5,1.")) + elements(bar);
    const mesh expected = read(lines);
    EXPECT_EQ(expected.pos(2, 0), 3);
    const comma_locale locale;
    EXPECT_TRUE(same(read(lines), expected));
    EXPECT_TRUE(same(read(golden("kinds.neu")), read(golden("kinds.neu"))));
}
#endif

// ---- exhausted memory ----

std::string strip(int n)
{
    std::string points;
    std::string faces;
    for (int i = 0; i < n; ++i) {
        points += node(std::to_string(2 * i), std::to_string(i) + ",0,0");
        points += node(std::to_string(2 * i + 1), std::to_string(i) + ",1,0");
        if (i == 0) continue;
        faces += i % 3 == 0 ? element("1", "2", {2 * i, 2 * i + 1, 2 * i - 1})
                            : element("2", "4", {2 * i, 2 * i + 1, 2 * i - 1, 2 * i - 2});
    }
    return nodes(points + node("60000000", "0,0,0")) + elements(faces);
}

// Lists that fit each other, and nothing that cannot be read.
void expect_sound(const mesh& m)
{
    EXPECT_TRUE(m.pos.rows == 0 || m.pos.rows == 3);
    const std::size_t elements = m.connectM.empty() ? 0 : m.connectM.cols;
    EXPECT_EQ(m.groups.size, elements);
    if (elements != 0) {
        ASSERT_EQ(m.offsets.size, m.types.size + 1);
        EXPECT_EQ(m.offsets[0], 0U);
        EXPECT_EQ(m.offsets[m.offsets.size - 1], elements);
    }
    for (std::size_t i = 1; i < m.offsets.size; ++i) EXPECT_LE(m.offsets[i - 1], m.offsets[i]);
    for (std::size_t g = 0; elements != 0 && g < m.types.size; ++g)
        for (std::size_t e = m.offsets[g]; e < m.offsets[g + 1]; ++e)
            for (std::size_t k = 0; k < m.connectM.rows; ++k)
                EXPECT_EQ(m.connectM(k, e) == none, k >= element_type_nodes[m.types[g]]);
}

TEST(FEMAPInput, StaysWholeWhereTheContainersFindMemoryExhausted)
{
    const temporary_file in(strip(14));
    const std::size_t blocks = allocation::live_blocks();
    const std::size_t descriptors = open_descriptors();
    for (const bool onwards : {false, true}) {
        const auto refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, const auto& armed) {
                mesh m;
                m.code = armed([&] {
                    return FEMAP_input(in.name(), m.pos, m.connectM, m.offsets, m.types, m.groups);
                });
                EXPECT_EQ(m.code, m.pos.empty() || m.connectM.empty() ? -1 : 0) << n;
                expect_sound(m);
            },
            onwards);
        EXPECT_GT(refused, 15U);
        allocation::sweep<allocation::fail_containers>(
            [&](std::size_t, const auto& armed) {
                mesh m;
                dense2D<unsigned> second;
                element_type type1 = ET_NONE;
                element_type type2 = ET_NONE;
                m.code = armed([&] {
                    return FEMAP_input(in.name(), m.pos, m.connectM, second, type1, type2);
                });
                EXPECT_TRUE(m.code == 0 || m.code == -1);
                EXPECT_TRUE(second.empty() || second.rows == element_type_nodes[type2]);
            },
            onwards);
        allocation::sweep<allocation::fail_containers>(
            [&](std::size_t, const auto& armed) {
                mesh m;
                element_type type = ET_NONE;
                m.code = armed([&] { return FEMAP_input(in.name(), m.pos, m.connectM, type); });
                EXPECT_TRUE(m.code == 0 || m.code == -1);
                EXPECT_TRUE(m.code == -1 || m.connectM.rows == element_type_nodes[type]);
            },
            onwards);
    }
    EXPECT_EQ(allocation::live_blocks(), blocks);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST(FEMAPInput, LetsTheAllocationExceptionPassAndLeaksNothing)
{
    // A line across the blocks of the buffer, a node that waits, and a number that only the runtime
    // reads.
    const temporary_file in(strip(14) + std::string(70000, 'x') + "\n" +
                            nodes(node("16777216", "0x1.800000000000000000000000p1,0,0")));
    const std::size_t blocks = allocation::live_blocks();
    const std::size_t descriptors = open_descriptors();
    for (const bool onwards : {false, true})
        for (const int form : {0, 1, 2}) {
            const auto refused = allocation::sweep<allocation::fail_new>(
                [&](std::size_t, const auto& armed) {
                    mesh m;
                    dense2D<unsigned> second;
                    element_type type1 = ET_NONE;
                    element_type type2 = ET_NONE;
                    try {
                        m.code = armed([&] {
                            if (form == 1) return FEMAP_input(in.name(), m.pos, m.connectM, type1);
                            if (form == 2)
                                return FEMAP_input(in.name(), m.pos, m.connectM, second, type1,
                                                   type2);
                            return FEMAP_input(in.name(), m.pos, m.connectM, m.offsets, m.types,
                                               m.groups);
                        });
                        EXPECT_TRUE(m.code == 0 || m.code == -1);
                    } catch (const std::bad_alloc&) {
                    }
                    EXPECT_TRUE(m.pos.rows == 0 || m.pos.rows == 3);
                },
                onwards);
            EXPECT_GT(refused, 1U);
        }
    EXPECT_EQ(allocation::live_blocks(), blocks);
    EXPECT_EQ(open_descriptors(), descriptors);
}

} // namespace
