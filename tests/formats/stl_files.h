#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "plain/formats/stl.h"
#include "support/files.h"
#include "support/same.h"

/// STL files as strings, and what the reader makes of them.
namespace stl {

inline constexpr bool text = true;
inline constexpr bool binary = false;

struct mesh {
    int code = 0;
    dense2D<double> pos;
    dense2D<unsigned> connectM;
};

inline mesh read_file(const char* name, bool ascii)
{
    mesh m;
    m.code = kz3::lattiq::STL_input(name, m.pos, m.connectM, ascii);
    return m;
}

inline mesh read(const std::string& content, bool ascii)
{
    const temporary_file in(content);
    return read_file(in.name(), ascii);
}

inline mesh read_plainly(const std::string& content, bool ascii)
{
    const temporary_file in(content);
    mesh m;
    m.code = plain::STL_input(in.name(), m.pos, m.connectM, ascii);
    return m;
}

using ::same;

inline testing::AssertionResult same(const mesh& a, const mesh& b)
{
    if (a.code != b.code) return testing::AssertionFailure() << a.code << " against " << b.code;
    const auto pos = same(a.pos, b.pos);
    return pos ? same(a.connectM, b.connectM) : pos;
}

// A facet from its three nodes, each a line of three numbers.
inline std::string facet(const std::string& a, const std::string& b, const std::string& c)
{
    return "   facet normal 0 0 1\n      outer loop\n         vertex " + a + "\n         vertex " +
           b + "\n         vertex " + c + "\n      endloop\n   endfacet\n";
}

inline const std::string first_line = "solid KZ3\n";
inline const std::string last_line = "endsolid KZ3\n";
inline const std::string unit = facet("0 0 0", "1 0 0", "0 1 0");      // of the height 0.7071
inline const std::string collinear = facet("0 0 0", "1 0 0", "2 0 0"); // of no height

inline dense2D<double> unit_nodes()
{
    return columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
}

inline dense2D<double> collinear_nodes()
{
    return columns<double>({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
}

inline dense2D<unsigned> one_facet()
{
    return columns<unsigned>({{0, 1, 2}});
}

template <typename T>
void append(std::string& bytes, T value)
{
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.append(raw, sizeof value);
}

inline std::string binary_head(std::uint32_t count)
{
    std::string bytes(80, 'h');
    append(bytes, count);
    return bytes;
}

// A binary facet from nine coordinates, with a normal and an attribute that mean nothing.
inline std::string binary_facet(const std::vector<float>& coordinates)
{
    std::string bytes;
    for (const float x : {9.0F, 8.0F, 7.0F}) append(bytes, x);
    for (const float x : coordinates) append(bytes, x);
    append(bytes, std::uint16_t(0xBEEF));
    return bytes;
}

inline std::string binary_unit()
{
    return binary_facet({0, 0, 0, 1, 0, 0, 0, 1, 0});
}

inline std::string binary_collinear()
{
    return binary_facet({0, 0, 0, 1, 0, 0, 2, 0, 0});
}

inline void expect_nothing(const mesh& m, int code)
{
    EXPECT_EQ(m.code, code);
    EXPECT_TRUE(m.pos.empty());
    EXPECT_TRUE(m.connectM.empty());
}

} // namespace stl
