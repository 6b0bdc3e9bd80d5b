#include "geometry/moved_points.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(zoom)
{
    bench::add_on_meshes("zoom", "tetra", [](const bench::mesh& m) {
        dense2D<double> pos;
        pos.copy(m.pos);
        return [pos, center = vector_fixed<double, 3>{0, 0, 0}]() mutable {
            return zoom(pos, center, 1.0 + 1e-9);
        };
    });
    bench::add_moved_points("zoom",
                            [](vtkTransform& t) { t.Scale(1.0 + 1e-9, 1.0 + 1e-9, 1.0 + 1e-9); });
}
