#include "formats/print_number.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

using namespace kz3::lattiq::detail;

namespace {

// What print leaves in a buffer that held something else.
template <typename Print>
std::string printed(Print print)
{
    char s[print_room];
    std::memset(s, '#', sizeof s);
    return {s, std::size_t(print(s) - s)};
}

template <typename T>
std::string runtime(const char* format, T value)
{
    char s[print_room];
    const int n = std::snprintf(s, sizeof s, format, value);
    return {s, std::size_t(n)};
}

std::string fixed(double x)
{
    return printed([=](char* to) { return print_fixed(to, x); });
}

template <int Decimals>
std::string scientific(double x, char letter = 'e')
{
    return printed([=](char* to) { return print_scientific<Decimals>(to, x, letter); });
}

std::string general(double x)
{
    return printed([=](char* to) { return print_general(to, x); });
}

// Whether x is printed as the runtime does, in every form and with either sign.
testing::AssertionResult agrees(double x)
{
    for (const double y : {x, -x}) {
        const std::string pairs[][2] = {
            {fixed(y), runtime("%f", y)},           {scientific<5>(y), runtime("%.5e", y)},
            {scientific<6>(y), runtime("%e", y)},   {scientific<6>(y, 'E'), runtime("%E", y)},
            {scientific<7>(y), runtime("%.7e", y)}, {scientific<8>(y), runtime("%.8e", y)},
            {general(y), runtime("%g", y)},
        };
        for (const auto& [ours, theirs] : pairs)
            if (ours != theirs)
                return testing::AssertionFailure() << ours << " instead of " << theirs;
    }
    return testing::AssertionSuccess();
}

TEST(PrintNumber, PrintsIntegersOfEveryLength)
{
    for (std::uint64_t power = 1; power <= 10'000'000'000; power *= 10)
        for (const std::uint64_t n : {power - 1, power, power + 1, 2 * power, 9 * power}) {
            const auto wide = std::int64_t(n);
            for (const std::int64_t value : {wide, -wide}) {
                EXPECT_EQ(printed([=](char* to) { return print_integer(to, value); }),
                          runtime("%ld", value));
                EXPECT_EQ(printed([=](char* to) { return print_integer_8(to, value); }),
                          runtime("%8ld", value));
            }
            EXPECT_EQ(printed([=](char* to) { return print_integer(to, unsigned(n)); }),
                      runtime("%u", unsigned(n)));
            EXPECT_EQ(printed([=](char* to) { return print_integer_8(to, int(unsigned(n))); }),
                      runtime("%8d", int(unsigned(n))));
        }
}

TEST(PrintNumber, AgreesWithTheRuntimeOnOrdinaryNumbers)
{
    std::mt19937_64 random(20240512);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int i = 0; i < 60000; ++i) {
        ASSERT_TRUE(agrees(unit(random)));
        ASSERT_TRUE(agrees(1000 * unit(random)));
    }
}

TEST(PrintNumber, AgreesWithTheRuntimeOnRandomBits)
{
    std::mt19937_64 random(20240513);
    for (int i = 0; i < 30000; ++i) {
        const std::uint64_t bits = random();
        double x = 0;
        std::memcpy(&x, &bits, sizeof x);
        ASSERT_TRUE(agrees(x));
    }
}

// Halves of the last digit that a double holds exactly go to the even side.
TEST(PrintNumber, RoundsExactHalvesToEven)
{
    EXPECT_EQ(fixed(0.0078125), "0.007812");
    EXPECT_EQ(fixed(0.0234375), "0.023438");
    EXPECT_EQ(scientific<6>(27.0 / 256), "1.054688e-01");
    EXPECT_EQ(scientific<6>(29.0 / 256), "1.132812e-01");
    EXPECT_EQ(scientific<5>(12345650), "1.23456e+07");
    EXPECT_EQ(scientific<5>(12345750), "1.23458e+07");
    EXPECT_EQ(general(2.5), "2.5");
    EXPECT_EQ(general(1000002.5), "1e+06");
    EXPECT_EQ(general(100000.5), "100000");
    EXPECT_EQ(general(100001.5), "100002");
    std::mt19937_64 random(20240514);
    for (int i = 0; i < 60000; ++i)
        ASSERT_TRUE(agrees(std::ldexp(double(random() % 65536), -int(random() % 40))));
}

// Decimal halves that no double holds: the product may round to a half from either side.
TEST(PrintNumber, TellsTheSideOfHalvesThatNoDoubleHolds)
{
    std::mt19937_64 random(20240515);
    for (int i = 0; i < 60000; ++i) {
        const double digits = double(random() % 1'000'000'000 / (i % 2 == 0 ? 1 : 1000)) + 0.5;
        const double x = digits * std::pow(10.0, int(random() % 40) - 20);
        ASSERT_TRUE(agrees(x));
        ASSERT_TRUE(agrees(std::nextafter(x, 0.0)));
        ASSERT_TRUE(agrees(std::nextafter(x, HUGE_VAL)));
    }
}

TEST(PrintNumber, CarriesIntoTheExponentAroundPowersOfTen)
{
    EXPECT_EQ(scientific<6>(9.99999951), "1.000000e+01");
    EXPECT_EQ(scientific<6>(9.9999994), "9.999999e+00");
    EXPECT_EQ(general(9.9999951e-5), "0.0001");
    EXPECT_EQ(general(999999.5), "1e+06");
    EXPECT_EQ(fixed(0.9999996), "1.000000");
    for (int power = -320; power <= 308; ++power) {
        double below = std::pow(10.0, power);
        double above = below;
        for (int i = 0; i < 4; ++i) {
            ASSERT_TRUE(agrees(below));
            ASSERT_TRUE(agrees(above));
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, HUGE_VAL);
        }
        for (const double part : {0.99999949, 0.9999995, 0.99999951, 0.9999999951, 1.00000005})
            ASSERT_TRUE(agrees(part * std::pow(10.0, power)));
    }
}

// Where the fast road ends.
TEST(PrintNumber, AgreesWithTheRuntimeAtTheLimitsOfItsRange)
{
    for (const double limit :
         {99'999'998.0, 99'999'999.0, 1e8, 1e-13, 1e22, 4e9, 4503599627370496.0, 4503599627.370496,
          std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
          4.9406564584124654e-324}) {
        EXPECT_TRUE(agrees(limit));
        EXPECT_TRUE(agrees(std::nextafter(limit, 0.0)));
        EXPECT_TRUE(agrees(std::nextafter(limit, HUGE_VAL)));
    }
    EXPECT_EQ(fixed(99'999'998.9999999), "99999999.000000");
    EXPECT_EQ(fixed(99'999'999.9999999), "100000000.000000");
}

TEST(PrintNumber, PrintsZerosAndWhatIsNoFiniteNumber)
{
    for (const double x : {0.0, HUGE_VAL, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_TRUE(agrees(x));
    EXPECT_EQ(general(-0.0), "-0");
    EXPECT_EQ(fixed(-1e-9), "-0.000000");
    EXPECT_EQ(scientific<6>(-HUGE_VAL, 'E'), "-INF");
}

TEST(PrintNumber, DropsZerosAtTheEndOfGeneralNumbers)
{
    EXPECT_EQ(general(100), "100");
    EXPECT_EQ(general(-120.5), "-120.5");
    EXPECT_EQ(general(0.5), "0.5");
    EXPECT_EQ(general(0.00012), "0.00012");
    EXPECT_EQ(general(0.000012), "1.2e-05");
    EXPECT_EQ(general(0.00001), "1e-05");
    EXPECT_EQ(general(123456), "123456");
    EXPECT_EQ(general(1234567), "1.23457e+06");
}

} // namespace
