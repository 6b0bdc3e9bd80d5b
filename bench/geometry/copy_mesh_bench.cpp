#include <utility>

#include <vtkAppendFilter.h>

#include "support/on_meshes.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// Coordinates of its own for each call, which appends to them.
void add_copy(const std::string& kind, size_t n, bench::numbering order)
{
    bench::add_in_place("copy_mesh", bench::input_name(kind, order), bench::mesh_size(kind, n),
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
                                    copy_mesh(pos, copied, connectM);
                                    return std::pair(pos, copied);
                                });
                        });
}

} // namespace

LATTIQ_BENCHMARKS(copy_mesh)
{
    for (const size_t n : {bench::small_size, bench::usual_size}) {
        add_copy("tetra", n, bench::numbering::natural);
        add_copy("tetra", n, bench::numbering::shuffled);
    }
    add_copy("tetra", bench::large_size, bench::numbering::natural);
    // A mesh beside its copy, both in a new object.
    bench::add_peer_on_meshes("copy_mesh", "tetra", "vtk", [](const bench::mesh& m) {
        return [grid = bench::vtk_grid(m)] {
            vtkNew<vtkAppendFilter> filter;
            filter->AddInputData(bench::fresh(grid));
            filter->AddInputData(bench::fresh(grid));
            filter->Update();
            return vtkSmartPointer<vtkDataObject>(filter->GetOutputDataObject(0));
        };
    });
}
