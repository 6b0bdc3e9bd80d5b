#include <cmath>
#include <csignal>
#include <limits>
#include <random>
#include <string>
#include <sys/resource.h>

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

dense2D<double> solid_nodes()
{
    return columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {123456.789, -1e-10, 0.1}});
}

dense2D<unsigned> solid_facets()
{
    return columns<unsigned>({{0, 1, 2}, {1, 2, 3}, {0, 1, 1}, {0, 3, 1}, {0, 1, 3}, {3, 4, 0}});
}

// Writes the mesh and returns the file.
std::string written(const dense2D<double>& pos, const dense2D<unsigned>& connectM, bool ascii)
{
    const temporary_file out;
    EXPECT_EQ(STL_output(out.name(), pos, connectM, ascii), 0);
    return out.read();
}

TEST(STLOutput, WritesTheGoldenFiles)
{
    EXPECT_TRUE(same_text(written(solid_nodes(), solid_facets(), text), golden("solid.stl.txt")));
    EXPECT_TRUE(same_text(written(solid_nodes(), solid_facets(), binary), golden("solid.stl.bin")));
}

TEST(STLOutput, WritesNoFacetsForNoColumns)
{
    const auto pos = solid_nodes();
    for (const auto& none_at_all : {dense2D<unsigned>(), dense2D<unsigned>(3, 0),
                                    dense2D<unsigned>(0, 7), dense2D<unsigned>(5, 0)}) {
        EXPECT_EQ(written(pos, none_at_all, text), "solid KZ3\nendsolid KZ3\n");
        EXPECT_EQ(written(pos, none_at_all, text), golden("empty.stl.txt"));
        EXPECT_EQ(written(pos, none_at_all, binary), golden("empty.stl.bin"));
        EXPECT_EQ(written(pos, none_at_all, binary).size(), 84u);
    }
    EXPECT_EQ(written(dense2D<double>(2, 0), dense2D<unsigned>(), binary), golden("empty.stl.bin"));
}

TEST(STLOutput, WritesAPlaneMeshAtHeightZero)
{
    const auto pos = columns<double>({{0, 0}, {1, 0}, {0, 1.5}});
    const auto tria = columns<unsigned>({{0, 1, 2}, {0, 2, 1}});
    EXPECT_TRUE(same_text(written(pos, tria, text), golden("plane.stl.txt")));
    EXPECT_TRUE(same_text(written(pos, tria, binary), golden("plane.stl.bin")));
}

TEST(STLOutput, WritesADegenerateTriangleWithoutANormal)
{
    const auto pos = columns<double>({{1, 1, 1}, {2, 2, 2}, {3, 3, 3}});
    const std::string file = written(pos, columns<unsigned>({{0, 1, 2}}), text);
    EXPECT_NE(file.find("facet normal 0.000000e+00 0.000000e+00 0.000000e+00\n"),
              std::string::npos);
    EXPECT_EQ(written(pos, columns<unsigned>({{0, 1, 2}}), binary).substr(84, 12),
              std::string(12, '\0'));
}

// (1, 2, 3) x (-3, 1, 2) = (1, -11, 7), of length sqrt(171): 0.076472, -0.841191, 0.535303.
TEST(STLOutput, TurnsTheNormalByTheRuleOfTheRightHand)
{
    const auto pos = columns<double>({{5, 5, 5}, {6, 7, 8}, {2, 6, 7}});
    EXPECT_NE(written(pos, columns<unsigned>({{0, 1, 2}}), text)
                  .find("facet normal 7.647191e-02 -8.411910e-01 5.353034e-01\n"),
              std::string::npos);
}

TEST(STLOutput, LeavesANormalWhoseLengthUnderflowsAsItIs)
{
    const auto pos = columns<double>({{0, 0, 0}, {1e-100, 0, 0}, {0, 1e-100, 0}});
    EXPECT_NE(written(pos, columns<unsigned>({{0, 1, 2}}), text)
                  .find("facet normal 0.000000e+00 0.000000e+00 1.000000e-200\n"),
              std::string::npos);
}

// The squares are 1.2, 0.4 and (largest - 1) in units of the last place of the largest double. The two
// small ones added first make 1.6 and carry the sum over to infinity, each by itself is rounded away.
TEST(STLOutput, AddsTheSquaresOfANormalInTheOrderXZY)
{
    const double unit = std::ldexp(1.0, 971);
    const double nx = std::sqrt(1.2 * unit);
    const double nz = std::sqrt(0.4 * unit);
    const double ny = std::sqrt(std::numeric_limits<double>::max());
    const auto pos = columns<double>({{0, 0, 0}, {0, -nz, ny}, {1, -nx / ny, 0}});
    const std::string file = written(pos, columns<unsigned>({{0, 1, 2}}), text);
    EXPECT_NE(file.find("facet normal 0.000000e+00 0.000000e+00 0.000000e+00\n"), std::string::npos)
        << file;
}

TEST(STLOutput, ReadsStridedViews)
{
    const strided<double> pos(solid_nodes());
    const strided<unsigned> connectM(solid_facets());
    EXPECT_TRUE(same_text(written(pos.view, connectM.view, text), golden("solid.stl.txt")));
    EXPECT_TRUE(same_text(written(pos.view, connectM.view, binary), golden("solid.stl.bin")));
    EXPECT_TRUE(pos.gaps_untouched());
    EXPECT_TRUE(connectM.gaps_untouched());
}

