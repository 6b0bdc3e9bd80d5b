#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/stl_files.h"
#include "formats/stl_points.h"
#include "support/allocation.h"
#include "support/files.h"
#include "support/same.h"

// What becomes of corners that facets share, beside the plain reader, which stores every corner.

using kz3::lattiq::STL_input;

namespace {

using namespace stl;
using stl::same;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();

// Nine coordinates for each facet.
using soup = std::vector<std::vector<float>>;

std::string to_file(const soup& facets, bool form)
{
    std::string content = form == text ? first_line : binary_head(std::uint32_t(facets.size()));
    for (const auto& x : facets) {
        if (form == binary) {
            content += binary_facet(x);
            continue;
        }
        std::string node[3];
        for (std::size_t k = 0; k < 9; ++k) {
            char number[40];
            std::snprintf(number, sizeof number, "%.9g ", double(x[k]));
            node[k / 3] += number;
        }
        content += facet(node[0], node[1], node[2]);
    }
    return content;
}

testing::AssertionResult same_bits(const mesh& a, const mesh& b)
{
    if (a.code != b.code || a.pos.cols != b.pos.cols || a.pos.rows != b.pos.rows)
        return testing::AssertionFailure() << a.code << " with " << a.pos.cols << " nodes against "
                                           << b.code << " with " << b.pos.cols;
    for (std::size_t j = 0; j < a.pos.cols; ++j)
        for (std::size_t i = 0; i < a.pos.rows; ++i)
            if (std::memcmp(&a.pos(i, j), &b.pos(i, j), sizeof(double)) != 0)
                return testing::AssertionFailure() << "coordinate " << i << " of node " << j << ": "
                                                   << a.pos(i, j) << " against " << b.pos(i, j);
    if (a.pos.vec->capacity != b.pos.vec->capacity ||
        a.connectM.vec->capacity != b.connectM.vec->capacity)
        return testing::AssertionFailure() << "another room";
    return ::same(a.connectM, b.connectM);
}

void expect_as_plain(const std::string& content, bool form)
{
    const mesh m = read(content, form);
    const mesh expected = read_plainly(content, form);
    ASSERT_TRUE(same_bits(m, expected));
}

// Corners of a small lattice, of which `odd` in a hundred are moved a little or have a coordinate
// that is special.
soup random_soup(std::mt19937& random, std::size_t facets, unsigned odd)
{
    static const float special[] = {-0.0F,     0.0F,         1e-30F, -1e-30F, infinity,
                                    -infinity, not_a_number, 3e38F,  1e-42F};
    const auto edge = unsigned(2 + random() % 6);
    soup made(facets, std::vector<float>(9));
    for (auto& corners : made)
        for (float& x : corners) {
            x = float(random() % edge);
            if (random() % 100 >= odd) continue;
            const auto what = random() % 4;
            if (what == 0)
                x = special[random() % std::size(special)];
            else if (what == 1)
                x = -0.0F;
            else
                x += float(random() % 5) * 0.01F;
        }
    return made;
}

TEST(STLInput, WeldsRandomSoupsAsThePlainReader)
{
    std::mt19937 random(8110);
    for (int round = 0; round < 600; ++round) {
        const soup facets = random_soup(random, random() % 400, unsigned(random() % 3 * 10));
        for (const bool form : {text, binary}) {
            SCOPED_TRACE(round);
            std::string content = to_file(facets, form);
            if (round % 3 == 0 && !facets.empty()) content.resize(content.size() - random() % 60);
            ASSERT_NO_FATAL_FAILURE(expect_as_plain(content, form));
        }
    }
}

TEST(STLInput, KeepsAllCornersApartWhereNoFacetHasAHeight)
{
    std::mt19937 random(8111);
    for (int round = 0; round < 100; ++round) {
        soup facets = random_soup(random, random() % 300, 20);
        for (auto& x : facets) std::copy_n(x.begin() + 3, 3, x.begin()); // a corner twice
        for (const bool form : {text, binary}) {
            SCOPED_TRACE(round);
            const std::string content = to_file(facets, form);
            ASSERT_NO_FATAL_FAILURE(expect_as_plain(content, form));
            EXPECT_EQ(read(content, form).pos.cols, 3 * facets.size());
        }
    }
}

TEST(STLInput, JoinsZerosOfDifferentSignAtTheFirst)
{
    for (const float zero : {0.0F, -0.0F}) {
        const soup facets = {{zero, 0, 0, 1, 0, 0, 0, 1, 0}, {-zero, 0, 0, 0, 1, 0, -1, 0, 0}};
        for (const bool form : {text, binary}) {
            const mesh m = read(to_file(facets, form), form);
            EXPECT_TRUE(::same(m.connectM, columns<unsigned>({{0, 1, 2}, {0, 2, 3}})));
            EXPECT_EQ(std::signbit(m.pos(0, 0)), std::signbit(zero));
        }
    }
}

TEST(STLInput, LeavesNodesThatAreNowhereApart)
{
    const soup facets = {{0, 0, 0, 1, 0, 0, 0, 1, 0},
                         {not_a_number, 0, 0, 1, 0, 0, 0, 1, 0},
                         {not_a_number, 0, 0, 1, 0, 0, 0, 1, 0}};
    for (const bool form : {text, binary}) {
        const mesh m = read(to_file(facets, form), form);
        EXPECT_TRUE(::same(m.connectM, columns<unsigned>({{0, 1, 2}, {3, 1, 2}, {4, 1, 2}})));
    }
}

// Heights above a corner that the table of places takes for the same at first.
std::pair<float, float> heights_of_one_hash()
{
    using kz3::lattiq::detail::stl_points;
    std::map<std::uint32_t, float> heights;
    for (unsigned k = 0;; ++k) {
        const float z = float(k) * 0.25F;
        const auto [known, is_new] = heights.try_emplace(stl_points::hash_of({1, 2, z}), z);
        if (!is_new) return {known->second, z};
    }
}

TEST(STLInput, KeepsCornersOfTheSameHashApart)
{
    const auto [low, high] = heights_of_one_hash();
    ASSERT_NE(low, high);
    const soup facets = {{1, 2, low, 2, 2, low, 1, 3, low}, {1, 2, high, 2, 2, high, 1, 3, high}};
    for (const bool form : {text, binary}) {
        const std::string content = to_file(facets, form);
        ASSERT_NO_FATAL_FAILURE(expect_as_plain(content, form));
        EXPECT_EQ(read(content, form).pos.cols, 6U);
    }
}

// ---- exhausted memory ----

// Facets as read are the same, whether or not their corners were one node for a while.
TEST(STLInput, LeavesOutTheColumnsThatThePlainReaderLeavesOut)
{
    std::mt19937 random(8112);
    const soup facets = random_soup(random, 150, 0);
    const temporary_file in(to_file(facets, text));
    for (std::size_t n = 1; n <= 15; ++n) { // growth of the matrices
        mesh m;
        mesh expected;
        {
            const allocation::fail_containers breaker(n, true);
            m.code = STL_input(in.name(), m.pos, m.connectM, text);
            EXPECT_TRUE(breaker.fired());
        }
        {
            const allocation::fail_containers breaker(n, true);
            expected.code = plain::STL_input(in.name(), expected.pos, expected.connectM, text);
        }
        EXPECT_TRUE(same_bits(m, expected)) << n;
    }
}

// So are the corners of a facet that is cut, also where the second of them would need more room.
TEST(STLInput, LeavesOutTheCornersThatThePlainReaderLeavesOut)
{
    std::mt19937 random(8114);
    for (const std::size_t facets : {1U, 5U, 21U, 85U}) { // and a corner: a power of 2
        std::string content = to_file(random_soup(random, facets + 1, 0), text);
        content.resize(content.rfind("vertex"));
        const temporary_file in(content);
        unsigned left_out = 0;
        for (std::size_t n = 1; n <= 18; ++n) {
            mesh m;
            mesh expected;
            {
                const allocation::fail_containers breaker(n, true);
                m.code = STL_input(in.name(), m.pos, m.connectM, text);
            }
            {
                const allocation::fail_containers breaker(n, true);
                expected.code = plain::STL_input(in.name(), expected.pos, expected.connectM, text);
            }
            if (expected.connectM.cols == facets && expected.pos.cols == 3 * facets + 1) {
                ++left_out;
                EXPECT_TRUE(same_bits(m, expected)) << facets << " facets, failure " << n;
            }
        }
        EXPECT_GT(left_out, 0U) << facets;
    }
}

TEST(STLInput, FindsTheSameCornersOrKeepsThemApartWhereMemoryIsExhausted)
{
    std::mt19937 random(8113);
    const soup facets = random_soup(random, 500, 0);
    for (const bool form : {text, binary}) {
        const std::string content = to_file(facets, form);
        const temporary_file in(content);
        const mesh whole = read_plainly(content, form);
        const std::size_t corners = 3 * facets.size();
        allocation::sweep<allocation::fail_new>([&](std::size_t n, const auto& armed) {
            mesh m;
            try {
                m.code = armed([&] { return STL_input(in.name(), m.pos, m.connectM, form); });
                EXPECT_TRUE(same(m, whole)) << n;
            } catch (const std::bad_alloc&) {
                ASSERT_EQ(m.pos.cols, corners) << n;
                ASSERT_EQ(m.connectM.cols, facets.size()) << n;
                for (std::size_t k = 0; k < corners; ++k) {
                    ASSERT_EQ(m.connectM(k % 3, k / 3), k);
                    for (std::size_t d = 0; d < 3; ++d)
                        ASSERT_EQ(m.pos(d, k), double(facets[k / 3][k % 3 * 3 + d]));
                }
            }
        });
    }
}

} // namespace
