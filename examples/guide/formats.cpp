// The lines shown in docs/formats.md. Writes its files to the current directory.

#include <cstdio>
#include <fstream>

#include "expect.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

const auto square = columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}});
const auto tria = columns<unsigned>({{0, 1, 2}, {2, 1, 3}});

int stl()
{
    dense2D<double> pos;
    dense2D<unsigned> connectM;
    int triangles = STL_input("part.stl", pos, connectM, true); // true: text, false: binary
    if (triangles < 0) return triangles;
    int code = STL_output("copy.stl", pos, connectM, false);
    expect(triangles == 2 && pos.cols == 4, "two facets, welded");
    return code;
}

int medit()
{
    const auto pos = columns<double>({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    const auto connectM = columns<unsigned>({{0, 1, 2, 3}});
    const dense1D<double> qualities(4, 1.0);
    int code = medit_output("part.mesh", pos, connectM, ET_TETRA4);
    if (code == 0) code = medit_scalar("part.sol", 3, qualities);
    return code;
}

int vtk()
{
    const auto& pos = square;
    const auto& triangles = tria;
    const auto bars = columns<unsigned>({{0, 1}});
    std::FILE* const stream = std::fopen("parts.vtk", "wb");
    expect(stream, "a file to write to");
    unsigned ncells = 0;
    dense1D<unsigned> cells, cell_types;
    vtk_convert(triangles, ET_TRIA3, ncells, cells, cell_types);
    vtk_convert(bars, ET_BAR2, ncells, cells, cell_types);
    vtk_output(stream, pos, ncells, cells, cell_types);

    vtk_output("part.vtk", pos, triangles, bars, ET_TRIA3, ET_BAR2); // the same to a file
    expect(ncells == 3, "two triangles and a bar");
    std::fclose(stream);
    return 0;
}

int femap()
{
    dense2D<double> pos;
    dense2D<unsigned> connectM;
    dense1D<unsigned> offsets, groups;
    dense1D<int> types;
    int code = FEMAP_input("part.neu", pos, connectM, offsets, types, groups);
    if (code < 0) return code;
    code = FEMAP_output("copy.neu", pos, connectM, offsets, types, groups);
    expect(pos.cols == 4 && connectM.cols == 2, "four nodes, two triangles");
    return code;
}

int wavefront()
{
    dense2D<double> pos, normals, textures;
    dense2D<unsigned> triangles, quads;
    int code = WavefrontOBJ_input("part.obj", pos, normals, textures, triangles, quads);
    expect(pos.cols == 4 && triangles.cols == 2 && quads.cols == 0, "four nodes, two triangles");
    return code;
}

int ensight()
{
    const auto pos = columns<double>(
        {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}});
    const auto connectM = columns<unsigned>({{0, 1, 2, 3, 4, 5, 6, 7}});
    int code = ensight_output("part.geo", pos, connectM, ET_HEXA8);
    return code;
}

} // namespace

int main()
{
    expect(STL_output("part.stl", square, tria, true) >= 0, "a text STL file");
    expect(FEMAP_output("part.neu", square, tria, {0, 2}, {ET_TRIA3}, {1, 1}) == 0,
           "a neutral file");
    std::ofstream("part.obj") << "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 3 2 4\n";

    expect(stl() >= 0, "STL");
    expect(medit() == 0, "MEDIT");
    expect(vtk() == 0, "VTK");
    expect(femap() == 0, "FEMAP");
    expect(wavefront() >= 0, "OBJ");
    expect(ensight() == 0, "EnSight");
}
