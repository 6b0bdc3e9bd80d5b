#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <kz3/lattiq/formats.h>

#include "plain/formats/femap.h"

using kz3::dense1D;
using kz3::dense2D;

namespace {

void require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

template <typename T>
bool same(const dense1D<T>& a, const dense1D<T>& b)
{
    if (a.size != b.size) return false;
    for (std::size_t i = 0; i < a.size; ++i)
        if (a[i] != b[i]) return false;
    return true;
}

template <typename T>
bool same(const dense2D<T>& a, const dense2D<T>& b)
{
    if (a.empty() && b.empty()) return true;
    if (a.rows != b.rows || a.cols != b.cols) return false;
    for (std::size_t j = 0; j < a.cols; ++j)
        for (std::size_t i = 0; i < a.rows; ++i)
            if (!(a(i, j) == b(i, j) || (a(i, j) != a(i, j) && b(i, j) != b(i, j)))) return false;
    return true;
}

struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connectM;
    dense1D<unsigned> offsets;
    dense1D<int> types;
    dense1D<unsigned> groups;
};

// False where the reader would stop the process, which is one of its results, or would make a matrix
// for a high node identifier.
bool read_plainly(const char* name, mesh& m, int& code)
{
    try {
        code = plain::FEMAP_input(name, m.pos, m.connectM, m.offsets, m.types, m.groups);
    } catch (const plain::stopped&) {
        return false;
    } catch (const plain::too_many_columns&) {
        return false;
    }
    return true;
}

} // namespace

// What comes back must be what the plain reader makes of the file, in all three forms.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string name = (std::filesystem::temp_directory_path() /
                                     ("lattiq_fuzz_" + std::to_string(getpid()) + ".neu"))
                                        .string();
    std::FILE* out = std::fopen(name.c_str(), "wb");
    require(out != nullptr && std::fwrite(data, 1, size, out) == size, "temporary file");
    require(std::fclose(out) == 0, "temporary file");

    mesh expected;
    int expected_code = 0;
    if (read_plainly(name.c_str(), expected, expected_code)) {
        mesh m;
        const int code =
            kz3::lattiq::FEMAP_input(name.c_str(), m.pos, m.connectM, m.offsets, m.types, m.groups);
        require(code == expected_code, "result");
        require(same(m.pos, expected.pos), "nodes");
        require(same(m.connectM, expected.connectM), "elements");
        require(same(m.offsets, expected.offsets) && same(m.types, expected.types), "runs");
        require(same(m.groups, expected.groups), "groups");

        dense2D<unsigned> first;
        dense2D<unsigned> second;
        auto type1 = kz3::lattiq::ET_NONE;
        auto type2 = kz3::lattiq::ET_NONE;
        require(kz3::lattiq::FEMAP_input(name.c_str(), m.pos, first, type1) == code, "one matrix");
        require(code < 0 || first.rows == kz3::lattiq::element_type_nodes[type1], "one matrix");
        require(kz3::lattiq::FEMAP_input(name.c_str(), m.pos, first, second, type1, type2) == code,
                "two matrices");
        require(first.cols + second.cols <= m.connectM.cols, "two matrices");
    }
    std::remove(name.c_str());
    return 0;
}
