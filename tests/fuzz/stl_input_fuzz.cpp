#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <kz3/lattiq/formats.h>

#include "plain/formats/stl.h"

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
            if (!(a(i, j) == b(i, j) || (a(i, j) != a(i, j) && b(i, j) != b(i, j)))) return false;
    return true;
}

} // namespace

// The lowest bit of the first byte picks the form, the rest is the file. What comes back must be a
// sound mesh, and the one that the plain reader makes of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    static const std::string name = (std::filesystem::temp_directory_path() /
                                     ("lattiq_fuzz_" + std::to_string(getpid()) + ".stl"))
                                        .string();
    std::FILE* out = std::fopen(name.c_str(), "wb");
    require(out != nullptr && std::fwrite(data + 1, 1, size - 1, out) == size - 1,
            "temporary file");
    require(std::fclose(out) == 0, "temporary file");
    const bool ascii = (data[0] & 1) != 0;

    dense2D<double> pos;
    dense2D<unsigned> connectM;
    const int code = kz3::lattiq::STL_input(name.c_str(), pos, connectM, ascii);
    require(code == -1 || code == int(connectM.cols), "result");
    for (std::size_t e = 0; e < connectM.cols; ++e)
        for (std::size_t k = 0; k < 3; ++k) require(connectM(k, e) < pos.cols, "node index");

    dense2D<double> plain_pos;
    dense2D<unsigned> plain_connectM;
    require(plain::STL_input(name.c_str(), plain_pos, plain_connectM, ascii) == code,
            "plain result");
    require(same(pos, plain_pos), "plain nodes");
    require(same(connectM, plain_connectM), "plain facets");
    std::remove(name.c_str());
    return 0;
}
