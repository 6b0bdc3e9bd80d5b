#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "plain/formats/femap.h"
#include "support/files.h"
#include "support/same.h"

/// FEMAP neutral files as strings, and what the reader makes of them.
namespace femap {

struct mesh {
    int code = 0;
    dense2D<double> pos;
    dense2D<unsigned> connectM;
    dense1D<unsigned> offsets;
    dense1D<int> types;
    dense1D<unsigned> groups;
};

inline mesh read_file(const char* name)
{
    mesh m;
    m.code = kz3::lattiq::FEMAP_input(name, m.pos, m.connectM, m.offsets, m.types, m.groups);
    return m;
}

inline mesh read(const std::string& content)
{
    const temporary_file in(content);
    return read_file(in.name());
}

inline mesh read_plainly(const std::string& content)
{
    const temporary_file in(content);
    mesh m;
    m.code = plain::FEMAP_input(in.name(), m.pos, m.connectM, m.offsets, m.types, m.groups);
    return m;
}

template <typename T>
dense1D<T> list(const std::vector<T>& values)
{
    dense1D<T> l;
    for (const T value : values) l.push_back(value);
    return l;
}

using ::same;

inline testing::AssertionResult same(const mesh& a, const mesh& b)
{
    if (a.code != b.code) return testing::AssertionFailure() << a.code << " against " << b.code;
    for (const auto& result :
         {same(a.pos, b.pos), same(a.connectM, b.connectM), same(a.offsets, b.offsets),
          same(a.types, b.types), same(a.groups, b.groups)})
        if (!result) return result;
    return testing::AssertionSuccess();
}

// ---- lines ----

inline const std::string open_nodes = "-1\n403\n";
inline const std::string open_elements = "-1\n404\n";
inline const std::string close_block = "-1\n";

inline std::string node(const std::string& id, const std::string& xyz)
{
    return id + ",0,0,1,0,0,0,0,0,0,0," + xyz + ",0,\n";
}

inline std::string nodes(const std::string& lines)
{
    return open_nodes + lines + close_block;
}

inline std::string elements(const std::string& lines)
{
    return open_elements + lines + close_block;
}

/// A record of seven lines; slots are filled up with 0.
inline std::string element(const std::string& group, const std::string& code,
                           std::vector<int> slots)
{
    slots.resize(20, 0);
    std::string lines = "77," + group + ",0,32," + code + ",1,0,0,0,0,0,0,0,\n";
    for (std::size_t k = 0; k < 20; ++k)
        lines += std::to_string(slots[k]) + (k % 10 == 9 ? ",\n" : ",");
    return lines +
           "0.,0.,0.,0,0,0,0,0,0,\n0.,0.,0.,\n0.,0.,0.,\n0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,\n";
}

inline const std::string two_nodes = nodes(node("0", "1,2,3") + node("1", "4,5,6"));
inline const std::string bar = element("5", "0", {0, 1});
inline const std::string triangle = element("6", "2", {0, 1, 2});
inline const std::string quad = element("7", "4", {3, 2, 1, 0});
inline const std::string unknown = element("8", "11", {9, 9, 9});

} // namespace femap
