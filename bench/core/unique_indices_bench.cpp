#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(unique_indices)
{
    bench::add_on_meshes("unique_indices", "tetra", [](const bench::mesh& m) {
        return [&m] {
            dense1D<unsigned> indices;
            unique_indices(indices, m.connectM);
            return indices;
        };
    });
}
