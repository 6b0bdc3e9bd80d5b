#include <kz3/lattiq/metrics.h>

#include "metrics/local_basis.h"
#include "metrics/tensor_column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

template <size_t N>
void convert(const dense1D<float>& sizes, dense2D<float>& metrics)
{
    const auto tensor = [](const dense1D<float>& h, size_t j) {
        return isotropic<N>(double(h[j]));
    };
    replace_field<N>(sizes, sizes.size, metrics, tensor);
}

} // namespace

void metric_iso_to_aniso(double h, symmetric_fixed<double, 2>& m)
{
    m = isotropic<2>(h);
}

void metric_iso_to_aniso(double h, symmetric_fixed<double, 3>& m)
{
    m = isotropic<3>(h);
}

void metrics_iso_to_aniso2d(const dense1D<float>& sizes, dense2D<float>& metrics)
{
    convert<2>(sizes, metrics);
}

void metrics_iso_to_aniso3d(const dense1D<float>& sizes, dense2D<float>& metrics)
{
    convert<3>(sizes, metrics);
}

void metric_iso_to_aniso2d(double h, const matrix_fixed<double, 3, 2>& basis,
                           symmetric_fixed<double, 2>& m)
{
    const double* b0 = basis.data;
    const double* b1 = basis.data + 3;
    const double v = h > 0 ? 1.0 / (h * h) : 0;
    m = {};
    // asked first, so that no infinity of the basis makes NaN of an infinite size
    if (v != 0) m = {v * dot(b0, b0), v * dot(b1, b0), v * dot(b1, b1)};
}

int metrics_iso_to_aniso2d(const dense1D<float>& sizes, const dense2D<double>& bases,
                           dense2D<float>& metrics)
{
    if (bases.rows != 6 || sizes.size != bases.cols) return -2; // bases

    const auto tensor = [&](const dense1D<float>& h, size_t j) {
        symmetric_fixed<double, 2> m;
        metric_iso_to_aniso2d(double(h[j]), read_basis(bases, j), m);
        return m;
    };
    replace_field<2>(sizes, sizes.size, metrics, tensor);
    return 0;
}

} // namespace kz3::lattiq
