#include <cstdio>
#include <string>

#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkSTLWriter.h>

#include "support/bench.h"
#include "support/inputs.h"
#include "support/peers.h"

using namespace kz3::lattiq;

namespace {

/// A sphere of about n facets with shared nodes, which are numbered as the facets come to use them.
const bench::mesh& sphere_of(size_t n, bench::numbering order)
{
    static std::map<std::pair<size_t, bench::numbering>, bench::mesh> made;
    bench::mesh& sphere = made[{n, order}];
    if (sphere.elements() == 0) {
        const bench::mesh& soup = bench::soup_of(n, order);
        sphere.type = soup.type;
        sphere.pos.copy(soup.pos);
        sphere.connectM.copy(soup.connectM);
        merge(sphere.pos, sphere.connectM, 0.0, 0);
        simplify(sphere.pos, sphere.connectM);
    }
    return sphere;
}

/// Each call gets a new file: to empty one takes the system time.
template <typename Prepare>
void add_writer(size_t n, bool ascii, bench::numbering order, const std::string& who,
                Prepare prepare)
{
    const std::string input = bench::input_name(ascii ? "sphere_text" : "sphere_binary", order);
    bench::add_in_place("STL_output", input, bench::soup_size(n), who, [=] {
        const std::string name = bench::scratch_file(who + '_' + input + ".stl");
        const auto remove_file = [=] {
            std::remove(name.c_str());
            return name;
        };
        return std::pair(remove_file, prepare(sphere_of(n, order)));
    });
}

void add_lattiq(size_t n, bool ascii, bench::numbering order)
{
    add_writer(n, ascii, order, "lattiq", [=](const bench::mesh& m) {
        return [&m, ascii](const std::string& file) {
            return STL_output(file.c_str(), m.pos, m.connectM, ascii);
        };
    });
}

void add_vtk(size_t n, bool ascii, bench::numbering order)
{
    add_writer(n, ascii, order, "vtk", [=](const bench::mesh& m) {
        return [ascii, surface = bench::vtk_surface(m)](const std::string& file) {
            vtkNew<vtkSTLWriter> writer;
            writer->SetInputData(surface);
            writer->SetFileName(file.c_str());
            writer->SetFileType(ascii ? VTK_ASCII : VTK_BINARY);
            return writer->Write();
        };
    });
    const std::string input = bench::input_name(ascii ? "sphere_text" : "sphere_binary", order);
    bench::add("STL_output", input, bench::soup_size(n), "vtk_conversion",
               [=] { return [&m = sphere_of(n, order)] { return bench::vtk_surface(m); }; });
}

} // namespace

LATTIQ_BENCHMARKS(STL_output)
{
    for (const bool ascii : {false, true}) {
        for (const size_t n : {100'000, 3'333'333}) add_lattiq(n, ascii, bench::numbering::natural);
        for (const size_t n : {100'000, 1'306'667}) {
            add_lattiq(n, ascii, bench::numbering::shuffled);
            add_vtk(n, ascii, bench::numbering::shuffled);
        }
    }
}
