#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(permutation)
{
    // A value per element, from back to front.
    bench::add_on_meshes("permutation", "tetra", [](const bench::mesh& m) {
        dense1D<double> values(m.elements(), 1.0);
        dense1D<unsigned> places(m.elements());
        for (size_t i = 0; i < m.elements(); ++i) places[i] = unsigned(m.elements() - 1 - i);
        return [values, places]() mutable {
            permutation(values, places);
            return 0;
        };
    });
}
