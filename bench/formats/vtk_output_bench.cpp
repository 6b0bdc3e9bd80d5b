#include <cstdio>

#include <vtkNew.h>
#include <vtkUnstructuredGridWriter.h>

#include "support/bench.h"
#include "support/inputs.h"
#include "support/peers.h"

using namespace kz3::lattiq;

namespace {

// VTK's writer of the same format. It prints more digits of a coordinate where there are any.
int vtk_writes(vtkUnstructuredGrid* grid, const std::string& file)
{
    vtkNew<vtkUnstructuredGridWriter> writer;
    writer->SetInputData(grid);
    writer->SetFileName(file.c_str());
    writer->SetFileTypeToASCII();
    return writer->Write();
}

} // namespace

LATTIQ_BENCHMARKS(vtk_output)
{
    using bench::numbering;
    const auto ours = [](size_t n, numbering order) {
        bench::add("vtk_output", bench::input_name("tetra", order), bench::mesh_size("tetra", n), "lattiq", [=] {
            return [&mesh = bench::mesh_of("tetra", n, order), file = bench::scratch_file("ours.vtk")] {
                return vtk_output(file.c_str(), mesh.pos, mesh.connectM, mesh.type);
            };
        });
    };
    const auto peers = [](size_t n, numbering order) {
        const std::string input = bench::input_name("tetra", order);
        const size_t elements = bench::mesh_size("tetra", n);
        bench::add("vtk_output", input, elements, "vtk", [=] {
            return [grid = bench::vtk_grid(bench::mesh_of("tetra", n, order)), file = bench::scratch_file("vtk.vtk")] {
                return vtk_writes(grid, file);
            };
        });
        bench::add("vtk_output", input, elements, "vtk_conversion", [=] {
            return [&mesh = bench::mesh_of("tetra", n, order)] { return bench::vtk_grid(mesh); };
        });
    };
    for (const size_t n : {100'000, 1'000'000}) {
        ours(n, numbering::natural);
        peers(n, numbering::natural);
    }
    ours(1'000'000, numbering::shuffled);
    peers(1'000'000, numbering::shuffled);
    ours(10'000'000, numbering::natural);
}
