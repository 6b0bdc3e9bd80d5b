#include <kz3/lattiq/core.h>
#include <kz3/lattiq/geometry.h>

#include "geometry/motion.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// By comparison, so that NaN counts as 1.
bool is_one(double factor)
{
    return !(factor < 1.0) && !(factor > 1.0);
}

// T is a double, or a vector with a node in each lane.
template <size_t Dim>
auto motion(const vector_fixed<double, Dim>& center, double factor)
{
    return [center, factor]<typename T>(T* p) {
        T difference[Dim];
        for (size_t d = 0; d < Dim; ++d) difference[d] = p[d] - center[d];
        for (size_t d = 0; d < Dim; ++d) p[d] += difference[d] * (factor - 1.0);
    };
}

template <size_t Dim>
int zoom_all(dense2D<double>& pos, const vector_fixed<double, Dim>& center, double factor)
{
    return pos.empty() || is_one(factor) ? 0 : move_all<Dim>(pos, motion(center, factor));
}

// Unlike the other motions this one neither checks its IDs nor counts them.
template <size_t Dim>
int zoom_listed(dense2D<double>& pos, const vector_fixed<double, Dim>& center, double factor,
                const dense1D<unsigned>& ids)
{
    if (pos.empty() || is_one(factor) || ids.size == 0) return 0;
    const mover<Dim, decltype(motion(center, factor))> move(pos, motion(center, factor));
    for (size_t i = 0; i < ids.size; ++i) move(column(pos, ids[i]));
    return 0;
}

template <size_t Dim>
int zoom_used(dense2D<double>& pos, const vector_fixed<double, Dim>& center, double factor,
              const dense2D<unsigned>& connectM)
{
    dense1D<unsigned> ids;
    unique_indices(ids, connectM);
    return zoom_listed(pos, center, factor, ids);
}

} // namespace

int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor)
{
    return zoom_all(pos, center, factor);
}

int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor)
{
    return zoom_all(pos, center, factor);
}

int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor,
         const dense1D<unsigned>& ids)
{
    return zoom_listed(pos, center, factor, ids);
}

int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor,
         const dense1D<unsigned>& ids)
{
    return zoom_listed(pos, center, factor, ids);
}

int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& center, double factor,
         const dense2D<unsigned>& connectM)
{
    return zoom_used(pos, center, factor, connectM);
}

int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& center, double factor,
         const dense2D<unsigned>& connectM)
{
    return zoom_used(pos, center, factor, connectM);
}

} // namespace kz3::lattiq
