#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(get_element_boundaries)
{
    for (const char* kind : {"tetra", "solid_mix"})
        bench::add_on_meshes("get_element_boundaries", kind, [](const bench::mesh& m) {
            return [&m] {
                dense2D<unsigned> boundaries;
                get_element_boundaries(m.connectM, m.type, boundaries);
                return boundaries;
            };
        });
}
