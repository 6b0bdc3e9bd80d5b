#include "geometry/moved_points.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(rotate)
{
    bench::add_on_meshes("rotate", "tetra", [](const bench::mesh& m) {
        dense2D<double> pos;
        pos.copy(m.pos);
        return [pos, center = vector_fixed<double, 3>{0, 0, 0},
                turn = vector_fixed<double, 3>{0, 0, 1e-3}]() mutable {
            return rotate(pos, center, turn);
        };
    });
    bench::add_moved_points("rotate", [](vtkTransform& t) { t.RotateZ(0.06); });
}
