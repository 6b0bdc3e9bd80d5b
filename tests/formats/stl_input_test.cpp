#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "plain/formats/stl.h"
#include "support/allocation.h"
#include "support/comma_locale.h"
#include "support/files.h"
#include "support/same.h"

using kz3::lattiq::STL_input;
using kz3::lattiq::STL_output;

namespace {

const bool text = true;
const bool binary = false;

struct mesh {
    int code = 0;
    dense2D<double> pos;
    dense2D<unsigned> connectM;
};

mesh read_file(const char* name, bool ascii)
{
    mesh m;
    m.code = STL_input(name, m.pos, m.connectM, ascii);
    return m;
}

mesh read(const std::string& content, bool ascii)
{
    const temporary_file in(content);
    return read_file(in.name(), ascii);
}

mesh read_plainly(const std::string& content, bool ascii)
{
    const temporary_file in(content);
    mesh m;
    m.code = plain::STL_input(in.name(), m.pos, m.connectM, ascii);
    return m;
}

using ::same;

testing::AssertionResult same(const mesh& a, const mesh& b)
{
    if (a.code != b.code) return testing::AssertionFailure() << a.code << " against " << b.code;
    const auto pos = same(a.pos, b.pos);
    return pos ? same(a.connectM, b.connectM) : pos;
}

// A facet from its three nodes, each a line of three numbers.
std::string facet(const std::string& a, const std::string& b, const std::string& c)
{
    return "   facet normal 0 0 1\n      outer loop\n         vertex " + a + "\n         vertex " +
           b + "\n         vertex " + c + "\n      endloop\n   endfacet\n";
}

const std::string first_line = "solid KZ3\n";
const std::string last_line = "endsolid KZ3\n";
const std::string unit = facet("0 0 0", "1 0 0", "0 1 0");      // of the height 0.7071
const std::string collinear = facet("0 0 0", "1 0 0", "2 0 0"); // of no height

dense2D<double> unit_nodes()
{
    return columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
}

dense2D<double> collinear_nodes()
{
    return columns<double>({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
}

dense2D<unsigned> one_facet()
{
    return columns<unsigned>({{0, 1, 2}});
}

template <typename T>
void append(std::string& bytes, T value)
{
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.append(raw, sizeof value);
}

std::string binary_head(std::uint32_t count)
{
    std::string bytes(80, 'h');
    append(bytes, count);
    return bytes;
}

// A binary facet from nine coordinates, with a normal and an attribute that mean nothing.
std::string binary_facet(const std::vector<float>& coordinates)
{
    std::string bytes;
    for (const float x : {9.0F, 8.0F, 7.0F}) append(bytes, x);
    for (const float x : coordinates) append(bytes, x);
    append(bytes, std::uint16_t(0xBEEF));
    return bytes;
}

std::string binary_unit()
{
    return binary_facet({0, 0, 0, 1, 0, 0, 0, 1, 0});
}

std::string binary_collinear()
{
    return binary_facet({0, 0, 0, 1, 0, 0, 2, 0, 0});
}

void expect_nothing(const mesh& m, int code)
{
    EXPECT_EQ(m.code, code);
    EXPECT_TRUE(m.pos.empty());
    EXPECT_TRUE(m.connectM.empty());
}

// ---- codes and states ----

TEST(STLInput, RefusesAFileItCannotOpenAndEmptiesItsOutputs)
{
    const std::size_t before = open_descriptors();
    for (const bool form : {text, binary}) {
        mesh m;
        m.pos = unit_nodes();
        m.connectM = one_facet();
        const std::string nowhere = testing::TempDir() + "no_such_directory/file";
        m.code = STL_input(nowhere.c_str(), m.pos, m.connectM, form);
        expect_nothing(m, -1);
        for (const std::size_t dimension :
             {m.pos.rows, m.pos.cols, m.pos.ld, m.connectM.rows, m.connectM.cols, m.connectM.ld})
            EXPECT_EQ(dimension, 0u);
        m.pos = unit_nodes();
        m.code = STL_input(nullptr, m.pos, m.connectM, form);
        expect_nothing(m, -1);
        expect_nothing(read_file(testing::TempDir().c_str(), form), -1); // a directory
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(STLInput, RefusesAnEmptyFile)
{
    const std::size_t before = open_descriptors();
    expect_nothing(read("", text), -1);
    expect_nothing(read("", binary), -1);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(STLInput, RefusesABinaryFileShorterThanItsHead)
{
    const std::string head = binary_head(0);
    for (std::size_t n = 0; n < head.size(); ++n)
        expect_nothing(read(head.substr(0, n), binary), -1);
    expect_nothing(read(head, binary), 0);
}

TEST(STLInput, ReplacesWhatTheOutputsHeldInTheirStorage)
{
    mesh m;
    m.pos = dense2D<double>(3, 40, 7.0);
    m.connectM = dense2D<unsigned>(8, 40, 9u);
    const auto* storage = m.pos.vec->data;
    const temporary_file in(first_line + unit);
    EXPECT_EQ(STL_input(in.name(), m.pos, m.connectM, text), 1);
    EXPECT_TRUE(same(m.pos, unit_nodes()));
    EXPECT_TRUE(same(m.connectM, one_facet()));
    EXPECT_EQ(m.pos.vec->data, storage);
    EXPECT_EQ(m.pos.ld, 3u);
}

TEST(STLInput, FillsViewsWithoutTouchingWhatStandsBeforeThem)
{
    strided<double> nodes(dense2D<double>(3, 4, 7.0));
    dense2D<unsigned> connectM;
    const temporary_file in(first_line + unit);
    EXPECT_EQ(STL_input(in.name(), nodes.view, connectM, text), 1);
    EXPECT_TRUE(same(nodes.view, unit_nodes()));
    for (std::size_t i = 0; i < nodes.view.offset; ++i)
        EXPECT_EQ(nodes.parent.vec->data[i], nodes.canary);
}

// ---- the text form ----

TEST(STLInput, ReadsTheGoldenText)
{
    const temporary_file in(golden("solid.stl.txt"));
    const mesh m = read_file(in.name(), text);
    EXPECT_EQ(m.code, 5); // one facet of six repeats a node
    EXPECT_TRUE(same(
        m.pos,
        columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {123456.8, -1e-10, 0.1}})));
    EXPECT_TRUE(same(m.connectM,
                     columns<unsigned>({{0, 1, 2}, {1, 2, 3}, {0, 3, 1}, {0, 1, 3}, {3, 4, 0}})));
}

TEST(STLInput, TakesAnyFirstLine)
{
    for (const char* line : {"solid KZ3\n", "\n", "facet normal\n", "# \xff\x80\n", "solid\r\n"})
        EXPECT_TRUE(same(read(line + unit, text), mesh{1, unit_nodes(), one_facet()})) << line;
    EXPECT_EQ(read(std::string("a\0b\n", 4) + unit, text).code, 1);
}

TEST(STLInput, ReturnsNothingWhereNoFacetFollowsTheFirstLine)
{
    for (const char* rest : {"", "endsolid KZ3\n", "\n\n  \n", "what is this", "facet",
                             "facet normal", "facet normal 0 0", "facet normal 0 0 1\n"})
        expect_nothing(read(first_line + rest, text), 0);
    expect_nothing(read("solid", text), 0);
    expect_nothing(read(unit, text), 0); // the head went as first line
}

TEST(STLInput, TakesAFirstLineOfMoreThan255CharactersInPieces)
{
    const mesh whole{1, unit_nodes(), one_facet()};
    EXPECT_TRUE(same(read(std::string(254, 'x') + "\n" + unit, text), whole));
    // 255 characters fill the piece; the line end behind them is white space before the head.
    EXPECT_TRUE(same(read(std::string(255, 'x') + "\n" + unit, text), whole));
    expect_nothing(read(std::string(256, 'x') + "\n" + unit, text), 0);
    expect_nothing(read(std::string(1000, 'x') + "\n" + unit, text), 0);
    EXPECT_TRUE(
        same(read(std::string(255, 'x') + std::string(300, ' ') + "\n" + unit, text), whole));
}

TEST(STLInput, TakesTheLoopLinesInPiecesOf255Characters)
{
    const auto with = [](const std::string& outer, const std::string& endloop,
                         const std::string& endfacet) {
        return first_line + "facet normal 0 0 1\n" + outer +
               "\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n" + endloop + "\n" + endfacet + "\n" +
               unit;
    };
    const std::string fits(254, 'o');
    const std::string fills(255, 'o');
    const std::string over(256, 'o');
    EXPECT_EQ(read(with(fits, fits, fits), text).code, 2);
    EXPECT_EQ(read(with(fills, fits, fills), text).code, 2);
    EXPECT_EQ(read(with(over, fits, fits), text).code, 0);
    // A long endloop stands for both lines; the line after it is then no facet head.
    EXPECT_EQ(read(with(fits, over, fits), text).code, 1);
    EXPECT_EQ(read(with(fits, fits, over), text).code, 1);
}

TEST(STLInput, ReadsUpperCaseAsNoFacet)
{
    expect_nothing(read(first_line + "   FACET NORMAL 0 0 1\n" + unit, text), 0);
    expect_nothing(read(first_line + "   facet Normal 0 0 1\n" + unit, text), 0);
    EXPECT_EQ(read(first_line + "facet normal 0 0 1\nouter loop\nVERTEX 0 0 0\n", text).code, 0);
}

TEST(STLInput, MatchesAnyWhiteSpaceAlsoNone)
{
    const mesh whole{1, unit_nodes(), one_facet()};
    const std::string rest =
        "\nouter loop\nvertex0 0 0vertex\t1\v0\f0vertex\n\n0\n1\n0\nendloop\nendfacet";
    EXPECT_TRUE(same(read(first_line + "facetnormal0 0 1" + rest, text), whole));
    EXPECT_TRUE(
        same(read(first_line + "\n\n \t facet\n\nnormal\n0\n0\n1\n\n\n" + rest, text), whole));
}

TEST(STLInput, ReadsLineEndsOfTwoCharacters)
{
    std::string crlf;
    for (const char c : first_line + unit + unit + last_line)
        crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    const mesh m = read(crlf, text);
    EXPECT_EQ(m.code, 2);
    EXPECT_TRUE(same(m.pos, unit_nodes()));
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1, 2}, {0, 1, 2}})));
}

