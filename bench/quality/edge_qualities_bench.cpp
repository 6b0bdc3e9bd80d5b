#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(edge_qualities)
{
    bench::add_on_meshes("edge_qualities", "tetra", [](const bench::mesh& m) {
        const dense1D<float> sizes(m.pos.cols, 0.01F);
        return [&m, sizes] {
            misc::histogram hist(0.0, 2.0, 20);
            edge_qualities(m.pos, m.connectM, m.type, sizes, hist);
            return hist;
        };
    });
}
