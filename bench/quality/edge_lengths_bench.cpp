#include <algorithm>

#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// The edges of a mesh by rising lower node, or as copy_edges lists them, which is near to random.
dense2D<unsigned> edges_of(const bench::mesh& m, bench::numbering order)
{
    struct edge {
        unsigned node[2];
    };
    dense2D<unsigned> edges;
    copy_edges(m.connectM, m.type, edges);
    auto* const first = reinterpret_cast<edge*>(edges.vec->data);
    if (order == bench::numbering::natural)
        std::sort(first, first + edges.cols, [](const edge& a, const edge& b) {
            return std::minmax(a.node[0], a.node[1]) < std::minmax(b.node[0], b.node[1]);
        });
    return edges;
}

void add_lengths(size_t n, bench::numbering order)
{
    bench::add("edge_lengths", bench::input_name("tetra", order), bench::mesh_size("tetra", n),
               "lattiq", [=] {
                   const bench::mesh& m = bench::mesh_of("tetra", n, order);
                   return [&m, edges = edges_of(m, order)] {
                       dense2D<double> lengths;
                       edge_lengths(m.pos, edges, lengths);
                       return lengths;
                   };
               });
}

} // namespace

LATTIQ_BENCHMARKS(edge_lengths)
{
    for (const size_t n : {bench::small_size, bench::usual_size}) {
        add_lengths(n, bench::numbering::natural);
        add_lengths(n, bench::numbering::shuffled);
    }
    add_lengths(bench::large_size, bench::numbering::natural);
}
