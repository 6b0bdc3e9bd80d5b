#include <algorithm>
#include <cmath>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/geometry.h>

#include "geometry/motion.h"
#include "geometry/rotation_operator.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// A turn about a center by a matrix, given column by column. A component of the difference that is 0
/// or NaN adds nothing.
template <size_t Dim>
struct turn {
    vector_fixed<double, Dim> center;
    double matrix[Dim * Dim];

    void operator()(double* p) const
    {
        double difference[Dim];
        bool all_add = true;
        for (size_t j = 0; j < Dim; ++j) {
            difference[j] = p[j] - center[j];
            all_add = all_add && !is_zero(difference[j]);
        }
        for (size_t d = 0; d < Dim; ++d) {
            double sum = center[d];
            if (all_add) {
                for (size_t j = 0; j < Dim; ++j) sum += difference[j] * matrix[j * Dim + d];
            } else {
                for (size_t j = 0; j < Dim; ++j)
                    if (!is_zero(difference[j])) sum += difference[j] * matrix[j * Dim + d];
            }
            p[d] = sum;
        }
    }
};

turn<2> turn_by(const vector_fixed<double, 2>& center, double angle)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {center, {c, s, -s, c}};
}

turn<3> turn_by(const vector_fixed<double, 3>& center, const vector_fixed<double, 3>& r)
{
    turn<3> motion{center, {}};
    std::copy_n(rotation_operator(r).R, 9, motion.matrix);
    return motion;
}

template <size_t Dim, typename Angle>
int rotate_all(dense2D<double>& pos, const vector_fixed<double, Dim>& center, const Angle& angle)
{
    return pos.empty() || is_zero(angle) ? 0 : move_all<Dim>(pos, turn_by(center, angle));
}

template <size_t Dim, typename Angle>
int rotate_listed(dense2D<double>& pos, const vector_fixed<double, Dim>& center, const Angle& angle,
                  const dense1D<unsigned>& ids)
{
    return pos.empty() || is_zero(angle) ? 0 : move_listed<Dim>(pos, ids, turn_by(center, angle));
}

template <size_t Dim, typename Angle>
int rotate_used(dense2D<double>& pos, const vector_fixed<double, Dim>& center, const Angle& angle,
                const dense2D<unsigned>& connectM)
{
    dense1D<unsigned> ids;
    unique_indices(ids, connectM);
    return rotate_listed(pos, center, angle, ids);
}

} // namespace

int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center, double angle)
{
    return rotate_all(pos, center, angle);
}

int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center, double angle,
           const dense1D<unsigned>& ids)
{
    return rotate_listed(pos, center, angle, ids);
}

int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& center, double angle,
           const dense2D<unsigned>& connectM)
{
    return rotate_used(pos, center, angle, connectM);
}

int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
           const vector_fixed<double, 3>& r)
{
    return rotate_all(pos, center, r);
}

int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
           const vector_fixed<double, 3>& r, const dense1D<unsigned>& ids)
{
    return rotate_listed(pos, center, r, ids);
}

int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& center,
           const vector_fixed<double, 3>& r, const dense2D<unsigned>& connectM)
{
    return rotate_used(pos, center, r, connectM);
}

} // namespace kz3::lattiq
