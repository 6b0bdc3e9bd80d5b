#include <kz3/lattiq/geometry.h>

#include "geometry/motion.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

template <size_t Dim>
double dot(const double* a, const double* b)
{
    double sum = a[0] * b[0];
    for (size_t d = 1; d < Dim; ++d) sum += a[d] * b[d];
    return sum;
}

template <size_t Dim>
int copy_mirrored(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                  const vector_fixed<double, Dim>& point, const vector_fixed<double, Dim>& normal,
                  const dense2D<unsigned>& connectM)
{
    const size_t first_new = pos.cols;
    const double s = dot<Dim>(normal.data, normal.data);
    if (pos.empty()) return 0;
    if (is_zero(s)) return -4; // normal; NaN too
    if (const int result = copy_mesh(pos, connectM_copy, connectM); result < 0) return result;

    const double f = -2.0 / s;
    const auto mirror = [&](double* p) {
        double difference[Dim];
        for (size_t d = 0; d < Dim; ++d) difference[d] = p[d] - point[d];
        const double k = dot<Dim>(difference, normal.data) * f;
        for (size_t d = 0; d < Dim; ++d) p[d] += k * normal[d];
    };
    const mover<Dim, decltype(mirror)> move(pos, mirror);
    for (size_t j = first_new; j < pos.cols; ++j) move(column(pos, j));
    return 0;
}

} // namespace

int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                  const vector_fixed<double, 2>& point, const vector_fixed<double, 2>& normal,
                  const dense2D<unsigned>& connectM)
{
    return copy_mirrored(pos, connectM_copy, point, normal, connectM);
}

int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned>& connectM_copy,
                  const vector_fixed<double, 3>& point, const vector_fixed<double, 3>& normal,
                  const dense2D<unsigned>& connectM)
{
    return copy_mirrored(pos, connectM_copy, point, normal, connectM);
}

} // namespace kz3::lattiq
