#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/stl_files.h"
#include "support/files.h"
#include "support/same.h"

using kz3::lattiq::STL_input;

namespace {

using namespace stl;
using ::same;
using stl::same;

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
        // The letter of an exponent that does not come goes with the number.
        {"1e", 1.0},
        {"1E+", 1.0},
        {"0x1p-", 1.0},
        {"0x.", 0.0},
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
         {"-", "+", ".", "-.", "e5", "x", "--1", "1,5", "in", "na", "infi", "0x", "0xg"}) {
        const mesh m = read(first_line + collinear +
                                facet("0 0 0", std::string("1 ") + number + " 0", "0 1 0"),
                            text);
        EXPECT_EQ(m.code, 1) << number;
        EXPECT_EQ(m.pos.cols, 4u) << number;
    }
    // Nor does white space or the end make up for a missing one.
    EXPECT_EQ(read(first_line + collinear + facet("0 0 0", "1 0", "0 1 0"), text).pos.cols, 4u);
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

TEST(STLInput, ReadsATextWhateverPlaceItsBlocksEndIn)
{
    const std::string odd = facet("+0x0 -0. 0e0", "1e 0 .0", "0 1e0 0");
    const std::string facets = unit + odd;
    const dense2D<unsigned> twice = columns<unsigned>({{0, 1, 2}, {0, 1, 2}});
    for (std::size_t n = 0; n <= facets.size(); ++n) {
        const std::string padding(65536 - first_line.size() - n, ' ');
        ASSERT_TRUE(same(read(first_line + padding + facets, text), mesh{2, unit_nodes(), twice}))
            << n;
        // The same for lines that are cut in pieces.
        const std::string lines = first_line + std::string(65536 - first_line.size() - n, '\n') +
                                  "facet normal 0 0 1\n" + std::string(254 + n % 3, 'o') +
                                  "\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\ne\ne\n";
        ASSERT_EQ(read(lines, text).code, n % 3 == 2 ? 0 : 1) << n;
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

} // namespace
