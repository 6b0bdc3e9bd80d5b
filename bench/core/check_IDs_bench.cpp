#include "support/on_meshes.h"

using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(check_IDs)
{
    for (const char* kind : {"tetra", "solid_mix"})
        bench::add_on_meshes("check_IDs", kind, [](const bench::mesh& m) {
            return [&m] { return check_IDs(m.connectM, m.type, unsigned(m.pos.cols)); };
        });
}
