#include <utility>

#include <vtkDataSetSurfaceFilter.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// The faces that one element has alone, with the neighbours that tell them.
std::pair<dense2D<unsigned>, dense2D<unsigned>> surface_of(const bench::mesh& m)
{
    dense2D<unsigned> neighbors, boundaries;
    get_neighbors(m.connectM, m.type, false, neighbors);
    get_mesh_boundaries(m.connectM, neighbors, m.type, boundaries);
    return {neighbors, boundaries};
}

vtkSmartPointer<vtkPolyData> vtk_surface_of(vtkUnstructuredGrid* grid)
{
    vtkNew<vtkDataSetSurfaceFilter> filter;
    filter->SetInputData(bench::fresh(grid));
    filter->Update();
    return filter->GetOutput();
}

} // namespace

LATTIQ_BENCHMARKS(get_mesh_boundaries)
{
    const std::string operation = "get_mesh_boundaries";
    for (const char* kind : {"tetra", "hexa"}) {
        bench::add_on_meshes(operation, kind,
                             [](const bench::mesh& m) { return [&m] { return surface_of(m); }; });
        bench::add_peer_on_meshes(operation, kind, "vtk", [](const bench::mesh& m) {
            return [grid = bench::vtk_grid(m)] { return vtk_surface_of(grid); };
        });
    }
}
