#include "formats/file.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/comma_locale.h"
#include "support/files.h"

using kz3::lattiq::detail::block_writer;
using kz3::lattiq::detail::file;

namespace {

// What body writes.
template <typename Body>
std::string written(Body body)
{
    std::FILE* stream = std::tmpfile();
    {
        block_writer to(stream);
        body(to);
        EXPECT_TRUE(to.flush());
    }
    std::rewind(stream);
    std::string s;
    for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) s.push_back(char(c));
    std::fclose(stream);
    return s;
}

std::string printed(const char* format, double value)
{
    char s[512];
    const int n = std::snprintf(s, sizeof s, format, value);
    return {s, std::size_t(n)};
}

TEST(BlockWriter, PrintsIntegersAndPadsThemToTheirField)
{
    EXPECT_EQ(written([](block_writer& to) {
                  to.integer(0u).character(' ').integer(-12, 5).integer(7, 8).integer(123456789, 8);
                  to.text("|").integer(std::size_t(18446744073709551615u));
                  to.text("|").integer(std::numeric_limits<std::int64_t>::min());
              }),
              "0   -12       7123456789|18446744073709551615|-9223372036854775808");
}

TEST(BlockWriter, PrintsDoublesInEveryStyle)
{
    EXPECT_EQ(written([](block_writer& to) {
                  to.scientific(0.1).text("|").scientific(-1.5, 5, 12).text("|");
                  to.scientific(1.5e-300, 8).text("|").upper_scientific(-2.5e10).text("|");
                  to.fixed(-0.0000004).text("|").fixed(1234.5).text("|");
                  to.general(1234567.0).text("|").general(0.0001).text("|").general(100000.0);
              }),
              "1.000000e-01|-1.50000e+00|1.50000000e-300|-2.500000E+10|"
              "-0.000000|1234.500000|1.23457e+06|0.0001|100000");
}

TEST(BlockWriter, PrintsWhatIsNoFiniteNumberAsTheRuntimeDoes)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(written([&](block_writer& to) {
                  to.scientific(HUGE_VAL).text("|").scientific(-HUGE_VAL).text("|");
                  to.scientific(nan).text("|").scientific(std::copysign(nan, -1.0)).text("|");
                  to.upper_scientific(HUGE_VAL).text("|").upper_scientific(nan).text("|");
                  to.upper_scientific(std::copysign(nan, -1.0)).text("|").fixed(nan).text("|");
                  to.scientific(nan, 5, 12);
              }),
              "inf|-inf|nan|-nan|INF|NAN|-NAN|nan|         nan");
}

TEST(BlockWriter, HoldsTheLargestAndTheSmallestNumbers)
{
    for (const double x : {DBL_MAX, -DBL_MAX, DBL_MIN, 4.9406564584124654e-324})
        EXPECT_EQ(written([&](block_writer& to) { to.fixed(x).text("|").scientific(x); }),
                  printed("%f", x) + "|" + printed("%e", x));
}

TEST(BlockWriter, AgreesWithTheRuntimeOnRandomBits)
{
    std::mt19937_64 random(20240501);
    std::string expected;
    const std::string got = written([&](block_writer& to) {
        for (int i = 0; i < 20000; ++i) {
            const std::uint64_t bits = random();
            double x = 0;
            std::memcpy(&x, &bits, sizeof x);
            to.scientific(x).scientific(x, 8).upper_scientific(x).scientific(x, 5, 12).general(x);
            expected += printed("%e", x) + printed("%.8e", x) + printed("%E", x) +
                        printed("%12.5e", x) + printed("%g", x);
            const double y = std::ldexp(double(std::int64_t(bits)), int(bits % 128) - 100);
            to.fixed(y).text("\n");
            expected += printed("%f", y) + "\n";
        }
    });
    EXPECT_TRUE(got == expected);
}

TEST(BlockWriter, KeepsOrderAcrossBlocksAndPiecesLargerThanABlock)
{
    const std::string large(200000, 'x');
    std::string expected;
    const std::string got = written([&](block_writer& to) {
        for (int i = 0; i < 30000; ++i) {
            to.integer(i, 7);
            char s[16];
            std::snprintf(s, sizeof s, "%7d", i);
            expected += s;
            if (i % 10000 == 5000) {
                to.text(large);
                expected += large;
            }
        }
    });
    EXPECT_TRUE(got == expected);
}

