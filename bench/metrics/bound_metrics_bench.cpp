#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(bound_metrics)
{
    // Bounds that hold already after the first call: a column is rebuilt all the same.
    const auto prepare = [](const dense2D<float>& metrics) {
        dense2D<float> bounded;
        bounded.copy(metrics);
        return [bounded]() mutable { return bound_metrics(bounded, 0.01, 10.0); };
    };
    bench::add_on_tensors("bound_metrics", 2, "lattiq",
                          {bench::small_size, bench::usual_size, bench::large_size}, prepare);
    bench::add_on_tensors("bound_metrics", 3, "lattiq", {bench::small_size, bench::usual_size},
                          prepare);
    for (const size_t n : {bench::small_size, bench::usual_size, bench::large_size})
        bench::add("bound_metrics", "sizes", n, "lattiq", [=] {
            return
                [sizes = bench::sizes_of(n)]() mutable { return bound_metrics(sizes, 0.01, 0.5); };
        });
}
