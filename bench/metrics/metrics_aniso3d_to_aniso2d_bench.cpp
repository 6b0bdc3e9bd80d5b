#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(metrics_aniso3d_to_aniso2d)
{
    bench::add_on_tensors("metrics_aniso3d_to_aniso2d", 3, "lattiq",
                          {bench::small_size, bench::usual_size, bench::large_size},
                          [](const dense2D<float>& metrics) {
                              return [&metrics, planes = bench::planes_of(metrics.cols)] {
                                  dense2D<float> restricted;
                                  metrics_aniso3d_to_aniso2d(metrics, planes, restricted);
                                  return restricted;
                              };
                          });
}
