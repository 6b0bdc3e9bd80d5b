#include <tuple>

#include <vtkConnectivityFilter.h>
#include <vtkPolyDataConnectivityFilter.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// The connected pieces of a mesh, with the neighbours that tell them.
auto pieces_of(const bench::mesh& m)
{
    dense2D<unsigned> neighbors;
    dense1D<unsigned> sorted_elements, subdomain_offsets;
    get_neighbors(m.connectM, m.type, false, neighbors);
    get_subdomains(neighbors, sorted_elements, subdomain_offsets);
    return std::tuple(neighbors, sorted_elements, subdomain_offsets);
}

template <typename Filter, typename Cells>
auto vtk_pieces_of(const Cells& cells)
{
    vtkNew<Filter> filter;
    filter->SetInputData(bench::fresh(cells));
    filter->SetExtractionModeToAllRegions();
    filter->ColorRegionsOn();
    filter->Update();
    return vtkSmartPointer<vtkDataObject>(filter->GetOutputDataObject(0));
}

} // namespace

LATTIQ_BENCHMARKS(get_subdomains)
{
    const std::string operation = "get_subdomains";
    for (const char* kind : {"tria", "tetra"})
        bench::add_on_meshes(operation, kind,
                             [](const bench::mesh& m) { return [&m] { return pieces_of(m); }; });
    bench::add_peer_on_meshes(operation, "tria", "vtk", [](const bench::mesh& m) {
        return [cells = bench::vtk_surface(m)] {
            return vtk_pieces_of<vtkPolyDataConnectivityFilter>(cells);
        };
    });
    bench::add_peer_on_meshes(operation, "tetra", "vtk", [](const bench::mesh& m) {
        return [cells = bench::vtk_grid(m)] { return vtk_pieces_of<vtkConnectivityFilter>(cells); };
    });
}
