#include <vtkCellArray.h>
#include <vtkEdgeTable.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// All edges of all cells into VTK's table, each once.
vtkSmartPointer<vtkEdgeTable> vtk_edges(const bench::mesh& m, vtkCellArray* cells)
{
    static const int of_tria[][2] = {{1, 2}, {2, 0}, {0, 1}};
    static const int of_tetra[][2] = {{1, 2}, {2, 0}, {0, 1}, {3, 0}, {3, 1}, {3, 2}};
    const int(*rows)[2] = m.type == ET_TRIA3 ? of_tria : of_tetra;
    const int edges = m.type == ET_TRIA3 ? 3 : 6;
    auto table = vtkSmartPointer<vtkEdgeTable>::New();
    table->InitEdgeInsertion(vtkIdType(m.pos.cols));
    for (vtkIdType e = 0; e < cells->GetNumberOfCells(); ++e) {
        vtkIdType count = 0;
        const vtkIdType* node = nullptr;
        cells->GetCellAtId(e, count, node);
        for (int k = 0; k < edges; ++k)
            if (table->IsEdge(node[rows[k][0]], node[rows[k][1]]) < 0)
                table->InsertEdge(node[rows[k][0]], node[rows[k][1]]);
    }
    return table;
}

} // namespace

LATTIQ_BENCHMARKS(copy_edges)
{
    for (const char* kind : {"tria", "tetra"}) {
        bench::add_on_meshes("copy_edges", kind, [](const bench::mesh& m) {
            return [&m] {
                dense2D<unsigned> edges;
                copy_edges(m.connectM, m.type, edges);
                return edges;
            };
        });
        bench::add_peer_on_meshes("copy_edges", kind, "vtk", [](const bench::mesh& m) {
            vtkSmartPointer<vtkCellArray> cells = m.type == ET_TRIA3
                                                      ? bench::vtk_surface(m)->GetPolys()
                                                      : bench::vtk_grid(m)->GetCells();
            return [&m, cells] { return vtk_edges(m, cells); };
        });
    }
}
