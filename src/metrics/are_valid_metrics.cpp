#include <cmath>

#include <kz3/lattiq/metrics.h>

#include "metrics/tensor_column.h"
#include "metrics/validity.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

bool is_valid_size(float size)
{
    return size > 0 && std::isfinite(double(size));
}

/// Whether the columns j(0) to j(n-1) exist and are valid; false at the first that is not.
template <typename Column>
bool are_valid_columns(const dense2D<float>& metrics, size_t n, Column j)
{
    bool valid = true;
    const bool served = with_dimension(metrics.rows, [&](auto dim) {
        for (size_t i = 0; valid && i < n; ++i)
            valid = j(i) < metrics.cols && is_valid(widen<dim>(column(metrics, j(i))));
    });
    return served && valid;
}

} // namespace

bool are_valid_metrics(const dense1D<float>& sizes)
{
    for (size_t i = 0; i < sizes.size; ++i)
        if (!is_valid_size(sizes[i])) return false;
    return true;
}

bool are_valid_metrics(const dense1D<unsigned>& ids, const dense1D<float>& sizes)
{
    for (size_t i = 0; i < ids.size; ++i)
        if (ids[i] >= sizes.size || !is_valid_size(sizes[ids[i]])) return false;
    return true;
}

bool are_valid_metrics(const dense2D<float>& metrics)
{
    return are_valid_columns(metrics, metrics.cols, [](size_t i) { return i; });
}

bool are_valid_metrics(const dense1D<unsigned>& ids, const dense2D<float>& metrics)
{
    if (metrics.empty() && ids.size == 0) return true;
    return are_valid_columns(metrics, ids.size, [&](size_t i) { return ids[i]; });
}

} // namespace kz3::lattiq
