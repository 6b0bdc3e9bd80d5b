#include <kz3/lattiq/core.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/geometry.h>

#include "core/out_of_memory.h"
#include "geometry/append_columns.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

double times(double t, double angle)
{
    return t * angle;
}

template <size_t N>
vector_fixed<double, N> times(double t, const vector_fixed<double, N>& v)
{
    vector_fixed<double, N> product = v;
    for (double& x : product) x = t * x;
    return product;
}

// Only what the elements may name is written, since a small part of a large mesh may be copied many
// times.
void set_holes(dense1D<unsigned>& map, const dense2D<unsigned>& connectM)
{
    if (connectM.empty()) return;
    if (map.size <= connectM.rows * connectM.cols) {
        map = NO_NODE;
        return;
    }
    for (size_t j = 0; j < connectM.cols; ++j) {
        const unsigned* node = column(connectM, j);
        for (size_t i = 0; i < connectM.rows; ++i)
            if (node[i] < map.size) map[node[i]] = NO_NODE;
    }
}

template <size_t Dim, typename Angle>
int copy_series(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                const vector_fixed<double, Dim>& translation,
                const vector_fixed<double, Dim>& center, const Angle& angle, unsigned copies,
                const dense2D<unsigned>& connectM)
{
    dense2D<unsigned> step;
    if (pos.empty() || copies == 0) return 0;
    for (unsigned i = 0; i < copies; ++i) {
        const double t = double(i) + 1;
        if (const int result = copy_mesh(pos, step, connectM); result != 0) return result;
        rotate(pos, center, times(t, angle), step);
        translate(pos, times(t, translation), step);
        append_columns(step, connectM_copy);
    }
    return 0;
}

} // namespace

int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
              const dense2D<unsigned>& connectM)
{
    const size_t first_new = pos.cols;
    dense1D<unsigned> ids;
    if (const int result = unique_indices(ids, connectM); result < 0) return result;
    if (!append_selected_columns(pos, ids, pos)) return out_of_memory;
    if (!connectM_copy.copy(connectM)) return out_of_memory;
    dense1D<unsigned> map;
    if (!map.resize(first_new)) return out_of_memory;

    // A node that the list found no memory for has no copy.
    set_holes(map, connectM_copy);
    for (size_t k = 0; k < ids.size; ++k)
        if (ids[k] < first_new) map[ids[k]] = unsigned(first_new + k);
    change_indices(connectM_copy, map);
    return 0;
}

int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
              const vector_fixed<double, 2>& translation, const vector_fixed<double, 2>& center,
              double angle, unsigned copies, const dense2D<unsigned>& connectM)
{
    return copy_series(pos, connectM_copy, translation, center, angle, copies, connectM);
}

int copy_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
              const vector_fixed<double, 3>& translation, const vector_fixed<double, 3>& center,
              const vector_fixed<double, 3>& r, unsigned copies, const dense2D<unsigned>& connectM)
{
    return copy_series(pos, connectM_copy, translation, center, r, copies, connectM);
}

} // namespace kz3::lattiq