TEST(STLInput, IgnoresTheContentOfTheLoopLines)
{
    EXPECT_TRUE(same(read(first_line + "facet normal 0 0 1\n?\nvertex 0 0 0\nvertex 1 0 0\n"
                                       "vertex 0 1 0\nfacet normal\nvertex 1 1 1",
                          text),
                     mesh{1, unit_nodes(), one_facet()}));
}

TEST(STLInput, NeedsALineEachForTheLoopAndTheFacetEnd)
{
    // Without a line for "outer loop" the first node goes in its place.
    EXPECT_EQ(read(first_line + "facet normal 0 0 1\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"
                                "endloop\nendfacet\n",
                   text)
                  .code,
              0);
}

TEST(STLInput, NeverReachesASecondSolid)
{
    EXPECT_EQ(read(first_line + unit + last_line + first_line + unit + last_line, text).code, 1);
}

TEST(STLInput, StopsAtTheFirstByteThatIsNoFacet)
{
    EXPECT_EQ(read(first_line + unit + std::string(1, '\0') + unit, text).code, 1);
    EXPECT_EQ(read(first_line + unit + "x" + unit, text).code, 1);
}

struct number_case {
    const char* number;
    double value;
};

// What the runtime's "%lg" makes of a number in the second coordinate of a node.
TEST(STLInput, TakesNumbersInAnyFormOfTheRuntime)
{
    const double inf = std::numeric_limits<double>::infinity();
    const number_case cases[] = {
        {"1", 1.0},
        {"+1", 1.0},
        {"-1", -1.0},
        {"1.", 1.0},
        {".5", 0.5},
        {"-.5e1", -5.0},
        {"1e2", 100.0},
        {"1E+02", 100.0},
        {"0x1.8p1", 3.0},
        {"0X10", 16.0},
        {"-0xAp-1", -5.0},
        {"1e999", inf},
        {"-1e999", -inf},
        {"1e-999", 0.0},
        {"inf", inf},
        {"-INFINITY", -inf},
        {"000000012", 12.0},
        {"4.9e-324", 4.9406564584124654e-324},
        {"0.1000000000000000055511151231257827021181583404541015625", 0.1},
        {"9007199254740993", 9007199254740992.0},
        {"1.7976931348623157e308", std::numeric_limits<double>::max()},
    };
    for (const number_case& c : cases) {
        // Collinear or without a finite height: nothing is joined.
        const mesh m =
            read(first_line + facet(std::string("0 ") + c.number + " 0", "0 0 0", "0 0 0"), text);
        EXPECT_EQ(m.code, 1) << c.number;
        ASSERT_EQ(m.pos.cols, 3u) << c.number;
        EXPECT_EQ(m.pos(1, 0), c.value) << c.number;
    }
    const mesh m = read(first_line + facet("0 nan 0", "0 -NaN 0", "0 0 0"), text);
    ASSERT_EQ(m.pos.cols, 3u);
    EXPECT_TRUE(std::isnan(m.pos(1, 0)));
    EXPECT_TRUE(std::isnan(m.pos(1, 1)));
}

