#include <cmath>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/stl_files.h"
#include "support/files.h"
#include "support/same.h"

using kz3::lattiq::STL_input;
using kz3::lattiq::STL_output;

namespace {

using namespace stl;
using ::same;
using stl::same;

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

} // namespace
