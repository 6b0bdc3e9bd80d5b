#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <new>
#include <string>
#include <sys/stat.h>
#include <thread>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/stl_files.h"
#include "support/allocation.h"
#include "support/comma_locale.h"
#include "support/files.h"
#include "support/same.h"

using kz3::lattiq::STL_input;

namespace {

using namespace stl;
using ::same;
using stl::same;

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

TEST(STLInput, DoublesTheMatricesFromFourColumns)
{
    const std::size_t room[] = {0, 4, 8, 16, 16, 16, 32};
    std::string lines = first_line;
    for (std::size_t facets = 1; facets < std::size(room); ++facets) {
        lines += collinear; // nothing is joined, so each keeps three nodes
        const mesh m = read(lines, text);
        EXPECT_EQ(m.pos.column_capacity(), room[facets]) << facets;
        EXPECT_EQ(m.connectM.column_capacity(), facets <= 4 ? 4u : 8u) << facets;
    }
}

// The room is made at once, but it is what doubling would have come to, from any room there was.
TEST(STLInput, MakesTheSameRoomForBinaryFacets)
{
    for (const std::size_t before : {0, 3, 5, 11, 40})
        for (std::size_t facets = 0; facets < 30; ++facets)
            for (const std::size_t cut : {0, 1, 14, 15, 26, 27, 49}) {
                std::string bytes = binary_head(std::uint32_t(facets + 1));
                for (std::size_t i = 0; i <= facets; ++i) bytes += binary_collinear();
                bytes.resize(bytes.size() - cut);
                const temporary_file in(bytes);
                mesh m;
                mesh expected;
                for (mesh* each : {&m, &expected}) {
                    each->pos.reserve(3, before);
                    each->connectM.reserve(3, before);
                }
                m.code = STL_input(in.name(), m.pos, m.connectM, binary);
                expected.code =
                    plain::STL_input(in.name(), expected.pos, expected.connectM, binary);
                ASSERT_TRUE(same(m, expected));
                ASSERT_EQ(m.pos.vec->capacity, expected.pos.vec->capacity) << facets << " " << cut;
                ASSERT_EQ(m.connectM.vec->capacity, expected.connectM.vec->capacity);
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
    const std::string lines =
        first_line + unit + facet("1.5 0 0.25", "-0.125 1e-1 0", "0x1.8p1 5.5e 0");
    const mesh expected = read(lines, text);
    const mesh comma = read(first_line + facet("1,5 0 0", "0 0 0", "0 0 0"), text);
    EXPECT_EQ(expected.pos(0, 3), 1.5);
    EXPECT_EQ(expected.pos(0, 5), 3.0);
    EXPECT_EQ(expected.pos(1, 5), 5.5);
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
