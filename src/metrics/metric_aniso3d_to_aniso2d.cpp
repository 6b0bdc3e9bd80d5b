#include <algorithm>

#include <kz3/lattiq/metrics.h>

#include "metrics/tensor_column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

double dot(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

matrix_fixed<double, 3, 2> read_basis(const dense2D<double>& bases, size_t j)
{
    matrix_fixed<double, 3, 2> basis;
    std::copy_n(column(bases, j), 6, basis.data);
    return basis;
}

/// Replaces metrics by n columns of 3 rows, the j-th found by tensor(j).
template <typename Tensor>
void fill_field(size_t n, dense2D<float>& metrics, Tensor tensor)
{
    metrics.clear();
    metrics.resize(3, n, 0.0F);
    for (size_t j = 0; j < metrics.cols; ++j) narrow<2>(tensor(j), column(metrics, j));
}

} // namespace

void metric_iso_to_aniso2d(double h, const matrix_fixed<double, 3, 2>& basis,
                           symmetric_fixed<double, 2>& m)
{
    const double* b0 = basis.data;
    const double* b1 = basis.data + 3;
    const double v = h > 0 ? 1.0 / (h * h) : 0;
    m = {};
    if (v != 0) m = {v * dot(b0, b0), v * dot(b1, b0), v * dot(b1, b1)};
}

int metrics_iso_to_aniso2d(const dense1D<float>& sizes, const dense2D<double>& bases,
                           dense2D<float>& metrics)
{
    if (bases.rows != 6 || sizes.size != bases.cols) return -2; // bases

    fill_field(sizes.size, metrics, [&](size_t j) {
        symmetric_fixed<double, 2> m;
        metric_iso_to_aniso2d(double(sizes[j]), read_basis(bases, j), m);
        return m;
    });
    return 0;
}

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

    // The result may share the storage of the argument, or be the argument: a column of 3 floats is
    // written only after the column of 6 in the same place, or further on, was read.
    const dense2D<float> source(metrics3d);
    fill_field(source.cols, metrics2d, [&](size_t j) {
        symmetric_fixed<double, 2> m;
        metric_aniso3d_to_aniso2d(widen<3>(column(source, j)), read_basis(bases, j), m);
        return m;
    });
    return 0;
}

} // namespace kz3::lattiq
