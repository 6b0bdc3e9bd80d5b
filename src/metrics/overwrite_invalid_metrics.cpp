#include <algorithm>

#include <kz3/lattiq/metrics.h>

#include "metrics/tensor_column.h"
#include "metrics/validity.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// Replaces each invalid tensor of the first n by replacement(j, tensor), which is false where there
/// is none.
template <size_t N, typename Replacement>
void replace_invalid(dense2D<float>& metrics, size_t n, Replacement replacement)
{
    for (size_t j = 0; j < n; ++j) {
        float* stored = column(metrics, j);
        if (is_valid(widen<N>(stored))) continue;
        symmetric_fixed<double, N> m;
        if (replacement(j, m)) narrow(m, stored);
    }
}

} // namespace

int overwrite_invalid_metrics(dense1D<float>& sizes, const dense1D<float>& fallback)
{
    const size_t n = std::min(sizes.size, fallback.size);
    // Narrower than validity: neither NaN nor infinity is replaced.
    for (size_t i = 0; i < n; ++i)
        if (0.0F >= sizes[i] && fallback[i] > 0.0F) sizes[i] = fallback[i];
    return 0;
}

int overwrite_invalid_metrics(dense2D<float>& metrics, const dense1D<float>& fallback)
{
    if (metrics.empty()) return 0;
    const size_t n = std::min(metrics.cols, fallback.size);
    const bool served = with_dimension(metrics.rows, [&](auto dim) {
        replace_invalid<dim>(metrics, n, [&](size_t j, symmetric_fixed<double, dim>& m) {
            if (!(fallback[j] > 0.0F)) return false;
            m = isotropic<dim>(double(fallback[j]));
            return true;
        });
    });
    return served ? 0 : -1; // metrics
}

int overwrite_invalid_metrics(dense2D<float>& metrics, const dense2D<float>& fallback)
{
    if (metrics.empty()) return 0;
    if (metrics.rows != 3 && metrics.rows != 6) return -1; // metrics
    if (fallback.rows != metrics.rows) return -2;          // fallback

    const size_t n = std::min(metrics.cols, fallback.cols);
    with_dimension(metrics.rows, [&](auto dim) {
        replace_invalid<dim>(metrics, n, [&](size_t j, symmetric_fixed<double, dim>& m) {
            m = widen<dim>(column(fallback, j));
            return is_valid(m);
        });
    });
    return 0;
}

} // namespace kz3::lattiq
