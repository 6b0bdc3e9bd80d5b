#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "formats/plain_number.h"

namespace {
using kz3::lattiq::detail::pass_plain_number;

// Reads the text with a blank behind it, and something that must not be looked at as a number.
void expect_as_strtod(const std::string& text)
{
    const std::string s = text + " 9";
    double value = 77;
    const char* end = pass_plain_number(s.data(), s.data() + s.size(), value);
    ASSERT_NE(end, nullptr) << text;
    EXPECT_EQ(end, s.data() + text.size()) << text;
    const double expected = std::strtod(text.c_str(), nullptr);
    ASSERT_EQ(std::memcmp(&value, &expected, sizeof value), 0)
        << text << ": " << value << " against " << expected;
}

void expect_refused(const std::string& s)
{
    double value = 77;
    EXPECT_EQ(pass_plain_number(s.data(), s.data() + s.size(), value), nullptr) << s;
    EXPECT_EQ(value, 77) << s;
}

std::string printed(const char* format, double value)
{
    char text[512];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

TEST(PlainNumber, ReadsWhatIsWritten)
{
    for (const char* text : {"0",
                             "-0",
                             "+0",
                             "0.0",
                             "-0.000000e+00",
                             "1",
                             "-1.",
                             ".5",
                             "-.5e1",
                             "1.234567e-05",
                             "+1.234567E+05",
                             "9007199254740992",
                             "9007199254740993",
                             "9007199254740992e22",
                             "9007199254740993e-22",
                             "1e22",
                             "1e23",
                             "1e-22",
                             "1e-23",
                             "12345678",
                             "1234567.12345678",
                             "1234567.123456781",
                             "1.2345678901234567",
                             "0.1234567890123456",
                             "0.12345678901234567",
                             "1.79769313486231570e+308",
                             "5e-324",
                             "2.2250738585072011e-308",
                             "1e000",
                             "1e-0001",
                             "0e999",
                             "123456789012345678901234567890",
                             "0.00000000000000000000000000000001",
                             "7e5"})
        expect_as_strtod(text);
}

TEST(PlainNumber, RefusesWhatIsNotPlain)
{
    for (const char* text :
         {"",       " ",    "-",     "+",    ".",    "-. ",    "e5 ",     "1",     "1.5",
          "1e5",    "0x1 ", "0x ",   "inf ", "nan ", "1e ",    "1e+ ",    "1.5e ", "1..5 ",
          "1.5.5 ", "1,5 ", "1e5x ", "--1 ", "+-1 ", "1e400 ", "1e-400 ", "1-"})
        expect_refused(text);
}

TEST(PlainNumber, ReadsRandomNumbersOfEveryFormAsTheRuntime)
{
    std::mt19937_64 random(92);
    const char* formats[] = {"%e", "%.5e", "%.8e", "%.16e", "%.17g",
                             "%g", "%f",   "%.0f", "%.15f", "%E"};
    for (int round = 0; round < 200000; ++round) {
        const double size = std::pow(10, double(random() % 60) - 30);
        const double value = size * (double(random() >> 11) * 0x1p-52 - 1);
        ASSERT_NO_FATAL_FAILURE(
            expect_as_strtod(printed(formats[random() % std::size(formats)], value)));
    }
}

TEST(PlainNumber, ReadsRandomDigitsAsTheRuntime)
{
    std::mt19937_64 random(93);
    const auto digits = [&](std::size_t n) {
        std::string s;
        for (; n > 0; --n) s += char('0' + random() % 10);
        return s;
    };
    for (int round = 0; round < 200000; ++round) {
        std::string text = random() % 2 == 0 ? "-" : "";
        text += digits(1 + random() % 10);
        if (random() % 4 != 0) text += '.' + digits(random() % 20);
        if (random() % 2 == 0) text += 'e' + std::to_string(int(random() % 60) - 30);
        ASSERT_NO_FATAL_FAILURE(expect_as_strtod(text));
    }
}

// Where the text breaks off, what stands behind it may be no storage.
TEST(PlainNumber, RefusesWhatBreaksOff)
{
    for (const std::string text : {"", "-", "+", "1", "1.", ".5", "12345678", "1.12345678", "1e",
                                   "1e+", "1e-", "1e12", "1.5E", "-1.234567e", "123456789e"}) {
        const std::vector<char> exact(text.begin(), text.end());
        double value = 77;
        EXPECT_EQ(pass_plain_number(exact.data(), exact.data() + exact.size(), value), nullptr)
            << text;
        EXPECT_EQ(value, 77) << text;
    }
}

// With few characters left behind the number, where digits cannot be taken by eights.
TEST(PlainNumber, LooksNoFurtherThanTheText)
{
    for (const std::string number : {"1", "12.5", "1.234567e-05", "123.45678", "-0.5"})
        for (std::size_t behind = 0; behind < 12; ++behind) {
            const std::string s = number + std::string(behind, ' ');
            const std::vector<char> exact(s.begin(), s.end());
            double value = 0;
            const char* end = pass_plain_number(exact.data(), exact.data() + exact.size(), value);
            if (behind == 0) {
                EXPECT_EQ(end, nullptr);
            } else {
                EXPECT_EQ(end, exact.data() + number.size());
                EXPECT_EQ(value, std::strtod(number.c_str(), nullptr));
            }
        }
}

} // namespace
