#include <utility>
#include <vector>

#include <vtkCellArray.h>
#include <vtkStaticCellLinks.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// The cells around each node by VTK, then the nodes of these, each once.
auto vtk_graph(vtkUnstructuredGrid* grid)
{
    vtkNew<vtkStaticCellLinks> links;
    links->BuildLinks(grid);
    vtkCellArray* const cells = grid->GetCells();
    const vtkIdType n = grid->GetNumberOfPoints();
    std::vector<vtkIdType> starts(size_t(n) + 1, 0);
    std::vector<vtkIdType> nodes;
    std::vector<vtkIdType> mark(size_t(n), -1);
    for (vtkIdType i = 0; i < n; ++i) {
        mark[size_t(i)] = i;
        const vtkIdType* const around = links->GetCells(i);
        for (vtkIdType c = 0; c < links->GetNcells(i); ++c) {
            vtkIdType count = 0;
            const vtkIdType* node = nullptr;
            cells->GetCellAtId(around[c], count, node);
            for (vtkIdType k = 0; k < count; ++k) {
                if (mark[size_t(node[k])] == i) continue;
                mark[size_t(node[k])] = i;
                nodes.push_back(node[k]);
            }
        }
        starts[size_t(i) + 1] = vtkIdType(nodes.size());
    }
    return std::pair(std::move(starts), std::move(nodes));
}

} // namespace

LATTIQ_BENCHMARKS(get_node_graph)
{
    bench::add_on_meshes("get_node_graph", "tetra", [](const bench::mesh& m) {
        return [&m] {
            dense1D<unsigned> row_starts, row_values;
            get_node_graph(m.connectM, row_starts, row_values);
            return std::pair(row_starts, row_values);
        };
    });
    bench::add_peer_on_meshes("get_node_graph", "tetra", "vtk", [](const bench::mesh& m) {
        return [grid = bench::vtk_grid(m)] { return vtk_graph(grid); };
    });
}
