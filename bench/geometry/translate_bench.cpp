#include "geometry/moved_points.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(translate)
{
    bench::add_on_meshes("translate", "tetra", [](const bench::mesh& m) {
        dense2D<double> pos;
        pos.copy(m.pos);
        return [pos, step = vector_fixed<double, 3>{1e-6, 0, 0}]() mutable {
            return translate(pos, step);
        };
    });
    bench::add_moved_points("translate", [](vtkTransform& t) { t.Translate(1e-6, 0, 0); });
}
