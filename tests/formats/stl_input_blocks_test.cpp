#include <cstddef>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "formats/stl_files.h"
#include "support/files.h"
#include "support/same.h"

using kz3::lattiq::STL_input;
using namespace stl;

namespace {

// The reader takes a file in blocks of 65536 bytes. All facets have 512 here, so that behind the last,
// broken one there is still what the block before held, at just the place where the rest would be.
TEST(STLInput, TakesNothingFromTheBlockBeforeForTheRestOfABrokenFacet)
{
    constexpr std::size_t block = 65536;
    constexpr std::size_t length = 512;
    constexpr std::size_t facets = block / length; // one of them in the second block
    const std::string one = std::string(length - collinear.size(), ' ') + collinear;
    std::string whole = std::string(length - 1, ' ') + "\n"; // first line, taken in pieces
    while (whole.size() <= block + length) whole += one;
    // Any beginning of the last line ends a facet.
    const std::size_t enough = one.rfind("   endfacet") + 1;

    const temporary_file in;
    for (std::size_t cut = one.find('f'); cut <= length; ++cut) {
        in.write(whole.substr(0, block + length + cut));
        dense2D<double> pos;
        dense2D<unsigned> connectM;
        const std::size_t expected = facets + (cut >= enough ? 1 : 0);
        EXPECT_EQ(STL_input(in.name(), pos, connectM, text), int(expected)) << cut;
        EXPECT_EQ(connectM.cols, expected) << cut;
    }
}

TEST(STLInput, TakesALineThatFillsThePieceWithoutItsLineEnd)
{
    const auto with = [](std::size_t outer, std::size_t endloop, std::size_t endfacet) {
        const auto line = [](std::size_t n) { return std::string(n, 'o') + "\n"; };
        return first_line + "facet normal 0 0 1\n" + line(outer) +
               "vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n" + line(endloop) + line(endfacet) +
               unit + unit;
    };
    for (const std::size_t n : {253U, 254U, 255U, 256U, 257U, 509U, 510U, 511U})
        for (const std::string& content : {with(n, 9, 9), with(9, n, 9), with(9, 9, n)})
            EXPECT_TRUE(same(read(content, text), read_plainly(content, text))) << n;
    EXPECT_EQ(read(with(254, 254, 254), text).code, 3);
    EXPECT_EQ(read(with(255, 254, 254), text).code, 3);
    EXPECT_EQ(read(with(254, 255, 254), text).code, 1);
    EXPECT_EQ(read(with(254, 254, 255), text).code, 3);
}

// What a file holds behind the facets that it counts makes no room.
TEST(STLInput, MakesRoomForNoMoreFacetsThanAreCounted)
{
    for (std::uint32_t count = 0; count < 12; ++count)
        for (const std::size_t behind : {0U, 1U, 24U, 36U, 49U, 50U, 1000U}) {
            std::string bytes = binary_head(count);
            for (std::uint32_t i = 0; i < count; ++i) bytes += binary_collinear();
            bytes += std::string(behind, 'x');
            const mesh m = read(bytes, binary);
            const mesh expected = read_plainly(bytes, binary);
            ASSERT_TRUE(same(m, expected)) << count << " " << behind;
            EXPECT_EQ(m.pos.column_capacity(), expected.pos.column_capacity())
                << count << " " << behind;
            EXPECT_EQ(m.connectM.column_capacity(), expected.connectM.column_capacity());
        }
}

TEST(STLInput, MakesTheRoomOfAViewBehindWhatStandsBeforeIt)
{
    for (std::size_t facets = 0; facets < 30; ++facets) {
        std::string bytes = binary_head(std::uint32_t(facets));
        for (std::size_t i = 0; i < facets; ++i) bytes += binary_collinear();
        const temporary_file in(bytes);
        const auto room = [&](auto reader) {
            const strided<double> nodes(dense2D<double>(3, 5, 7.0));
            dense2D<double> view = nodes.view;
            dense2D<unsigned> connectM;
            EXPECT_NE(view.offset, 0U);
            EXPECT_EQ(reader(in.name(), view, connectM, binary), int(facets));
            EXPECT_EQ(view.cols, 3 * facets);
            return view.vec->capacity;
        };
        EXPECT_EQ(room(STL_input), room(plain::STL_input)) << facets;
    }
}

} // namespace
