#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(change_indices)
{
    // Back to front and back again.
    bench::add_on_meshes("change_indices", "tetra", [](const bench::mesh& m) {
        dense2D<unsigned> connectM;
        connectM.copy(m.connectM);
        dense1D<unsigned> reversed(m.pos.cols);
        for (size_t i = 0; i < m.pos.cols; ++i) reversed[i] = unsigned(m.pos.cols - 1 - i);
        return [connectM, reversed]() mutable {
            change_indices(connectM, reversed);
            return 0;
        };
    });
}
