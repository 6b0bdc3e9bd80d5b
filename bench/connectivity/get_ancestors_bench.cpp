#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(get_ancestors)
{
    bench::add_on_meshes("get_ancestors", "tetra", [](const bench::mesh& m) {
        return [&m] {
            dense1D<unsigned> ancestors;
            get_ancestors(m.connectM, ancestors);
            return ancestors;
        };
    });
}
