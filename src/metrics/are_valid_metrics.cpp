#include <cmath>

#include <kz3/lattiq/metrics.h>

#include "metrics/tensor_column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

bool is_valid_size(float size)
{
    return size > 0 && std::isfinite(double(size));
}

bool is_valid_column(const dense2D<float>& metrics, size_t j)
{
    bool valid = false;
    with_dimension(metrics.rows,
                   [&](auto dim) { valid = is_valid_metric(widen<dim>(column(metrics, j))); });
    return valid;
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
    if (metrics.rows != 3 && metrics.rows != 6) return false;
    for (size_t j = 0; j < metrics.cols; ++j)
        if (!is_valid_column(metrics, j)) return false;
    return true;
}

bool are_valid_metrics(const dense1D<unsigned>& ids, const dense2D<float>& metrics)
{
    if (metrics.empty() && ids.size == 0) return true;
    if (metrics.rows != 3 && metrics.rows != 6) return false;
    for (size_t i = 0; i < ids.size; ++i)
        if (ids[i] >= metrics.cols || !is_valid_column(metrics, ids[i])) return false;
    return true;
}

} // namespace kz3::lattiq
