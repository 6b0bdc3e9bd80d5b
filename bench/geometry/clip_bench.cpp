#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(clip)
{
    bench::add_on_meshes("clip", "tetra", [](const bench::mesh& m) {
        return [&m] {
            dense2D<unsigned> clipped;
            clip(m.pos, m.connectM, vector_fixed<double, 3>{0.5, 0.5, 0.5},
                 vector_fixed<double, 3>{1, 0.3, 0.1}, clipped);
            return clipped;
        };
    });
}
