#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "formats/stl_facet.h"

namespace {
using kz3::lattiq::detail::facet_height;
using kz3::lattiq::detail::stl_facet;
using kz3::lattiq::detail::surely_higher;

// Whether the short cut agrees with the height itself, for bounds all around it.
void expect_sure(const stl_facet& corners)
{
    const double height = facet_height(corners);
    for (const double part : {0.5, 0.99, 0.999, 1 - 1e-9, 1 - 1e-15, 1.0, 1 + 1e-15, 1.001, 2.0}) {
        const double least = height * part;
        if (surely_higher(corners, least)) {
            ASSERT_GT(height, least) << part;
        }
    }
    EXPECT_FALSE(surely_higher(corners, std::numeric_limits<double>::max()));
}

TEST(STLFacet, IsSurelyHigherOnlyWhereItIs)
{
    std::mt19937_64 random(94);
    const auto number = [&] { return double(random() >> 11) * 0x1p-52 - 1; };
    for (int round = 0; round < 100000; ++round) {
        const double size = std::pow(10, double(random() % 120) - 60);
        const double flat = random() % 3 == 0 ? std::pow(10, -double(random() % 18)) : 1;
        const double shift = random() % 3 == 0 ? size * std::pow(10, double(random() % 12)) : 0;
        stl_facet corners;
        for (auto& x : corners) x = {number() * size + shift, number() * size, number() * size};
        for (int d = 0; d < 3; ++d) // nearer to the line through the others
            corners[2][d] =
                flat * corners[2][d] + (1 - flat) * (0.3 * corners[0][d] + 0.7 * corners[1][d]);
        ASSERT_NO_FATAL_FAILURE(expect_sure(corners));
    }
}

// The square of the area loses bits there, or comes to be infinite.
TEST(STLFacet, IsSurelyHigherOnlyWhereItIsAtTheEndsOfTheRange)
{
    std::mt19937_64 random(95);
    const auto number = [&] { return double(random() >> 11) * 0x1p-52 - 1; };
    for (int round = 0; round < 100000; ++round) {
        const double end = random() % 4 == 0 ? 76 : -81.5;
        const double size = std::pow(10, end + double(random() % 1000) / 250);
        stl_facet corners;
        for (auto& x : corners) x = {number() * size, number() * size, number() * size};
        ASSERT_NO_FATAL_FAILURE(expect_sure(corners));
    }
}

TEST(STLFacet, IsSurelyHigherThanMuchLess)
{
    const stl_facet corners{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
    EXPECT_TRUE(surely_higher(corners, 0.7));
    EXPECT_TRUE(surely_higher(corners, 0.0));
    EXPECT_FALSE(surely_higher(corners, 0.71));
}

TEST(STLFacet, IsNotSureWithoutNumbersOrArea)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double x : {inf, -inf, nan, 1e160, 1e308}) {
        const stl_facet corners{{{0, 0, 0}, {x, 0, 0}, {0, 1, 0}}};
        EXPECT_FALSE(surely_higher(corners, 1e-3)) << x;
    }
    const stl_facet line{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}};
    EXPECT_FALSE(surely_higher(line, 0.0));
    const stl_facet tiny{{{0, 0, 0}, {1e-90, 0, 0}, {0, 1e-90, 0}}};
    EXPECT_FALSE(surely_higher(tiny, 1e-100));
}

} // namespace
