#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <kz3/lattiq/formats.h>

#include "plain/formats/wavefront_obj.h"

using kz3::dense2D;

namespace {

void require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

template <typename T>
bool same(const dense2D<T>& a, const dense2D<T>& b)
{
    if (a.empty() && b.empty()) return true;
    if (a.rows != b.rows || a.cols != b.cols) return false;
    for (std::size_t j = 0; j < a.cols; ++j)
        for (std::size_t i = 0; i < a.rows; ++i)
            if (a(i, j) != b(i, j)) return false;
    return true;
}

struct mesh {
    dense2D<double> pos;
    dense2D<double> normals;
    dense2D<double> textures;
    dense2D<unsigned> triangles;
    dense2D<unsigned> quads;
};

} // namespace

// What comes back must be what the plain reader makes of the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string name = (std::filesystem::temp_directory_path() /
                                     ("lattiq_fuzz_" + std::to_string(getpid()) + ".obj"))
                                        .string();
    std::FILE* out = std::fopen(name.c_str(), "wb");
    require(out != nullptr && std::fwrite(data, 1, size, out) == size, "temporary file");
    require(std::fclose(out) == 0, "temporary file");

    mesh m;
    mesh expected;
    const int code = kz3::lattiq::WavefrontOBJ_input(name.c_str(), m.pos, m.normals, m.textures,
                                                     m.triangles, m.quads);
    require(plain::WavefrontOBJ_input(name.c_str(), expected.pos, expected.normals,
                                      expected.textures, expected.triangles,
                                      expected.quads) == code,
            "result");
    require(same(m.pos, expected.pos), "nodes");
    require(same(m.normals, expected.normals), "normals");
    require(same(m.textures, expected.textures), "textures");
    require(same(m.triangles, expected.triangles), "triangles");
    require(same(m.quads, expected.quads), "quads");
    std::remove(name.c_str());
    return 0;
}