TEST(BlockWriter, RepeatsATextWithinAndAcrossBlocks)
{
    for (const std::size_t length : {1U, 3U, 7U, 1000U, 4096U})
        for (const std::size_t times : {0U, 1U, 2U, 5U, 1365U, 1366U, 100000U}) {
            if (length * times > 1000000) continue;
            std::string text;
            for (std::size_t i = 0; i < length; ++i) text += char('a' + i % 26);
            std::string expected = "begin";
            for (std::size_t i = 0; i < times; ++i) expected += text;
            EXPECT_TRUE(written([&](block_writer& to) {
                            to.text("begin").repeat(text, times).text("end");
                        }) == expected + "end")
                << length << " " << times;
        }
}

TEST(BlockWriter, TakesWhatIsPrintedIntoItsBlock)
{
    std::string expected;
    const std::string got = written([&](block_writer& to) {
        for (std::size_t n = 0; n <= block_writer::room; n += 31) {
            to.print([=](char* at) { return std::fill_n(at, n, char('a' + n % 26)); });
            expected += std::string(n, char('a' + n % 26));
        }
    });
    EXPECT_TRUE(got == expected);
}

TEST(BlockWriter, WritesAFileThatItTakesPastTheBuffer)
{
    const temporary_file name;
    std::string expected;
    {
        const file out(name.name(), "w");
        ASSERT_TRUE(out);
        block_writer to(out);
        for (int i = 0; i < 40000; ++i) {
            to.integer(i, 7);
            char s[16];
            std::snprintf(s, sizeof s, "%7d", i);
            expected += s;
        }
        EXPECT_TRUE(to.ok());
        EXPECT_EQ(name.read(), expected.substr(0, expected.size() / 65536 * 65536));
    }
    EXPECT_EQ(name.read(), expected);
}

TEST(BlockWriter, ReportsAFullDeviceAtOnceWhereNothingIsHeldBack)
{
    file out("/dev/full", "w");
    ASSERT_TRUE(out);
    block_writer to(out);
    EXPECT_FALSE(to.text("short").flush());
    EXPECT_TRUE(out.close());
}

TEST(BlockWriter, WritesItsRestWhenItGoes)
{
    const temporary_file rest;
    {
        const file out(rest.name(), "wt");
        ASSERT_TRUE(out);
        block_writer to(out.get());
        to.text("rest");
    }
    EXPECT_EQ(rest.read(), "rest");
}

#ifdef LATTIQ_COMMA_LOCALE_PATH
TEST(BlockWriter, WritesADecimalPointUnderALocaleWithAComma)
{
    const comma_locale locale;
    EXPECT_EQ(written([](block_writer& to) {
                  to.scientific(1.5).fixed(-2.25).general(0.5).upper_scientific(10).integer(12345);
              }),
              "1.500000e+00-2.2500000.51.000000E+0112345");
}
#endif

TEST(BlockWriter, ReportsAFullDeviceAndDropsTheRest)
{
    file out("/dev/full", "wb");
    ASSERT_TRUE(out);
    block_writer to(out.get());
    const std::string large(100000, 'x');
    EXPECT_TRUE(to.ok());
    to.text(large);
    EXPECT_FALSE(to.ok());
    EXPECT_FALSE(to.text("more").flush());
}

TEST(File, ReportsAtTheCloseWhatTheStreamHeldBack)
{
    file out("/dev/full", "wb");
    ASSERT_TRUE(out);
    block_writer to(out.get());
    EXPECT_TRUE(to.text("short").flush());
    EXPECT_FALSE(out.close());
    EXPECT_TRUE(out.close());
}

TEST(File, OpensNothingForANullOrUnknownName)
{
    EXPECT_FALSE(file(nullptr, "rt"));
    EXPECT_FALSE(file((testing::TempDir() + "no_such_directory/file").c_str(), "wt"));
}

} // namespace
