#include "support/on_meshes.h"

using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(max_ID)
{
    bench::add_on_meshes("max_ID", "tetra",
                         [](const bench::mesh& m) { return [&m] { return max_ID(m.connectM); }; });
}