TEST(STLInput, EndsAtANumberThatIsNone)
{
    for (const char* number :
         {"1e", "-", "+", ".", "e5", "1e+", "x", "--1", "1,5", "in", "na", ""}) {
        // The third number is missing, or the second.
        const mesh m = read(
            first_line + collinear + facet("0 0 0", std::string("1 ") + number, "0 1 0"), text);
        EXPECT_EQ(m.code, 1) << number;
        EXPECT_EQ(m.pos.cols, 4u) << number;
    }
}

TEST(STLInput, TakesNumbersThatRunIntoEachOther)
{
    const mesh m = read(first_line + facet("1-2+3", "1.5.5.25", "0 0 0"), text);
    EXPECT_EQ(m.code, 1);
    EXPECT_TRUE(same(m.pos, columns<double>({{1, -2, 3}, {1.5, 0.5, 0.25}, {0, 0, 0}})));
    // Here the x left over is no vertex.
    EXPECT_EQ(read(first_line + facet("0 0 1.5x", "1 0 0", "0 1 0"), text).pos.cols, 1u);
}

TEST(STLInput, KeepsTheNodesOfAnUnfinishedFacetWhereNothingIsJoined)
{
    const std::string start = first_line + collinear + "facet normal 0 0 1\nouter loop\n";
    const auto nodes_of = [&](const std::string& rest) {
        const mesh m = read(start + rest, text);
        EXPECT_EQ(m.code, 1) << rest;
        EXPECT_TRUE(same(m.connectM, one_facet())) << rest;
        return m.pos.cols;
    };
    EXPECT_EQ(nodes_of(""), 3u);
    EXPECT_EQ(nodes_of("vertex 0 0"), 3u);
    EXPECT_EQ(nodes_of("vertex 0 0 0"), 4u);
    EXPECT_EQ(nodes_of("vertex 0 0 0\nvertex 1 0 0\n"), 5u);
    EXPECT_EQ(nodes_of("vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"), 6u);
    EXPECT_EQ(nodes_of("vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\n"), 6u);
}

