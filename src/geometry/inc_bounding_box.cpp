#include <kz3/lattiq/core.h>
#include <kz3/lattiq/geometry.h>

#include "core/column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

template <size_t Dim>
void widen(const double* p, vector_fixed<double, Dim>& min, vector_fixed<double, Dim>& max)
{
    for (size_t d = 0; d < Dim; ++d) {
        // negated, so that NaN replaces min; the other comparison keeps it out of max
        if (!(p[d] >= min[d])) min[d] = p[d];
        if (p[d] > max[d]) max[d] = p[d];
    }
}

template <size_t Dim>
int widen_by_all(const dense2D<double>& pos, vector_fixed<double, Dim>& min,
                 vector_fixed<double, Dim>& max)
{
    if (pos.rows != Dim) return -1; // pos
    for (size_t j = 0; j < pos.cols; ++j) widen(column(pos, j), min, max);
    return 0;
}

template <size_t Dim>
int widen_by_listed(const dense2D<double>& pos, const dense1D<unsigned>& ids,
                    vector_fixed<double, Dim>& min, vector_fixed<double, Dim>& max)
{
    if (ids.size == 0) return 0;
    if (pos.rows != Dim) return -1;                     // pos
    if (!check_IDs(ids, unsigned(pos.cols))) return -2; // ids

    for (size_t i = 0; i < ids.size; ++i)
        if (ids[i] != NO_NODE) widen(column(pos, ids[i]), min, max);
    return 0;
}

template <size_t Dim>
int widen_by_used(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                  vector_fixed<double, Dim>& min, vector_fixed<double, Dim>& max)
{
    dense1D<unsigned> ids;
    unique_indices(ids, connectM);
    return widen_by_listed(pos, ids, min, max);
}

} // namespace

int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 2>& min,
                     vector_fixed<double, 2>& max)
{
    return widen_by_all(pos, min, max);
}

int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 3>& min,
                     vector_fixed<double, 3>& max)
{
    return widen_by_all(pos, min, max);
}

int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned>& ids,
                     vector_fixed<double, 2>& min, vector_fixed<double, 2>& max)
{
    return widen_by_listed(pos, ids, min, max);
}

int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned>& ids,
                     vector_fixed<double, 3>& min, vector_fixed<double, 3>& max)
{
    return widen_by_listed(pos, ids, min, max);
}

int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                     vector_fixed<double, 2>& min, vector_fixed<double, 2>& max)
{
    return widen_by_used(pos, connectM, min, max);
}

int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                     vector_fixed<double, 3>& min, vector_fixed<double, 3>& max)
{
    return widen_by_used(pos, connectM, min, max);
}

} // namespace kz3::lattiq
