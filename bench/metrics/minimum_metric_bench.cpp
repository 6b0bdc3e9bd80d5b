#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// Each tensor of the field with the next one.
template <size_t N>
double sum_of_neighbors(const dense2D<float>& metrics)
{
    double sum = 0;
    symmetric_fixed<double, N> m[2] = {}, combined;
    for (size_t j = 0; j < metrics.cols; ++j) {
        for (size_t k = 0; k < N * (N + 1) / 2; ++k) m[j % 2][k] = double(metrics(k, j));
        minimum_metric(m[0], m[1], combined);
        sum += combined[0];
    }
    return sum;
}

} // namespace

LATTIQ_BENCHMARKS(minimum_metric)
{
    const auto prepare = [](const dense2D<float>& metrics) {
        return [&metrics] {
            return metrics.rows == 3 ? sum_of_neighbors<2>(metrics) : sum_of_neighbors<3>(metrics);
        };
    };
    bench::add_on_tensors("minimum_metric", 2, "lattiq",
                          {bench::small_size, bench::usual_size, bench::large_size}, prepare);
    bench::add_on_tensors("minimum_metric", 3, "lattiq", {bench::small_size, bench::usual_size},
                          prepare);
}