TEST(STLInput, DropsTheNodesOfAnUnfinishedFacetWithWelding)
{
    const std::string cut = "facet normal 0 0 1\nouter loop\nvertex 5 5 5\nvertex 6 5 5\n";
    EXPECT_TRUE(same(read(first_line + unit + cut, text), mesh{1, unit_nodes(), one_facet()}));
}

// ---- the binary form ----

TEST(STLInput, ReadsTheGoldenBinary)
{
    const temporary_file in(golden("solid.stl.bin"));
    const mesh m = read_file(in.name(), binary);
    EXPECT_EQ(m.code, 5);
    EXPECT_TRUE(
        same(m.pos, columns<double>({{0, 0, 0},
                                     {1, 0, 0},
                                     {0, 1, 0},
                                     {0, 0, 1},
                                     {double(123456.789F), double(-1e-10F), double(0.1F)}})));
    EXPECT_TRUE(same(m.connectM,
                     columns<unsigned>({{0, 1, 2}, {1, 2, 3}, {0, 3, 1}, {0, 1, 3}, {3, 4, 0}})));
}

TEST(STLInput, ReadsNoMoreFacetsThanTheCountSays)
{
    const std::string three = binary_unit() + binary_unit() + binary_unit();
    expect_nothing(read(binary_head(0) + three, binary), 0);
    EXPECT_EQ(read(binary_head(2) + three, binary).code, 2);
    EXPECT_EQ(read(binary_head(3) + three, binary).code, 3);
}

TEST(STLInput, ReadsTheWholeFacetsBeforeTheBreakOfALyingCount)
{
    EXPECT_EQ(read(binary_head(4) + binary_unit(), binary).code, 1);
    const std::size_t most = std::size_t(64) << 10;
    const mesh m = read(binary_head(0x7FFFFFFF) + binary_unit(), binary);
    EXPECT_TRUE(same(m, mesh{1, unit_nodes(), one_facet()}));
    EXPECT_LT(m.pos.vec->capacity, most);
    EXPECT_LT(m.connectM.vec->capacity, most);
}

TEST(STLInput, ReadsNothingForACountWithTheTopBitSet)
{
    for (const std::uint32_t count : {0x80000000U, 0x80000001U, 0xFFFFFFFFU})
        expect_nothing(read(binary_head(count) + binary_unit(), binary), 0);
}

TEST(STLInput, KeepsTheNodesReadBeforeTheEndOfABinaryFile)
{
    const std::string file = binary_head(9) + binary_collinear() + binary_collinear();
    for (std::size_t n = 0; n <= 50; ++n) {
        const mesh m = read(file.substr(0, 84 + 50 + n), binary);
        EXPECT_EQ(m.code, n == 50 ? 2 : 1) << n;
        EXPECT_EQ(m.pos.cols, 3u + (n < 24 ? 0u : n < 36 ? 1u : n < 48 ? 2u : 3u)) << n;
    }
}

