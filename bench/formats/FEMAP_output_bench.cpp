#include "formats/files.h"

using namespace kz3::lattiq;

namespace {

constexpr char banner[] = "*********************************\n";

// The same file by one call of the C runtime per line, as one would write it by hand.
int write_by_stdio(const std::string& file, const bench::mesh& m)
{
    const bench::output to(file);
    std::fprintf(to, "%s*********** NODES ***************\n%s-1\n403\n", banner, banner);
    for (size_t j = 0; j < m.pos.cols; ++j) {
        const double* x = &m.pos(0, j);
        std::fprintf(to, "%zu,0,0,1,0,0,0,0,0,0,0,%g,%g,%g,0,\n", j, x[0], x[1], x[2]);
    }
    std::fprintf(to, "-1\n%s********* ELEMENTS **************\n%s-1\n404\n", banner, banner);
    for (size_t e = 0; e < m.elements(); ++e) {
        const unsigned* node = &m.connectM(0, e);
        std::fprintf(to,
                     "%zu,1,0,32,6,1,0,0,0,0,0,0,0,\n%u,%u,%u,0,%u,0,0,0,0,0,\n"
                     "0,0,0,0,0,0,0,0,0,0,\n0.,0.,0.,0,0,0,0,0,0,\n0.,0.,0.,\n0.,0.,0.,\n"
                     "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,\n",
                     e, node[1], node[0], node[2], node[3]);
    }
    std::fprintf(to, "-1\n");
    return 0;
}

} // namespace

LATTIQ_BENCHMARKS(FEMAP_output)
{
    const auto ours = [](const bench::mesh& m) {
        // The form with runs and groups: the short one is for a single element.
        const kz3::dense1D<unsigned> offsets{0, unsigned(m.elements())};
        const kz3::dense1D<int> types(1, m.type);
        const kz3::dense1D<unsigned> groups(m.elements(), 1);
        return [=, &m](const std::string& file) {
            return FEMAP_output(file.c_str(), m.pos, m.connectM, offsets, types, groups);
        };
    };
    const auto plain = [](const bench::mesh& m) {
        return [&m](const std::string& file) { return write_by_stdio(file, m); };
    };
    bench::add_beside_stdio("FEMAP_output", "tetra", ours, plain);
}
