// The lines shown in docs/containers.md.

#include <cstdio>

#include "expect.h"

int main()
{
    auto pos = kz3::columns<double>({{0, 0}, {1, 0}, {0, 1}}); // 2 x 3: three nodes in the plane
    kz3::dense1D<unsigned> ids{4, 2, 7};                       // a list of three
    kz3::dense1D<double> zeros(100, 0.0);               // a hundred zeros: round brackets size
    pos(1, 2) = 5;                                      // row 1, column 2
    for (double x : pos.col(2)) std::printf("%g\n", x); // a column is contiguous
    expect(pos.rows == 2 && pos.cols == 3 && pos(1, 2) == 5, "coordinates");
    expect(ids.size == 3 && ids[1] == 2, "a list");
    expect(zeros.size == 100 && zeros[99] == 0.0, "zeros");
}