TEST(STLOutput, ReportsTheFirstFaultAndLeavesAnEmptyFile)
{
    const auto pos = solid_nodes();
    const auto tria = solid_facets();
    const dense2D<double> four_rows(4, 5, 0.0);
    const dense2D<double> one_row(1, 5, 0.0);
    const auto quad = columns<unsigned>({{0, 1, 2, 3}});
    const auto past_the_end = columns<unsigned>({{0, 1, 2}, {0, 1, 5}});
    const auto hole = columns<unsigned>({{0, none, 2}});
    struct step {
        const dense2D<double>& pos;
        const dense2D<unsigned>& connectM;
        int code;
    };
    const step ladder[] = {
        {four_rows, tria, -2},
        {one_row, tria, -2},
        {dense2D<double>(), tria, -2},
        {four_rows, quad, -2},
        {one_row, past_the_end, -2},
        {pos, quad, -3},
        {pos, past_the_end, -3},
        {pos, hole, -3},
        {dense2D<double>(3, 0), tria, -3},
        {dense2D<double>(2, 0), tria, -3},
    };
    const std::size_t before = open_descriptors();
    for (const bool form : {text, binary}) {
        for (const step& s : ladder) {
            const temporary_file out("what stood here before");
            EXPECT_EQ(STL_output(out.name(), s.pos, s.connectM, form), s.code);
            EXPECT_EQ(out.read(), "");

            // A file that cannot be opened comes before all else.
            const std::string nowhere = std::string(out.name()) + ".missing/file";
            EXPECT_EQ(STL_output(nowhere.c_str(), s.pos, s.connectM, form), -1);
            EXPECT_EQ(STL_output(nullptr, s.pos, s.connectM, form), -1);
        }
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(STLOutput, ReportsAFullDevice)
{
    const std::size_t before = open_descriptors();
    const auto pos = solid_nodes();
    dense2D<unsigned> many(3, 5000, 0u);
    for (const bool form : {text, binary}) {
        EXPECT_EQ(STL_output("/dev/full", pos, many, form), -1);
        // Small enough to be held back until the file is closed.
        EXPECT_EQ(STL_output("/dev/full", pos, solid_facets(), form), -1);
        EXPECT_EQ(STL_output("/dev/full", pos, dense2D<unsigned>(), form), -1);
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(STLOutput, KeepsThePartialFileOfAFailedWrite)
{
    const dense2D<double> pos(3, 1, 0.0);
    const dense2D<unsigned> many(3, 5000, 0u);
    for (const bool form : {text, binary}) {
        const std::string whole = written(pos, many, form);
        const temporary_file out;
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const auto previous = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100000, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        const int code = STL_output(out.name(), pos, many, form);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, previous);
        EXPECT_EQ(code, -1);
        const std::string partial = out.read();
        EXPECT_GT(partial.size(), 60000u);
        EXPECT_LE(partial.size(), 100000u);
        EXPECT_TRUE(partial == whole.substr(0, partial.size()));
    }
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST(STLOutput, WritesTheSameBytesUnderALocaleWithADecimalComma)
{
    const comma_locale locale;
    EXPECT_TRUE(same_text(written(solid_nodes(), solid_facets(), text), golden("solid.stl.txt")));
    EXPECT_TRUE(same_text(written(solid_nodes(), solid_facets(), binary), golden("solid.stl.bin")));
}
#endif

TEST(STLOutput, AgreesWithThePlainWriterOnRandomMeshes)
{
    std::mt19937 random(811);
    for (int round = 0; round < 60; ++round) {
        const auto rows = std::size_t(2 + random() % 2);
        const std::size_t nodes = 3 + random() % 400;
        dense2D<double> pos(rows, nodes);
        for (std::size_t j = 0; j < nodes; ++j)
            for (std::size_t i = 0; i < rows; ++i)
                pos(i, j) =
                    std::ldexp(std::uniform_real_distribution<>(-1, 1)(random),
                               round < 40 ? int(random() % 20) : int(random() % 1000) - 500);
        if (round >= 55) pos(0, nodes / 2) = std::numeric_limits<double>::infinity();
        dense2D<unsigned> connectM(3, random() % 3000);
        for (std::size_t j = 0; j < connectM.cols; ++j)
            for (std::size_t i = 0; i < 3; ++i) connectM(i, j) = unsigned(random() % nodes);
        for (const bool form : {text, binary}) {
            const temporary_file expected;
            ASSERT_EQ(plain::STL_output(expected.name(), pos, connectM, form), 0);
            ASSERT_TRUE(same_text(written(pos, connectM, form), expected.read())) << round;
        }
    }
}

TEST(STLOutput, AllocatesNothing)
{
    const auto pos = solid_nodes();
    const auto tria = solid_facets();
    const temporary_file out;
    for (const bool form : {text, binary}) {
        const auto write = [&](std::size_t, const auto& armed) {
            EXPECT_EQ(armed([&] { return STL_output(out.name(), pos, tria, form); }), 0);
        };
        EXPECT_EQ(allocation::sweep<allocation::fail_containers>(write), 0u);
        EXPECT_EQ(allocation::sweep<allocation::fail_new>(write), 0u);
        EXPECT_EQ(out.read(), golden(form ? "solid.stl.txt" : "solid.stl.bin"));
    }
}

} // namespace
