#include <vector>

#include <meshoptimizer.h>
#include <vtkIdList.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// Local faces of a kind of cell, for the calls of VTK: nodes of each face, and where they stand.
struct cell_faces {
    int faces;
    int nodes[6];
    int rows[6][4];
};

const cell_faces& faces_of(int nodes)
{
    static const cell_faces tetra = {4, {3, 3, 3, 3}, {{1, 2, 3}, {2, 0, 3}, {1, 3, 0}, {2, 1, 0}}};
    static const cell_faces pyramid = {
        5, {3, 3, 3, 3, 4}, {{0, 4, 1}, {1, 4, 2}, {2, 4, 3}, {3, 4, 0}, {0, 1, 2, 3}}};
    static const cell_faces wedge = {
        5, {3, 3, 4, 4, 4}, {{0, 1, 2}, {3, 5, 4}, {2, 1, 4, 5}, {5, 3, 0, 2}, {0, 3, 4, 1}}};
    static const cell_faces hexa = {
        6,
        {4, 4, 4, 4, 4, 4},
        {{0, 3, 7, 4}, {1, 5, 6, 2}, {0, 4, 5, 1}, {3, 2, 6, 7}, {0, 1, 2, 3}, {4, 7, 6, 5}}};
    return nodes == 4 ? tetra : nodes == 5 ? pyramid : nodes == 6 ? wedge : hexa;
}

/// Links from nodes to cells, then for each face the cells around all of its nodes.
std::vector<vtkIdType> vtk_neighbors(vtkUnstructuredGrid* cells)
{
    const auto grid = bench::fresh(cells);
    grid->BuildLinks();
    const vtkIdType n = grid->GetNumberOfCells();
    std::vector<vtkIdType> neighbors(size_t(n) * 6, -1);
    vtkNew<vtkIdList> found;
    for (vtkIdType e = 0; e < n; ++e) {
        vtkIdType count = 0;
        const vtkIdType* node = nullptr;
        grid->GetCellPoints(e, count, node);
        const cell_faces& faces = faces_of(int(count));
        for (int f = 0; f < faces.faces; ++f) {
            vtkIdType face[4];
            for (int k = 0; k < faces.nodes[f]; ++k) face[k] = node[faces.rows[f][k]];
            grid->GetCellNeighbors(e, faces.nodes[f], face, found);
            if (found->GetNumberOfIds() != 0) neighbors[size_t(e) * 6 + f] = found->GetId(0);
        }
    }
    return neighbors;
}

std::vector<vtkIdType> vtk_neighbors(vtkPolyData* cells)
{
    const auto surface = bench::fresh(cells);
    surface->BuildLinks();
    const vtkIdType n = surface->GetNumberOfCells();
    std::vector<vtkIdType> neighbors(size_t(n) * 4, -1);
    vtkNew<vtkIdList> found;
    for (vtkIdType e = 0; e < n; ++e) {
        vtkIdType count = 0;
        const vtkIdType* node = nullptr;
        surface->GetCellPoints(e, count, node);
        for (vtkIdType f = 0; f < count; ++f) {
            surface->GetCellEdgeNeighbors(e, node[f], node[f + 1 == count ? 0 : f + 1], found);
            if (found->GetNumberOfIds() != 0) neighbors[size_t(e * 4 + f)] = found->GetId(0);
        }
    }
    return neighbors;
}

/// The node opposite across each edge of each triangle: positions identify nodes, so they are given
/// as exact small floats.
std::vector<unsigned> meshoptimizer_neighbors(const bench::mesh& m, const std::vector<float>& pos)
{
    std::vector<unsigned> around(m.elements() * 6);
    meshopt_generateAdjacencyIndexBuffer(around.data(), m.connectM.vec->data, m.elements() * 3,
                                         pos.data(), m.pos.cols, 3 * sizeof(float));
    return around;
}

template <typename Convert>
void add_vtk(const std::string& kind, Convert convert)
{
    const auto search = [=](const bench::mesh& m) {
        return [cells = convert(m)] { return vtk_neighbors(cells); };
    };
    using bench::numbering;
    bench::add_peer_on_meshes("get_neighbors", kind, "vtk_conversion",
                              [=](const bench::mesh& m) { return [=, &m] { return convert(m); }; },
                              {numbering::natural});
    // Seconds a call in random order: one kind of solid shows it.
    if (kind == "hexa" || kind == "solid_mix")
        bench::add_peer_on_meshes("get_neighbors", kind, "vtk", search, {numbering::natural});
    else
        bench::add_peer_on_meshes("get_neighbors", kind, "vtk", search);
}

} // namespace

LATTIQ_BENCHMARKS(get_neighbors)
{
    for (const char* kind : {"tria", "quad", "tetra", "hexa", "solid_mix"})
        bench::add_on_meshes("get_neighbors", kind, [](const bench::mesh& m) {
            return [&m] {
                dense2D<unsigned> neighbors;
                get_neighbors(m.connectM, m.type, false, neighbors);
                return neighbors;
            };
        });
    for (const char* kind : {"tetra", "hexa", "solid_mix"}) add_vtk(kind, bench::vtk_grid);
    for (const char* kind : {"tria", "quad"}) add_vtk(kind, bench::vtk_surface);
    bench::add_peer_on_meshes("get_neighbors", "tria", "meshoptimizer", [](const bench::mesh& m) {
        std::vector<float> pos(m.pos.cols * 3);
        for (size_t i = 0; i < pos.size(); ++i) pos[i] = float(m.pos.vec->data[i]);
        return [&m, pos] { return meshoptimizer_neighbors(m, pos); };
    });
}
