#include <kz3/lattiq/core.h>
#include <kz3/lattiq/geometry.h>

#include "geometry/motion.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Of one node only: its rows fill a vector as they lie, while nodes side by side have to be collected.
template <size_t Dim>
auto motion(const vector_fixed<double, Dim>& v)
{
    return [v](double* p) {
        for (size_t d = 0; d < Dim; ++d) p[d] += v[d];
    };
}

template <size_t Dim>
int translate_all(dense2D<double>& pos, const vector_fixed<double, Dim>& v)
{
    return pos.empty() || is_zero(v) ? 0 : move_all<Dim>(pos, motion(v));
}

template <size_t Dim>
int translate_listed(dense2D<double>& pos, const vector_fixed<double, Dim>& v,
                     const dense1D<unsigned>& ids)
{
    return pos.empty() || is_zero(v) ? 0 : move_listed<Dim>(pos, ids, motion(v));
}

template <size_t Dim>
int translate_used(dense2D<double>& pos, const vector_fixed<double, Dim>& v,
                   const dense2D<unsigned>& connectM)
{
    dense1D<unsigned> ids;
    unique_indices(ids, connectM);
    return translate_listed(pos, v, ids);
}

} // namespace

int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v)
{
    return translate_all(pos, v);
}

int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v)
{
    return translate_all(pos, v);
}

int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v, const dense1D<unsigned>& ids)
{
    return translate_listed(pos, v, ids);
}

int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v, const dense1D<unsigned>& ids)
{
    return translate_listed(pos, v, ids);
}

int translate(dense2D<double>& pos, const vector_fixed<double, 2>& v,
              const dense2D<unsigned>& connectM)
{
    return translate_used(pos, v, connectM);
}

int translate(dense2D<double>& pos, const vector_fixed<double, 3>& v,
              const dense2D<unsigned>& connectM)
{
    return translate_used(pos, v, connectM);
}

} // namespace kz3::lattiq
