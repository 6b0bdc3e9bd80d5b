#include "support/bench.h"
#include "support/inputs.h"

using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(max_ID)
{
    for (const size_t n : {100'000, 1'000'000, 10'000'000})
        bench::add("max_ID", "tetra", bench::mesh_size("tetra", n), "lattiq", [=] {
            return [&mesh = bench::mesh_of("tetra", n)] { return max_ID(mesh.connectM); };
        });
}
