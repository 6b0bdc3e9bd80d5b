#include <array>
#include <memory>
#include <string>
#include <vector>

#include <CGAL/IO/STL.h>
#include <admesh/stl.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkSTLReader.h>

#include "support/bench.h"
#include "support/inputs.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

struct triangles {
    int code = 0;
    dense2D<double> pos;
    dense2D<unsigned> connectM;
};

triangles read_by_lattiq(const std::string& file, bool ascii)
{
    triangles made;
    made.code = STL_input(file.c_str(), made.pos, made.connectM, ascii);
    return made;
}

vtkSmartPointer<vtkPolyData> read_by_vtk(const std::string& file)
{
    vtkNew<vtkSTLReader> reader;
    reader->SetFileName(file.c_str());
    reader->MergingOn();
    reader->Update();
    return reader->GetOutput();
}

/// The file with neighbours and shared nodes. Both need edges that meet exactly.
std::shared_ptr<stl_file> read_by_admesh(const std::string& file)
{
    const std::shared_ptr<stl_file> stl(new stl_file, [](stl_file* opened) {
        stl_close(opened);
        delete opened;
    });
    stl_open(stl.get(), const_cast<char*>(file.c_str()));
    stl_check_facets_exact(stl.get());
    stl_generate_shared_vertices(stl.get());
    return stl;
}

std::shared_ptr<Assimp::Importer> read_by_assimp(const std::string& file)
{
    const auto importer = std::make_shared<Assimp::Importer>();
    importer->SetPropertyInteger(AI_CONFIG_PP_RVC_FLAGS, aiComponent_NORMALS);
    importer->ReadFile(file, aiProcess_RemoveComponent | aiProcess_JoinIdenticalVertices);
    return importer;
}

auto read_by_cgal(const std::string& file)
{
    std::pair<std::vector<std::array<double, 3>>, std::vector<std::array<size_t, 3>>> soup;
    CGAL::IO::read_STL(file, soup.first, soup.second);
    return soup;
}

/// Reads the soup of n facets, which is written to a file once.
template <typename Read>
void add_reader(size_t n, bool ascii, bench::numbering order, const std::string& who, Read read)
{
    const std::string input = bench::input_name(ascii ? "soup_text" : "soup_binary", order);
    bench::add("STL_input", input, bench::soup_size(n), who, [=] {
        const std::string name = bench::scratch_file(input + '_' + std::to_string(n) + ".stl");
        const bench::mesh& soup = bench::soup_of(n, order);
        STL_output(name.c_str(), soup.pos, soup.connectM, ascii);
        return [=] { return read(name); };
    });
}

} // namespace

LATTIQ_BENCHMARKS(STL_input)
{
    for (const bool ascii : {false, true}) {
        const auto ours = [=](const std::string& file) { return read_by_lattiq(file, ascii); };
        for (const size_t n : {33'333, 3'333'333}) // 0.1 and 10 million corners
            add_reader(n, ascii, bench::numbering::natural, "lattiq", ours);
        for (const size_t n : {100'000, 1'306'667}) {
            constexpr auto order = bench::numbering::shuffled;
            add_reader(n, ascii, order, "lattiq", ours);
            add_reader(n, ascii, order, "vtk", read_by_vtk);
            if (n > 100'000) continue; // seconds per call
            add_reader(n, ascii, order, "admesh", read_by_admesh);
            add_reader(n, ascii, order, "assimp", read_by_assimp);
            add_reader(n, ascii, order, "cgal", read_by_cgal);
        }
    }
}
