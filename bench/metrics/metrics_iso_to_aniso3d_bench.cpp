#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(metrics_iso_to_aniso3d)
{
    for (const size_t n : {bench::small_size, bench::usual_size, bench::large_size}) {
        bench::add("metrics_iso_to_aniso3d", "sizes", n, "lattiq", [=] {
            return [sizes = bench::sizes_of(n)] {
                dense2D<float> metrics;
                metrics_iso_to_aniso3d(sizes, metrics);
                return metrics;
            };
        });
    }
}
