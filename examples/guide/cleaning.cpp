// The lines shown in docs/cleaning.md.

#include "expect.h"

int main()
{
    // Two triangles of a square, each with nodes of its own.
    auto pos = kz3::columns<double>({{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}});
    auto connectM = kz3::columns<unsigned>({{0, 1, 2}, {3, 4, 5}});

    kz3::dense1D<unsigned> id_map;
    kz3::lattiq::merge(pos, connectM, id_map, 1e-6, 0);       // nodes merged
    kz3::lattiq::remove_degenerated(connectM, id_map, false); // elements removed
    kz3::lattiq::simplify(pos, connectM, id_map, 0);          // nodes removed
    expect(pos.cols == 4, "four nodes are left");
    expect(connectM.cols == 2, "both triangles stay");
}
