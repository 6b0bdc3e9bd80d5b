#include <cstring>

#include <kz3/lattiq/lattiq.h>

int main()
{
    using namespace kz3::lattiq;
    if (std::strcmp(version(), "4.1.0") != 0) return 1;
    const auto triangles = kz3::columns<unsigned>({{0, 1, 2}, {2, 1, 3}});
    kz3::dense2D<unsigned> neighbors;
    if (get_neighbors(triangles, ET_TRIA3, false, neighbors) != 0) return 2;
    return neighbors(0, 0) == 1 && neighbors(2, 1) == 0 ? 0 : 3;
}