TEST(STLInput, ReadsManyFacets)
{
    // Past several blocks of the reader, with the last one cut.
    std::string file = binary_head(5000);
    std::string lines = first_line;
    for (int i = 0; i < 3000; ++i) {
        const auto x = float(3 * i);
        file += binary_facet({x, 0, 0, x + 1, 0, 0, x, 1, 0});
        const std::string s = std::to_string(3 * i);
        lines += facet(s + " 0 0", std::to_string(3 * i + 1) + " 0 0", s + " 1 0");
    }
    file += binary_unit().substr(0, 40);
    for (const mesh& m : {read(file, binary), read(lines, text)}) {
        EXPECT_EQ(m.code, 3000);
        ASSERT_EQ(m.pos.cols, 9000u);
        for (std::size_t e = 0; e < 3000; ++e) {
            ASSERT_EQ(m.connectM(2, e), 3 * e + 2);
            ASSERT_EQ(m.pos(0, 3 * e + 1), double(3 * e + 1));
            ASSERT_EQ(m.pos(1, 3 * e + 2), 1.0);
        }
    }
}

TEST(STLInput, DoesNotDetectTheWrongForm)
{
    // As text: the header is the first line, and what follows is no facet.
    expect_nothing(read(golden("solid.stl.bin"), text), 0);
    // As binary: the bytes at offset 80 are taken as the count, those behind as facets.
    const std::string as_count = first_line + std::string(70, ' ') + std::string("\1\0\0\0", 4);
    EXPECT_TRUE(
        same(read(as_count + binary_unit() + unit, binary), mesh{1, unit_nodes(), one_facet()}));
    const mesh m = read(golden("solid.stl.txt"), binary);
    EXPECT_EQ(m.code, read_plainly(golden("solid.stl.txt"), binary).code);
    EXPECT_GE(m.code, 0);
}

// ---- tolerance and welding ----

// The smallest height is that over the long edge of `unit`, 0.70710678; the tolerance is 0.035355.
TEST(STLInput, JoinsNodesCloserThanATwentiethOfTheSmallestHeight)
{
    const auto with_gap = [](const std::string& z) {
        return read(first_line + unit + facet("1 0 " + z, "0 1 " + z, "5 5 0"), text);
    };
    const mesh joined = with_gap("0.0353");
    EXPECT_EQ(joined.code, 2);
    EXPECT_TRUE(same(joined.pos, columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 0}})));
    EXPECT_TRUE(same(joined.connectM, columns<unsigned>({{0, 1, 2}, {1, 2, 3}})));

    const mesh apart = with_gap("0.0354");
    EXPECT_EQ(apart.code, 2);
    EXPECT_TRUE(same(apart.connectM, columns<unsigned>({{0, 1, 2}, {3, 4, 5}})));
    EXPECT_EQ(apart.pos.cols, 6u);
}

TEST(STLInput, TakesTheSmallestHeightOfTheWholeFile)
{
    // A late facet of the height 0.1 brings the tolerance down to 0.005.
    const std::string second = facet("1 0 0.01", "0 1 0.01", "5 5 0");
    const std::string flat = facet("50 0 0", "52 0 0", "51 0.1 0");
    EXPECT_EQ(read(first_line + unit + second, text).pos.cols, 4u);
    EXPECT_EQ(read(first_line + unit + second + flat, text).pos.cols, 9u);
    EXPECT_EQ(read(first_line + flat + unit + second, text).pos.cols, 9u);
    // Each corner in its turn is the one the height stands on.
    EXPECT_EQ(
        read(first_line + unit + second + facet("51 0.1 0", "50 0 0", "52 0 0"), text).pos.cols,
        9u);
    EXPECT_EQ(
        read(first_line + unit + second + facet("52 0 0", "51 0.1 0", "50 0 0"), text).pos.cols,
        9u);
}

TEST(STLInput, GivesFacetsWithoutHeightNoSayInTheTolerance)
{
    EXPECT_EQ(read(first_line + collinear + unit + unit, text).code, 3);
    EXPECT_EQ(read(first_line + collinear + unit + unit, text).pos.cols, 4u);
}

TEST(STLInput, JoinsNothingWhereNoFacetHasAHeight)
{
    const mesh m = read(first_line + collinear + collinear, text);
    EXPECT_EQ(m.code, 2);
    EXPECT_EQ(m.pos.cols, 6u);
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1, 2}, {3, 4, 5}})));
    const mesh b = read(binary_head(2) + binary_collinear() + binary_collinear(), binary);
    EXPECT_TRUE(same(b, m));
    EXPECT_TRUE(same(read(first_line + collinear, text), mesh{1, collinear_nodes(), one_facet()}));
}

