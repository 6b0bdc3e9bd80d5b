#include <array>
#include <cmath>
#include <cstddef>
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/stl_files.h"
#include "support/allocation.h"
#include "support/files.h"
#include "support/same.h"

using kz3::lattiq::STL_input;
using kz3::lattiq::STL_output;
using namespace stl;

namespace {

constexpr unsigned facets = 24;

// Unit triangles side by side, which share their nodes.
std::string binary_strip()
{
    dense2D<double> pos(3, facets + 2, 0.0);
    dense2D<unsigned> connectM(3, facets, 0);
    for (unsigned j = 0; j < pos.cols; ++j) {
        pos(0, j) = j / 2;
        pos(1, j) = j % 2;
    }
    for (unsigned e = 0; e < facets; ++e)
        for (unsigned k = 0; k < 3; ++k) connectM(k, e) = e + k;
    const temporary_file out;
    EXPECT_EQ(STL_output(out.name(), pos, connectM, binary), 0);
    return out.read();
}

// Numbers that only the runtime reads, too long for a string without storage.
std::string hexadecimal_facets()
{
    const std::string one = "0x1.00000000000000000000000000000000p0";
    return first_line + facet("0 0 0", one + " 0 0", "0 " + one + " 0") + last_line;
}

void expect_usable(const mesh& m, std::size_t n)
{
    for (const auto rows : {m.pos.rows, m.connectM.rows}) EXPECT_TRUE(rows == 0 || rows == 3) << n;
    double sum = 0;
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        for (std::size_t i = 0; i < m.pos.rows; ++i) sum += m.pos(i, j);
    for (std::size_t e = 0; e < m.connectM.cols; ++e)
        for (std::size_t k = 0; k < m.connectM.rows; ++k) sum += m.connectM(k, e);
    EXPECT_TRUE(std::isfinite(sum)) << n;
}

TEST(STLInput, StaysWholeWhereFacetsOfABinaryFileFindMemoryExhausted)
{
    const std::array<temporary_file, 2> files = {
        temporary_file(binary_strip()),
        temporary_file(binary_strip().substr(0, 84 + 20 * 50 + 30)) // 20 facets and two nodes
    };
    const std::size_t blocks = allocation::live_blocks();
    const std::size_t descriptors = open_descriptors();
    for (const temporary_file& in : files)
        for (const bool onwards : {false, true}) {
            const auto refused = allocation::sweep<allocation::fail_containers>(
                [&](std::size_t n, const auto& armed) {
                    mesh m;
                    m.code = armed([&] { return STL_input(in.name(), m.pos, m.connectM, binary); });
                    expect_usable(m, n);
                    if (m.code >= 0) {
                        EXPECT_EQ(std::size_t(m.code), m.connectM.cols) << n;
                        EXPECT_LE(m.connectM.cols, facets) << n;
                    } else {
                        EXPECT_TRUE(m.code == -2 || m.code == -199) << n << ": " << m.code;
                    }
                    EXPECT_EQ(open_descriptors(), descriptors) << n;
                },
                onwards);
            EXPECT_GT(refused, 1U);
        }
    EXPECT_EQ(allocation::live_blocks(), blocks);
}

// Room for all facets at once is only asked for: where it cannot be had, they come as they do in a text.
TEST(STLInput, ReadsABinaryFileWhoseRoomCannotBeHadAtOnce)
{
    const temporary_file in(binary_strip());
    const mesh expected = read_file(in.name(), binary);
    EXPECT_EQ(expected.code, int(facets));
    for (const std::size_t n : {1U, 2U}) {
        mesh m;
        {
            const allocation::fail_containers breaker(n);
            m.code = STL_input(in.name(), m.pos, m.connectM, binary);
            EXPECT_TRUE(breaker.fired());
        }
        EXPECT_TRUE(same(m, expected)) << n;
    }
}

TEST(STLInput, LetsTheAllocationExceptionPassFromEveryFormAndNumber)
{
    const std::array<temporary_file, 2> files = {temporary_file(binary_strip()),
                                                 temporary_file(hexadecimal_facets())};
    ASSERT_EQ(read_file(files[1].name(), text).code, 1);
    const std::size_t blocks = allocation::live_blocks();
    const std::size_t descriptors = open_descriptors();
    for (const bool form : {binary, text})
        for (const bool onwards : {false, true}) {
            int thrown = 0;
            allocation::sweep<allocation::fail_new>(
                [&](std::size_t n, const auto& armed) {
                    mesh m;
                    try {
                        m.code = armed(
                            [&] { return STL_input(files[form].name(), m.pos, m.connectM, form); });
                        EXPECT_LE(m.code, int(facets)) << n;
                    } catch (const std::bad_alloc&) {
                        ++thrown;
                    }
                    expect_usable(m, n);
                    EXPECT_EQ(open_descriptors(), descriptors) << n;
                },
                onwards);
            if (form == text) {
                EXPECT_GT(thrown, 1);
            }
        }
    EXPECT_EQ(allocation::live_blocks(), blocks);
}

} // namespace
