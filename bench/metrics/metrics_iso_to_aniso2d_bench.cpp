#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(metrics_iso_to_aniso2d)
{
    for (const size_t n : {bench::small_size, bench::usual_size, bench::large_size}) {
        bench::add("metrics_iso_to_aniso2d", "sizes", n, "lattiq", [=] {
            return [sizes = bench::sizes_of(n)] {
                dense2D<float> metrics;
                metrics_iso_to_aniso2d(sizes, metrics);
                return metrics;
            };
        });
        bench::add("metrics_iso_to_aniso2d", "sizes_in_planes", n, "lattiq", [=] {
            return [sizes = bench::sizes_of(n), planes = bench::planes_of(n)] {
                dense2D<float> metrics;
                metrics_iso_to_aniso2d(sizes, planes, metrics);
                return metrics;
            };
        });
    }
}
