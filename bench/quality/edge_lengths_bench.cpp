#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(edge_lengths)
{
    bench::add_on_meshes("edge_lengths", "tetra", [](const bench::mesh& m) {
        dense2D<unsigned> edges;
        copy_edges(m.connectM, m.type, edges);
        return [&m, edges] {
            dense2D<double> lengths;
            edge_lengths(m.pos, edges, lengths);
            return lengths;
        };
    });
}
