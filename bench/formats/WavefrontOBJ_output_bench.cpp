#include <vtkNew.h>
#include <vtkOBJWriter.h>

#include "formats/files.h"
#include "support/peers.h"

using namespace kz3::lattiq;

namespace {

int write_by_us(const std::string& file, const bench::mesh& m)
{
    const kz3::dense2D<double> none;
    const kz3::dense2D<unsigned> no_faces;
    const bool triangles = m.type == ET_TRIA3;
    return WavefrontOBJ_output(file.c_str(), m.pos, none, none, triangles ? m.connectM : no_faces,
                               triangles ? no_faces : m.connectM);
}

int write_by_vtk(vtkPolyData* surface, const std::string& file)
{
    const vtkNew<vtkOBJWriter> writer;
    writer->SetInputData(surface);
    writer->SetFileName(file.c_str());
    writer->Write();
    return 0;
}

void add_kind(const std::string& kind)
{
    bench::add_writers("WavefrontOBJ_output", kind, "lattiq", [](const bench::mesh& m) {
        return [&m](const std::string& file) { return write_by_us(file, m); };
    });
    bench::add_writers("WavefrontOBJ_output", kind, "vtk", [](const bench::mesh& m) {
        return [surface = bench::vtk_surface(m)](const std::string& file) {
            return write_by_vtk(surface, file);
        };
    });
    bench::add_writers("WavefrontOBJ_output", kind, "vtk_conversion", [](const bench::mesh& m) {
        return [&m](const std::string&) { return bench::vtk_surface(m); };
    });
}

} // namespace

LATTIQ_BENCHMARKS(WavefrontOBJ_output)
{
    add_kind("tria");
    add_kind("quad");
}
