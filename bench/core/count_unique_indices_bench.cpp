#include "support/on_meshes.h"

using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(count_unique_indices)
{
    bench::add_on_meshes("count_unique_indices", "tetra", [](const bench::mesh& m) {
        return [&m] { return count_unique_indices(m.connectM); };
    });
}
