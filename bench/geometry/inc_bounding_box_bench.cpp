#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(inc_bounding_box)
{
    bench::add_on_meshes("inc_bounding_box", "tetra", [](const bench::mesh& m) {
        return [&m] {
            vector_fixed<double, 3> low{1e300, 1e300, 1e300}, high{-1e300, -1e300, -1e300};
            return inc_bounding_box(m.pos, m.connectM, low, high);
        };
    });
}
