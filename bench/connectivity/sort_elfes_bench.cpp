#include <tuple>

#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

void add_sort(size_t n, bench::numbering order)
{
    const std::string kind = "solid_mix";
    bench::add_in_place(
        "sort_elfes", bench::input_name(kind, order), bench::mesh_size(kind, n), "lattiq", [=] {
            return std::pair(
                [&m = bench::mesh_of(kind, n, order)] {
                    dense2D<unsigned> connectM;
                    connectM.copy(m.connectM);
                    return connectM;
                },
                [](dense2D<unsigned>& connectM) {
                    dense1D<unsigned> group_nodes, group_ends, new_indices;
                    sort_elfes(connectM, group_nodes, group_ends, new_indices);
                    return std::tuple(connectM, group_nodes, group_ends, new_indices);
                });
        });
}

} // namespace

LATTIQ_BENCHMARKS(sort_elfes)
{
    for (const size_t n : {bench::small_size, bench::usual_size}) {
        add_sort(n, bench::numbering::natural);
        add_sort(n, bench::numbering::shuffled);
    }
    add_sort(bench::large_size, bench::numbering::natural);
}
