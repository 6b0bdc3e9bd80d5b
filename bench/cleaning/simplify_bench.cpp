#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

using bench::mesh;

/// A copy without the last quarter of the elements, so that nodes fall out of use.
mesh three_quarters(const mesh& m)
{
    mesh part;
    part.type = m.type;
    part.pos.copy(m.pos);
    part.connectM.copy(m.connectM);
    part.connectM.resize(m.connectM.rows, m.elements() / 4 * 3);
    return part;
}

void add_kind(const std::string& kind, size_t n, bench::numbering order)
{
    bench::add_in_place(
        "simplify", bench::input_name(kind, order), bench::mesh_size(kind, n), "lattiq", [=] {
            return std::pair([&m = bench::mesh_of(kind, n, order)] { return three_quarters(m); },
                             [](mesh& part) {
                                 dense1D<unsigned> id_map;
                                 simplify(part.pos, part.connectM, id_map, 0);
                                 return id_map;
                             });
        });
}

} // namespace

LATTIQ_BENCHMARKS(simplify)
{
    for (const std::string kind : {"tria", "tetra"}) {
        for (const size_t n : {bench::small_size, bench::usual_size, bench::large_size})
            add_kind(kind, n, bench::numbering::natural);
        add_kind(kind, bench::usual_size, bench::numbering::shuffled);
    }
}
