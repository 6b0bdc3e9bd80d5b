// read_obj FILE: reads a Wavefront OBJ file and prints what it holds, as JSON.

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <kz3/lattiq/lattiq.h>

int main(int argc, char** argv)
{
    using namespace kz3::lattiq;
    using kz3::vector_fixed;
    kz3::dense2D<double> pos;
    kz3::dense2D<double> normals;
    kz3::dense2D<double> textures;
    kz3::dense2D<unsigned> triangles;
    kz3::dense2D<unsigned> quads;
    if (argc != 2) return 2;
    const int result = WavefrontOBJ_input(argv[1], pos, normals, textures, triangles, quads);
    vector_fixed<double, 3> low{1e300, 1e300, 1e300};
    vector_fixed<double, 3> high{-1e300, -1e300, -1e300};
    if (result != 0 || inc_bounding_box(pos, low, high) != 0) return 1;
    if (!check_IDs(triangles, ET_TRIA3, unsigned(pos.cols))) return 1;
    if (!check_IDs(quads, ET_QUAD4, unsigned(pos.cols))) return 1;
    std::printf(
        "{\"nodes\": %zu, \"normals\": %zu, \"textures\": %zu, \"triangles\": %zu, \"quads\": %zu, "
        "\"low\": [%.9g, %.9g, %.9g], \"high\": [%.9g, %.9g, %.9g]}\n",
        pos.cols, normals.cols, textures.cols, triangles.cols, quads.cols, low[0], low[1], low[2],
        high[0], high[1], high[2]);
    return 0;
}
