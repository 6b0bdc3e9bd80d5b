#pragma once

#include <string>

#include <gtest/gtest.h>
#include <kz3/lattiq/formats.h>

#include "plain/formats/wavefront_obj.h"
#include "support/files.h"
#include "support/same.h"

/// Wavefront OBJ files as strings, and what the reader makes of them.
namespace obj {

struct mesh {
    int code = 0;
    dense2D<double> pos;
    dense2D<double> normals;
    dense2D<double> textures;
    dense2D<unsigned> triangles;
    dense2D<unsigned> quads;
};

inline int read_into(mesh& m, const char* name)
{
    return kz3::lattiq::WavefrontOBJ_input(name, m.pos, m.normals, m.textures, m.triangles,
                                           m.quads);
}

inline mesh read_file(const char* name)
{
    mesh m;
    m.code = read_into(m, name);
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
    m.code =
        plain::WavefrontOBJ_input(in.name(), m.pos, m.normals, m.textures, m.triangles, m.quads);
    return m;
}

using ::same;

inline testing::AssertionResult same(const mesh& a, const mesh& b)
{
    if (a.code != b.code) return testing::AssertionFailure() << a.code << " against " << b.code;
    for (const auto& result :
         {same(a.pos, b.pos), same(a.normals, b.normals), same(a.textures, b.textures),
          same(a.triangles, b.triangles), same(a.quads, b.quads)})
        if (!result) return result;
    return testing::AssertionSuccess();
}

inline bool empty(const mesh& m)
{
    return m.pos.empty() && m.normals.empty() && m.textures.empty() && m.triangles.empty() &&
           m.quads.empty();
}

} // namespace obj