// Over the edge of 1e200 the length overflows, and two distances are 0; the third is infinite.
TEST(STLInput, TakesTheSmallestOfTheThreeDistances)
{
    const std::string overflow = facet("0 1 0", "0 0 0", "1e200 0 0");
    const mesh m = read(first_line + overflow + overflow, text);
    EXPECT_EQ(m.code, 2);
    EXPECT_EQ(m.pos.cols, 6u);
}

TEST(STLInput, RemovesFacetsThatCollapseInWelding)
{
    const mesh m = read(first_line + facet("7 7 7", "7.001 7 7", "7 7 7") + unit, text);
    EXPECT_EQ(m.code, 1);
    EXPECT_TRUE(same(m, mesh{1, unit_nodes(), one_facet()}));
}

// ---- against the plain reader ----

TEST(STLInput, ReadsEveryTruncationAsThePlainReader)
{
    const std::string lines =
        first_line + collinear + unit + facet("1 0 1e-3", "-1.5e+0 1 0", "1 1 1") + last_line;
    for (std::size_t n = 0; n <= lines.size(); ++n)
        ASSERT_TRUE(same(read(lines.substr(0, n), text), read_plainly(lines.substr(0, n), text)))
            << n;
    const std::string bytes = golden("solid.stl.bin");
    for (std::size_t n = 0; n <= bytes.size(); ++n)
        ASSERT_TRUE(
            same(read(bytes.substr(0, n), binary), read_plainly(bytes.substr(0, n), binary)))
            << n;
}

std::string random_text(std::mt19937& random)
{
    static const std::string pieces[] = {
        "facet normal 0 0 1\n",
        "outer loop\n",
        "vertex ",
        "endloop\n",
        "endfacet\n",
        "1 2 3\n",
        "0 0 0\n",
        "1 0 0\n",
        "0 1 0\n",
        "facet",
        "normal",
        "vertex",
        " ",
        "\n",
        "\t",
        "\r\n",
        "1e",
        "-",
        "+",
        ".",
        "0x",
        "0x1.8p",
        "p3",
        "inf",
        "infinity",
        "nan",
        "nan(12)",
        "1e400",
        "-1e-400",
        "5",
        "1.5",
        "e",
        "E-3",
        "x",
        "(",
        std::string(1, '\0'),
        "in",
        "infin",
        std::string(255, 'l'),
        "endsolid",
        "\v\f",
    };
    std::string s = first_line;
    for (auto n = random() % 5; n > 0; --n) {
        // Mostly a facet, with something put into it or cut out of it.
        std::string f = unit;
        for (auto edits = random() % 4; edits > 0; --edits) {
            const auto at = random() % f.size();
            const auto what = random() % 3;
            if (what == 0)
                f.erase(at, random() % 4);
            else if (what == 1)
                f.insert(at, pieces[random() % std::size(pieces)]);
            else
                f[at] = char(random() % 256);
            if (f.empty()) f = " ";
        }
        s += f;
    }
    for (auto n = random() % 6; n > 0; --n) s += pieces[random() % std::size(pieces)];
    return s;
}

TEST(STLInput, ReadsRandomTextsAsThePlainReader)
{
    std::mt19937 random(8101);
    for (int round = 0; round < 3000; ++round) {
        const std::string s = random_text(random);
        ASSERT_TRUE(same(read(s, text), read_plainly(s, text)))
            << round << ": " << testing::PrintToString(s);
    }
}

// Numbers of random pieces, each in the place of the first coordinate.
TEST(STLInput, ReadsRandomNumbersAsThePlainReader)
{
    std::mt19937 random(8102);
    static const char* pieces[] = {"0",
                                   "1",
                                   "9",
                                   "07",
                                   ".",
                                   "e",
                                   "E",
                                   "+",
                                   "-",
                                   "x",
                                   "0x",
                                   "p",
                                   "a",
                                   "F",
                                   "i",
                                   "n",
                                   "inf",
                                   "nan",
                                   "inity",
                                   "(",
                                   ")",
                                   "_",
                                   "123456789012345678901",
                                   "e5",
                                   "e-320",
                                   "e308",
                                   "p-1074",
                                   " ",
                                   "\n",
                                   "\t",
                                   "INF",
                                   "NaN",
                                   "f",
                                   "t",
                                   "y"};
    for (int round = 0; round < 8000; ++round) {
        std::string number;
        for (auto n = 1 + random() % 6; n > 0; --n) number += pieces[random() % std::size(pieces)];
        const std::string s = first_line + facet(number + " 1 2", "0 0 0", "0 0 0") + collinear;
        ASSERT_TRUE(same(read(s, text), read_plainly(s, text)))
            << round << ": " << testing::PrintToString(number);
    }
}

