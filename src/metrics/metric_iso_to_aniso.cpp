#include <kz3/lattiq/metrics.h>

#include "metrics/tensor_column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

template <size_t N>
void fill_field(const dense1D<float>& sizes, dense2D<float>& metrics)
{
    metrics.clear();
    metrics.resize(symmetric_fixed<double, N>::entries, sizes.size, 0.0F);
    for (size_t j = 0; j < metrics.cols; ++j)
        narrow(isotropic<N>(double(sizes[j])), column(metrics, j));
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
    fill_field<2>(sizes, metrics);
}

void metrics_iso_to_aniso3d(const dense1D<float>& sizes, dense2D<float>& metrics)
{
    fill_field<3>(sizes, metrics);
}

} // namespace kz3::lattiq
