#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(shift_indices)
{
    bench::add_on_meshes("shift_indices", "solid_mix", [](const bench::mesh& m) {
        dense2D<unsigned> connectM;
        connectM.copy(m.connectM);
        return [connectM, type = m.type, shift = 5]() mutable {
            shift = -shift;
            return shift_indices(connectM, shift, type);
        };
    });
}
