#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/fixed.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

// ---- metrics/is_valid_metric.cpp, are_valid_metrics.cpp, eigen_pairs.cpp, metric_iso_to_aniso.cpp, metric_aniso3d_to_aniso2d.cpp ----

KZ3_LATTIQ_API bool is_valid_metric(const symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API bool is_valid_metric(const symmetric_fixed<double, 3>& m);
KZ3_LATTIQ_API bool are_valid_metrics(const dense1D<float>& sizes);
KZ3_LATTIQ_API bool are_valid_metrics(const dense1D<unsigned>& ids, const dense1D<float>& sizes);
KZ3_LATTIQ_API bool are_valid_metrics(const dense2D<float>& metrics);
KZ3_LATTIQ_API bool are_valid_metrics(const dense1D<unsigned>& ids, const dense2D<float>& metrics);
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 2>& m,
                                vector_fixed<double, 2>& values,
                                matrix_fixed<double, 2, 2>& vectors);
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 3>& m,
                                vector_fixed<double, 3>& values,
                                matrix_fixed<double, 3, 3>& vectors);
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 2>& a,
                                const symmetric_fixed<double, 2>& b,
                                vector_fixed<double, 2>& values,
                                matrix_fixed<double, 2, 2>& vectors);
KZ3_LATTIQ_API bool eigen_pairs(const symmetric_fixed<double, 3>& a,
                                const symmetric_fixed<double, 3>& b,
                                vector_fixed<double, 3>& values,
                                matrix_fixed<double, 3, 3>& vectors);
KZ3_LATTIQ_API void metric_iso_to_aniso(double h, symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API void metric_iso_to_aniso(double h, symmetric_fixed<double, 3>& m);
KZ3_LATTIQ_API void metrics_iso_to_aniso2d(const dense1D<float>& sizes, dense2D<float>& metrics);
KZ3_LATTIQ_API void metrics_iso_to_aniso3d(const dense1D<float>& sizes, dense2D<float>& metrics);
KZ3_LATTIQ_API void metric_iso_to_aniso2d(double h, const matrix_fixed<double, 3, 2>& basis,
                                          symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API int metrics_iso_to_aniso2d(const dense1D<float>& sizes, const dense2D<double>& bases,
                                          dense2D<float>& metrics);
KZ3_LATTIQ_API void metric_aniso3d_to_aniso2d(const symmetric_fixed<double, 3>& m3,
                                              const matrix_fixed<double, 3, 2>& basis,
                                              symmetric_fixed<double, 2>& m2);
KZ3_LATTIQ_API int metrics_aniso3d_to_aniso2d(const dense2D<float>& metrics3d,
                                              const dense2D<double>& bases,
                                              dense2D<float>& metrics2d);

// ---- metrics/minimum_metric.cpp ----

KZ3_LATTIQ_API void minimum_metric(const symmetric_fixed<double, 2>& m1,
                                   const symmetric_fixed<double, 2>& m2,
                                   symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API void minimum_metric(const symmetric_fixed<double, 3>& m1,
                                   const symmetric_fixed<double, 3>& m2,
                                   symmetric_fixed<double, 3>& m);
KZ3_LATTIQ_API void maximum_metric(const symmetric_fixed<double, 2>& m1,
                                   const symmetric_fixed<double, 2>& m2,
                                   symmetric_fixed<double, 2>& m);
KZ3_LATTIQ_API void maximum_metric(const symmetric_fixed<double, 3>& m1,
                                   const symmetric_fixed<double, 3>& m2,
                                   symmetric_fixed<double, 3>& m);

// ---- metrics/bound_metrics.cpp, overwrite_invalid_metrics.cpp ----

KZ3_LATTIQ_API int bound_metrics(dense1D<float>& sizes, double h_min, double h_max);
KZ3_LATTIQ_API int bound_metrics(dense2D<float>& metrics, double h_min, double h_max);
KZ3_LATTIQ_API int overwrite_invalid_metrics(dense1D<float>& sizes, const dense1D<float>& fallback);
KZ3_LATTIQ_API int overwrite_invalid_metrics(dense2D<float>& metrics,
                                             const dense1D<float>& fallback);
KZ3_LATTIQ_API int overwrite_invalid_metrics(dense2D<float>& metrics,
                                             const dense2D<float>& fallback);

} // namespace kz3::lattiq
