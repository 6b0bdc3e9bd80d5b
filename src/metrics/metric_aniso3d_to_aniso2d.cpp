#include <kz3/lattiq/metrics.h>

#include "metrics/local_basis.h"
#include "metrics/tensor_column.h"

namespace kz3::lattiq {
using namespace detail;

void metric_aniso3d_to_aniso2d(const symmetric_fixed<double, 3>& m3,
                               const matrix_fixed<double, 3, 2>& basis,
                               symmetric_fixed<double, 2>& m2)
{
    double t[2][3];
    for (size_t k = 0; k < 2; ++k)
        for (size_t i = 0; i < 3; ++i)
            t[k][i] = m3(i, 0) * basis(0, k) + m3(i, 1) * basis(1, k) + m3(i, 2) * basis(2, k);
    const double* b0 = basis.data;
    const double* b1 = basis.data + 3;
    m2 = {dot(t[0], b0), dot(t[1], b0), dot(t[1], b1)};
}

int metrics_aniso3d_to_aniso2d(const dense2D<float>& metrics3d, const dense2D<double>& bases,
                               dense2D<float>& metrics2d)
{
    if (metrics3d.rows != 6) return -1;                             // metrics3d
    if (bases.rows != 6 || metrics3d.cols != bases.cols) return -2; // bases

    const auto tensor = [&](const dense2D<float>& metrics, size_t j) {
        symmetric_fixed<double, 2> m;
        metric_aniso3d_to_aniso2d(widen<3>(column(metrics, j)), read_basis(bases, j), m);
        return m;
    };
    replace_field<2>(metrics3d, metrics3d.cols, metrics2d, tensor);
    return 0;
}

} // namespace kz3::lattiq