TEST(STLInput, ReadsRandomBytesAsThePlainReader)
{
    std::mt19937 random(8103);
    for (int round = 0; round < 3000; ++round) {
        std::string s(random() % 400, ' ');
        for (char& c : s) c = char(random() % 256);
        if (s.size() > 84 && round % 2 == 0) s.replace(80, 4, std::string("\5\0\0\0", 4));
        for (const bool form : {text, binary})
            ASSERT_TRUE(same(read(s, form), read_plainly(s, form)))
                << round << ": " << testing::PrintToString(s);
    }
}

TEST(STLInput, ReadsWhatTheWriterWrote)
{
    std::mt19937 random(8104);
    std::uniform_real_distribution<> coordinate(-1, 1);
    for (int round = 0; round < 20; ++round) {
        dense2D<double> pos(3, 30 + random() % 300);
        for (std::size_t j = 0; j < pos.cols; ++j)
            for (std::size_t i = 0; i < 3; ++i) pos(i, j) = coordinate(random);
        dense2D<unsigned> connectM(3, 10 + random() % 500);
        for (std::size_t j = 0; j < connectM.cols; ++j)
            for (std::size_t i = 0; i < 3; ++i) connectM(i, j) = unsigned(random() % pos.cols);
        for (const bool form : {text, binary}) {
            const temporary_file file;
            ASSERT_EQ(STL_output(file.name(), pos, connectM, form), 0);
            const std::string content = file.read();
            ASSERT_TRUE(same(read(content, form), read_plainly(content, form))) << round;
        }
    }
}

// A strip of unit squares cut in two: all inner nodes are shared, also after rounding to floats.
TEST(STLInput, BringsAMeshBackThroughEitherForm)
{
    dense2D<double> pos(3, 22);
    dense2D<unsigned> connectM(3, 20);
    for (std::size_t i = 0; i < 11; ++i)
        for (std::size_t side = 0; side < 2; ++side) {
            pos(0, 2 * i + side) = double(i) / 3;
            pos(1, 2 * i + side) = double(side) / 3;
            pos(2, 2 * i + side) = 0.1;
        }
    for (std::size_t e = 0; e < 20; ++e)
        for (std::size_t k = 0; k < 3; ++k) connectM(k, e) = unsigned(e + k);
    for (const bool form : {text, binary}) {
        const temporary_file file;
        ASSERT_EQ(STL_output(file.name(), pos, connectM, form), 0);
        const mesh m = read_file(file.name(), form);
        EXPECT_EQ(m.code, 20);
        EXPECT_TRUE(same(m.connectM, connectM));
        ASSERT_EQ(m.pos.cols, 22u);
        for (std::size_t j = 0; j < 22; ++j)
            for (std::size_t i = 0; i < 3; ++i) {
                if (form == binary)
                    EXPECT_EQ(m.pos(i, j), double(float(pos(i, j))));
                else
                    EXPECT_NEAR(m.pos(i, j), pos(i, j), 5e-7 * std::abs(pos(i, j)));
            }
    }
}

// ---- surroundings ----

TEST(STLInput, ReadsFromAPipe)
{
    for (const bool form : {text, binary}) {
        const std::string content = golden(form ? "solid.stl.txt" : "solid.stl.bin");
        const temporary_file pipe;
        ASSERT_EQ(mkfifo(pipe.name(), 0600), 0);
        std::thread writer([&] {
            // In pieces, so that the reader meets short reads.
            std::ofstream out(pipe.name(), std::ios::binary);
            for (std::size_t at = 0; at < content.size(); at += 37)
                out.write(content.data() + at,
                          std::streamsize(std::min<std::size_t>(37, content.size() - at)))
                    .flush();
        });
        const mesh m = read_file(pipe.name(), form);
        writer.join();
        EXPECT_TRUE(same(m, read(content, form)));
        EXPECT_EQ(m.code, 5);
    }
}

