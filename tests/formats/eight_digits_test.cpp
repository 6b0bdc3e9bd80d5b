#include "formats/eight_digits.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "formats/text_number.h"

using namespace kz3::lattiq::detail;

namespace {

std::string eight(std::uint32_t n)
{
    char s[16];
    std::snprintf(s, sizeof s, "%08u", n);
    return s;
}

TEST(EightDigits, SplitsAndJoinsNumbers)
{
    std::mt19937 random(20240511);
    for (int i = 0; i < 200000; ++i) {
        const std::uint32_t n = i < 20000 ? unsigned(i) : unsigned(random() % 100'000'000);
        char s[8];
        put(s, eight_digits(n) | zeros);
        ASSERT_EQ(std::string(s, 8), eight(n));
        ASSERT_EQ(number_of_digits(eight_digits(n)), n);
    }
}

TEST(EightDigits, CountsThemUpToTheFirstOtherByteWhateverFollows)
{
    std::mt19937 random(20240520);
    for (int other = 0; other < 256; ++other) {
        if (is_digit(char(other))) continue;
        for (unsigned n = 0; n < 8; ++n)
            for (int i = 0; i < 20; ++i) {
                std::string s = eight(unsigned(random() % 100'000'000));
                s[n] = char(other);
                for (std::size_t k = n + 1; k < 8; ++k) s[k] = char(random());
                ASSERT_EQ(count_digits(get(s.data())), n) << other;
            }
    }
    EXPECT_EQ(count_digits(get("00000000")), 8U);
    EXPECT_EQ(count_digits(get("99999999")), 8U);
}

TEST(EightDigits, PassesNoMoreThanEightAndNotBeyondTheEnd)
{
    const std::string text = "12345678901234,";
    for (std::size_t first = 0; first < text.size(); ++first)
        for (std::size_t last = first; last <= text.size(); ++last) {
            const std::string piece = text.substr(first, last - first);
            std::uint32_t number = 7;
            const char* const end =
                pass_eight_digits(piece.data(), piece.data() + piece.size(), number);
            const std::size_t n = std::min<std::size_t>(8, std::min<std::size_t>(last, 14) -
                                                               std::min<std::size_t>(first, 14));
            EXPECT_EQ(std::size_t(end - piece.data()), n) << piece;
            EXPECT_EQ(number, std::strtoul(piece.substr(0, n).c_str(), nullptr, 10)) << piece;
        }
}

TEST(EightDigits, PassNothingAheadOfAnotherCharacter)
{
    for (const std::string text : {"x1234567", ",,,,,,,,", "-12345678", " 99999999"}) {
        std::uint32_t number = 7;
        EXPECT_EQ(pass_eight_digits(text.data(), text.data() + text.size(), number), text.data());
        EXPECT_EQ(number, 0U) << text;
    }
}

TEST(TextToInt, TakesTheNearestNumberOf64BitsAndOfThatTheLowBits)
{
    EXPECT_EQ(text_to_int("9223372036854775804"), -4);
    EXPECT_EQ(text_to_int("9223372036854775805"), -3);
    EXPECT_EQ(text_to_int("9223372036854775807"), -1);
    EXPECT_EQ(text_to_int("9223372036854775808"), -1);
    EXPECT_EQ(text_to_int("92233720368547758040"), -1);
    EXPECT_EQ(text_to_int("-9223372036854775805"), 3);
    EXPECT_EQ(text_to_int("-9223372036854775808"), 0);
    EXPECT_EQ(text_to_int("-9223372036854775809"), 0);
    EXPECT_EQ(text_to_int("-4294967295"), 1);
    EXPECT_EQ(text_to_int("4294967295"), -1);
}

// What stands behind a text may be another one, or no storage at all.
TEST(TextToInt, LooksNoFurtherThanTheText)
{
    for (const std::string number : {"7", "-7", "12345678", "123456789", "  42"}) {
        const std::vector<char> exact(number.begin(), number.end());
        EXPECT_EQ(text_to_int({exact.data(), exact.size()}), std::atoi(number.c_str())) << number;
    }
    const std::string_view digits = "1234567890123";
    for (std::size_t n = 1; n <= digits.size(); ++n)
        EXPECT_EQ(text_to_int(digits.substr(0, n)),
                  std::atoi(std::string(digits.substr(0, n)).c_str()))
            << n;
}

TEST(TextToInt, GivesWhatTheRuntimeGives)
{
    EXPECT_EQ(text_to_int(""), 0);
    EXPECT_EQ(text_to_int("12345678"), 12345678);
    EXPECT_EQ(text_to_int("123456789"), 123456789);
    const std::string letters = "0123456789012345678901234567890123456789 +-.x\t";
    std::mt19937 random(20240521);
    for (int i = 0; i < 100000; ++i) {
        std::string s;
        for (std::size_t n = random() % 24; n > 0; --n) s += letters[random() % letters.size()];
        ASSERT_EQ(text_to_int(s), std::atoi(s.c_str())) << s;
    }
}

} // namespace
