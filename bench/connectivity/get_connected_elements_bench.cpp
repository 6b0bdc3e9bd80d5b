#include <utility>

#include <vtkStaticCellLinks.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

LATTIQ_BENCHMARKS(get_connected_elements)
{
    const std::string operation = "get_connected_elements";
    for (const char* kind : {"tetra", "tria"})
        bench::add_on_meshes(operation, kind, [](const bench::mesh& m) {
            return [&m] {
                dense1D<unsigned> row_starts, row_values;
                get_connected_elements(m.connectM, row_starts, row_values);
                return std::pair(row_starts, row_values);
            };
        });
    bench::add_peer_on_meshes(operation, "tetra", "vtk", [](const bench::mesh& m) {
        return [grid = bench::vtk_grid(m)] {
            auto links = vtkSmartPointer<vtkStaticCellLinks>::New();
            links->BuildLinks(grid);
            return links;
        };
    });
    bench::add_peer_on_meshes(operation, "tria", "vtk", [](const bench::mesh& m) {
        return [surface = bench::vtk_surface(m)] {
            auto links = vtkSmartPointer<vtkStaticCellLinks>::New();
            links->BuildLinks(surface);
            return links;
        };
    });
}
