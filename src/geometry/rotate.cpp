#include <algorithm>
#include <cmath>
#include <limits>

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
    double center[Dim];
    double matrix[Dim * Dim];

    void operator()(double* p) const
    {
        double sum[Dim];
        std::copy_n(center, Dim, sum);
        for (size_t j = 0; j < Dim; ++j) {
            const double difference = p[j] - center[j];
            if (is_zero(difference)) continue;
            for (size_t d = 0; d < Dim; ++d) sum[d] += difference * matrix[j * Dim + d];
        }
        std::copy_n(sum, Dim, p);
    }
};

/// Whether a zero times any entry of the matrix may be added to a sum that begins at the center. Such a
/// product is a zero, since all entries are finite, and changes no sum but -0.0. No sum is -0.0: only
/// -0.0 and -0.0 add up to that, and none begins there.
template <size_t Dim>
bool zeros_may_be_added(const turn<Dim>& motion)
{
    const auto may_begin = [](double x) { return x != 0.0 || !std::signbit(x); };
    const auto is_finite = [](double x) { return std::isfinite(x); };
    return std::all_of(motion.center, motion.center + Dim, may_begin) &&
           std::all_of(motion.matrix, motion.matrix + Dim * Dim, is_finite);
}

/// The same turn where zeros may be added, and so without branches: a NaN is taken for a zero. T is a
/// double, or a vector with a node in each lane.
template <size_t Dim>
struct branchless_turn {
    turn<Dim> by;

    template <typename T>
    void operator()(T* p) const
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        T difference[Dim];
        for (size_t j = 0; j < Dim; ++j) {
            const T found = p[j] - by.center[j];
            difference[j] = found <= infinity ? found : T{};
        }
        for (size_t d = 0; d < Dim; ++d) {
            T sum = by.center[d] + difference[0] * by.matrix[d];
            for (size_t j = 1; j < Dim; ++j) sum += difference[j] * by.matrix[j * Dim + d];
            p[d] = sum;
        }
    }
};

turn<2> turn_by(const vector_fixed<double, 2>& center, double angle)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {{center[0], center[1]}, {c, s, -s, c}};
}

turn<3> turn_by(const vector_fixed<double, 3>& center, const vector_fixed<double, 3>& r)
{
    turn<3> motion{{center[0], center[1], center[2]}, {}};
    std::copy_n(rotation_operator(r).R, 9, motion.matrix);
    return motion;
}

template <size_t Dim, typename Angle>
int rotate_all(dense2D<double>& pos, const vector_fixed<double, Dim>& center, const Angle& angle)
{
    if (pos.empty() || is_zero(angle)) return 0;
    const auto motion = turn_by(center, angle);
    if (zeros_may_be_added(motion)) return move_all<Dim>(pos, branchless_turn<Dim>{motion});
    return move_all<Dim>(pos, motion);
}

template <size_t Dim, typename Angle>
int rotate_listed(dense2D<double>& pos, const vector_fixed<double, Dim>& center, const Angle& angle,
                  const dense1D<unsigned>& ids)
{
    if (pos.empty() || is_zero(angle)) return 0;
    const auto motion = turn_by(center, angle);
    if (zeros_may_be_added(motion)) return move_listed<Dim>(pos, ids, branchless_turn<Dim>{motion});
    return move_listed<Dim>(pos, ids, motion);
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
