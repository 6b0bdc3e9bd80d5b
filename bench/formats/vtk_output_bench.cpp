#include <vtkNew.h>
#include <vtkUnstructuredGridWriter.h>

#include "formats/files.h"
#include "support/peers.h"

using namespace kz3::lattiq;

namespace {

int write_by_vtk(vtkUnstructuredGrid* grid, const std::string& file)
{
    const vtkNew<vtkUnstructuredGridWriter> writer;
    writer->SetInputData(grid);
    writer->SetFileName(file.c_str());
    writer->SetFileTypeToASCII();
    return writer->Write();
}

} // namespace

LATTIQ_BENCHMARKS(vtk_output)
{
    bench::add_writers("vtk_output", "tetra", "lattiq", [](const bench::mesh& m) {
        return [&m](const std::string& file) {
            return vtk_output(file.c_str(), m.pos, m.connectM, m.type);
        };
    });
    bench::add_writers("vtk_output", "tetra", "vtk", [](const bench::mesh& m) {
        return [grid = bench::vtk_grid(m)](const std::string& file) {
            return write_by_vtk(grid, file);
        };
    });
    bench::add_writers("vtk_output", "tetra", "vtk_conversion", [](const bench::mesh& m) {
        return [&m](const std::string&) { return bench::vtk_grid(m); };
    });
}
