#include <utility>

#include <vtkReflectionFilter.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// Coordinates of its own for each call, which appends to them.
void add_copy(const std::string& kind, size_t n, bench::numbering order)
{
    bench::add_in_place("copy_sym_mesh", bench::input_name(kind, order), bench::mesh_size(kind, n),
                        "lattiq", [=] {
                            const bench::mesh& m = bench::mesh_of(kind, n, order);
                            return std::pair(
                                [&m] {
                                    dense2D<double> pos;
                                    pos.copy(m.pos);
                                    return pos;
                                },
                                [&connectM = m.connectM](dense2D<double>& pos) {
                                    dense2D<unsigned> copied;
                                    copy_sym_mesh(pos, copied, vector_fixed<double, 3>{0, 0, 0},
                                                  vector_fixed<double, 3>{1, 1, 0}, connectM);
                                    return std::pair(pos, copied);
                                });
                        });
}

} // namespace

LATTIQ_BENCHMARKS(copy_sym_mesh)
{
    for (const size_t n : {bench::small_size, bench::usual_size}) {
        add_copy("tetra", n, bench::numbering::natural);
        add_copy("tetra", n, bench::numbering::shuffled);
    }
    add_copy("tetra", bench::large_size, bench::numbering::natural);
    // Mirrors in a plane across an axis only, and copies the mesh that it was given too.
    bench::add_peer_on_meshes("copy_sym_mesh", "tetra", "vtk", [](const bench::mesh& m) {
        return [grid = bench::vtk_grid(m)] {
            vtkNew<vtkReflectionFilter> filter;
            filter->SetInputData(bench::fresh(grid));
            filter->SetPlaneToX();
            filter->CopyInputOn();
            filter->Update();
            return vtkSmartPointer<vtkDataObject>(filter->GetOutputDataObject(0));
        };
    });
}
