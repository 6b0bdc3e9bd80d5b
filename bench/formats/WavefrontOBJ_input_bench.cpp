#include <stdexcept>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <vtkNew.h>
#include <vtkOBJReader.h>

#include "formats/files.h"
#include "support/peers.h"

using namespace kz3::lattiq;

namespace {

// The mesh as other programs write it, which is not as lattiq does: corners apart, no normals.
std::string file_of_others(const bench::mesh& m)
{
    const std::string name = bench::file_of("input_" + std::to_string(m.type), m);
    const bench::output to(name);
    for (size_t j = 0; j < m.pos.cols; ++j)
        std::fprintf(to, "v %.8f %.8f %.8f\n", m.pos(0, j), m.pos(1, j), m.pos(2, j));
    for (size_t e = 0; e < m.elements(); ++e) {
        std::fprintf(to, "f");
        for (size_t k = 0; k < m.connectM.rows; ++k) std::fprintf(to, " %u", m.connectM(k, e) + 1);
        std::fprintf(to, "\n");
    }
    return name;
}

struct surface {
    kz3::dense2D<double> pos, normals, textures;
    kz3::dense2D<unsigned> triangles, quads;
};

surface read_by_us(const std::string& file)
{
    surface s;
    WavefrontOBJ_input(file.c_str(), s.pos, s.normals, s.textures, s.triangles, s.quads);
    return s;
}

vtkSmartPointer<vtkPolyData> read_by_vtk(const std::string& file)
{
    const vtkNew<vtkOBJReader> reader;
    reader->SetFileName(file.c_str());
    reader->Update();
    return reader->GetOutput();
}

std::shared_ptr<Assimp::Importer> read_by_assimp(const std::string& file)
{
    auto importer = std::make_shared<Assimp::Importer>();
    if (importer->ReadFile(file, 0) == nullptr)
        throw std::runtime_error(importer->GetErrorString());
    return importer;
}

template <typename Read>
auto reading(Read read)
{
    return [read](const bench::mesh& m) {
        return [read, file = file_of_others(m)] { return read(file); };
    };
}

void add_kind(const std::string& kind)
{
    bench::add_on_meshes("WavefrontOBJ_input", kind, reading(read_by_us));
    bench::add_beside("WavefrontOBJ_input", kind, "vtk", reading(read_by_vtk));
    bench::add_beside("WavefrontOBJ_input", kind, "assimp", reading(read_by_assimp));
}

} // namespace

LATTIQ_BENCHMARKS(WavefrontOBJ_input)
{
    add_kind("tria");
    add_kind("quad");
}
