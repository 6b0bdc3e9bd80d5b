#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// A mesh of which one element in eight repeats a node.
dense2D<unsigned> partly_degenerate(const bench::mesh& m)
{
    dense2D<unsigned> connectM;
    connectM.copy(m.connectM);
    for (size_t e = 0; e < connectM.cols; e += 8) connectM(2, e) = connectM(0, e);
    return connectM;
}

void add_kind(const std::string& kind, size_t n, bench::numbering order)
{
    bench::add_in_place(
        "remove_degenerated", bench::input_name(kind, order), bench::mesh_size(kind, n), "lattiq",
        [=] {
            return std::pair([&m = bench::mesh_of(kind, n, order)] { return partly_degenerate(m); },
                             [](dense2D<unsigned>& connectM) {
                                 dense1D<unsigned> id_map;
                                 remove_degenerated(connectM, id_map, true);
                                 return id_map;
                             });
        });
}

} // namespace

LATTIQ_BENCHMARKS(remove_degenerated)
{
    for (const std::string kind : {"tria", "tetra", "hexa"})
        for (const size_t n : {bench::small_size, bench::usual_size, bench::large_size})
            add_kind(kind, n, bench::numbering::natural);
}
