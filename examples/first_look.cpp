#include <algorithm>
#include <cstdio>

#include <kz3/lattiq/lattiq.h>

int main(int argc, char** argv)
{
    using namespace kz3::lattiq;
    kz3::dense2D<double> pos;
    kz3::dense2D<unsigned> triangles, neighbors, free_edges;
    kz3::dense1D<double> qualities;

    // Reads a binary STL file and welds its facets to a mesh with shared nodes.
    if (argc < 2 || STL_input(argv[1], pos, triangles, false) <= 0) return 1;

    get_neighbors(triangles, ET_TRIA3, false, neighbors);
    get_mesh_boundaries(triangles, neighbors, ET_TRIA3, free_edges);
    shape_qualities(pos, triangles, ET_TRIA3, qualities);

    std::printf("%zu triangles on %zu nodes, %zu free edges, worst quality %.3f\n", triangles.cols,
                pos.cols, free_edges.cols, *std::min_element(qualities.begin(), qualities.end()));
    return medit_output("part.mesh", pos, triangles, ET_TRIA3);
}
