#include <utility>

#include "support/on_meshes.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(get_IDs)
{
    // A connectivity matched with itself.
    for (const bool ordered : {true, false})
        bench::add_on_meshes("get_IDs", ordered ? "tetra" : "tria", [=](const bench::mesh& m) {
            return [&m, ordered] {
                dense1D<unsigned> back, forth;
                get_IDs(m.connectM, m.connectM, back, forth, ordered);
                return std::pair(back, forth);
            };
        });
}