TEST(STLInput, ClosesEveryFile)
{
    const std::size_t before = open_descriptors();
    for (int round = 0; round < 20; ++round)
        for (const bool form : {text, binary}) {
            read(first_line + unit, form);
            read(binary_head(3) + binary_unit() + binary_unit(), form);
            read(binary_head(0x7FFFFFFF), form);
            read("x", form);
        }
    EXPECT_EQ(open_descriptors(), before);
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST(STLInput, ReadsTheSameValuesUnderALocaleWithADecimalComma)
{
    const std::string lines = first_line + unit + facet("1.5 0 0.25", "-0.125 1e-1 0", "5.5 5 0");
    const mesh expected = read(lines, text);
    const mesh comma = read(first_line + facet("1,5 0 0", "0 0 0", "0 0 0"), text);
    EXPECT_EQ(expected.pos(0, 3), 1.5);
    const comma_locale locale;
    EXPECT_TRUE(same(read(lines, text), expected));
    EXPECT_TRUE(same(read(first_line + facet("1,5 0 0", "0 0 0", "0 0 0"), text), comma));
    EXPECT_TRUE(same(read(golden("solid.stl.bin"), binary), read(golden("solid.stl.bin"), binary)));
    char still[16];
    std::snprintf(still, sizeof still, "%.1f", 1.5);
    EXPECT_EQ(std::string(still), "1,5"); // the caller's locale is as it was
}
#endif

// ---- exhausted memory ----

// A state that can be used and let go: every index it names is checked by whoever takes it next.
void expect_usable(const mesh& m)
{
    for (const auto rows : {m.pos.rows, m.connectM.rows}) EXPECT_TRUE(rows == 0 || rows == 3);
    double sum = 0;
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        for (std::size_t i = 0; i < m.pos.rows; ++i) sum += m.pos(i, j);
    for (std::size_t j = 0; j < m.connectM.cols; ++j)
        for (std::size_t i = 0; i < m.connectM.rows; ++i) sum += m.connectM(i, j);
    EXPECT_FALSE(std::isnan(sum));
}

std::string strip(int n)
{
    std::string s = first_line;
    for (int i = 0; i < n; ++i) {
        const std::string a = std::to_string(i) + " 0 0";
        const std::string b = std::to_string(i + 1) + " 0 0";
        s += facet(a, b, std::to_string(i) + " 1 0") + facet(b, a, std::to_string(i) + " -1 0");
    }
    return s;
}

TEST(STLInput, StaysWholeWhereTheContainersFindMemoryExhausted)
{
    const temporary_file in(strip(12));
    const std::size_t before = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        const auto refused = allocation::sweep<allocation::fail_containers>(
            [&](std::size_t n, const auto& armed) {
                mesh m;
                m.code = armed([&] { return STL_input(in.name(), m.pos, m.connectM, text); });
                expect_usable(m);
                EXPECT_LE(m.code, 24) << n;
                if (m.code >= 0)
                    EXPECT_EQ(std::size_t(m.code), m.connectM.cols) << n;
                else
                    EXPECT_TRUE(m.code == -2 || m.code == -199) << n << ": " << m.code;
            },
            onwards);
        EXPECT_GT(refused, 5u);
    }
    EXPECT_EQ(allocation::live_blocks(), before);
}

TEST(STLInput, RefusesToWeldFacetsWhoseNodesFoundNoMemory)
{
    // The first allocations are those of the first node: pos stays without its first column, and the
    // last facet names a node past its end.
    const temporary_file in(first_line + unit + unit);
    mesh m;
    {
        // One by reserve, one by resize, for each node and each facet: nothing can be had at all.
        const allocation::fail_containers breaker(1, true);
        m.code = STL_input(in.name(), m.pos, m.connectM, text);
        EXPECT_TRUE(breaker.fired());
    }
    EXPECT_EQ(m.pos.cols, 0u);
    EXPECT_EQ(m.connectM.cols, 0u);
    EXPECT_EQ(m.code, 0);

    // Room for the facets, and none for the nodes.
    ASSERT_TRUE(m.connectM.reserve(3, 4));
    {
        const allocation::fail_containers breaker(1, true);
        m.code = STL_input(in.name(), m.pos, m.connectM, text);
    }
    EXPECT_EQ(m.code, -2);
    EXPECT_EQ(m.pos.cols, 0u);
    EXPECT_TRUE(same(m.connectM, columns<unsigned>({{0, 1, 2}, {3, 4, 5}})));
}

TEST(STLInput, LetsTheAllocationExceptionPassAndLeaksNothing)
{
    const temporary_file in(strip(12));
    const std::size_t descriptors = open_descriptors();
    const std::size_t before = allocation::live_blocks();
    for (const bool onwards : {false, true}) {
        allocation::sweep<allocation::fail_new>(
            [&](std::size_t, const auto& armed) {
                mesh m;
                try {
                    m.code = armed([&] { return STL_input(in.name(), m.pos, m.connectM, text); });
                    EXPECT_LE(m.code, 24);
                } catch (const std::bad_alloc&) {
                }
                expect_usable(m);
            },
            onwards);
    }
    EXPECT_EQ(allocation::live_blocks(), before);
    EXPECT_EQ(open_descriptors(), descriptors);
}

} // namespace
