#include <utility>

#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// A copy for each call, since a field once repaired stays valid: every tenth tensor is 0.
dense2D<float> with_zeros(const dense2D<float>& metrics)
{
    dense2D<float> spoilt;
    spoilt.copy(metrics);
    for (size_t j = 0; j < spoilt.cols; j += 10)
        for (size_t k = 0; k < spoilt.rows; ++k) spoilt(k, j) = 0.0F;
    return spoilt;
}

void add_repair(unsigned dimension, size_t n)
{
    bench::add_in_place("overwrite_invalid_metrics", dimension == 2 ? "plane" : "space", n,
                        "lattiq", [=] {
                            const auto& valid = bench::tensors_of(dimension, n);
                            return std::pair([&valid] { return with_zeros(valid); },
                                             [&valid](dense2D<float>& metrics) {
                                                 return overwrite_invalid_metrics(metrics, valid);
                                             });
                        });
}

} // namespace

LATTIQ_BENCHMARKS(overwrite_invalid_metrics)
{
    for (const size_t n : {bench::small_size, bench::usual_size, bench::large_size}) {
        add_repair(2, n);
        add_repair(3, n);
        bench::add("overwrite_invalid_metrics", "sizes", n, "lattiq", [=] {
            return [sizes = bench::sizes_of(n), fallback = bench::sizes_of(n)]() mutable {
                return overwrite_invalid_metrics(sizes, fallback);
            };
        });
    }
}
