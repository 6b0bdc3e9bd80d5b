// The lines shown in docs/geometry.md.

#include "expect.h"

using namespace kz3::lattiq;

namespace {

using vector3 = kz3::vector_fixed<double, 3>;

/// A tetrahedron one away from the third axis.
kz3::dense2D<double> corner()
{
    return kz3::columns<double>({{1, 0, 0}, {2, 0, 0}, {1, 1, 0}, {1, 0, 1}});
}

const auto connectM = kz3::columns<unsigned>({{0, 1, 2, 3}});

void motions()
{
    auto pos = corner();
    const vector3 center{0, 0, 0};
    const kz3::dense1D<unsigned> ids{1};
    translate(pos, kz3::vector_fixed<double, 3>{0, 0, 5});              // all nodes
    rotate(pos, center, kz3::vector_fixed<double, 3>{0, 0, 1.57}, ids); // listed nodes
    zoom(pos, center, 2.0, connectM); // the nodes of a connectivity
    expect(holds(pos.col(0), {2.0, 0.0, 10.0}), "moved, then zoomed");
    expect(pos(0, 1) < 0.01 && pos(1, 1) > 3.99, "turned by about a right angle");
}

void box()
{
    const auto pos = corner();
    kz3::vector_fixed<double, 3> low{1e300, 1e300, 1e300}, high{-1e300, -1e300, -1e300};
    inc_bounding_box(pos, connectM, low, high);
    expect(low[0] == 1 && low[1] == 0 && low[2] == 0, "lower corner");
    expect(high[0] == 2 && high[1] == 1 && high[2] == 1, "upper corner");
}

void copies()
{
    auto pos = kz3::columns<double>({{1, 0}, {2, 0}, {1, 0.25}});
    const auto tria = kz3::columns<unsigned>({{0, 1, 2}});
    const kz3::vector_fixed<double, 2> center{0, 0}, step{0, 0}, point{0, 0}, normal{1, 0};
    kz3::dense2D<unsigned> copied, ring, mirrored;
    copy_mesh(pos, copied, tria);                         // a plain copy
    copy_mesh(pos, ring, step, center, 0.5236, 11, tria); // eleven, each turned by 30 degrees more
    expect(holds(copied, {{3u, 4u, 5u}}), "a triangle on new nodes");
    expect(ring.cols == 11 && pos.cols == 3 + 3 + 33, "the other eleven of a ring of twelve");

    copy_sym_mesh(pos, mirrored, point, normal, tria);
    expect(pos(0, mirrored(1, 0)) == -2.0, "its image");
}

void halves()
{
    const auto pos = corner();
    const kz3::dense2D<unsigned> tetra = connectM;
    const vector3 point{0, 0, 0}, normal{1, 0, 0};
    kz3::dense2D<unsigned> clipped;
    clip(pos, tetra, point, normal, clipped);
    expect(clipped.cols == 1, "on the side of the normal");
}

} // namespace

int main()
{
    motions();
    box();
    copies();
    halves();
}
