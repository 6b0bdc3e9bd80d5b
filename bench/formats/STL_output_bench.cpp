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

/// A sphere of about n facets in random order, with shared nodes.
const bench::mesh& sphere_of(size_t n)
{
    static std::map<size_t, bench::mesh> made;
    bench::mesh& sphere = made[n];
    if (sphere.elements() == 0) {
        const bench::mesh& soup = bench::soup_of(n);
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
void add_writer(size_t n, bool ascii, const std::string& who, Prepare prepare)
{
    const std::string input = ascii ? "sphere_text" : "sphere_binary";
    bench::add_in_place("STL_output", input, bench::soup_size(n), who, [=] {
        const std::string name = bench::scratch_file(who + '_' + input + ".stl");
        const auto remove_file = [=] {
            std::remove(name.c_str());
            return name;
        };
        return std::pair(remove_file, prepare(sphere_of(n)));
    });
}

void add_lattiq(size_t n, bool ascii)
{
    add_writer(n, ascii, "lattiq", [=](const bench::mesh& m) {
        return [&m, ascii](const std::string& file) {
            return STL_output(file.c_str(), m.pos, m.connectM, ascii);
        };
    });
}

void add_vtk(size_t n, bool ascii)
{
    add_writer(n, ascii, "vtk", [=](const bench::mesh& m) {
        return [ascii, surface = bench::vtk_surface(m)](const std::string& file) {
            vtkNew<vtkSTLWriter> writer;
            writer->SetInputData(surface);
            writer->SetFileName(file.c_str());
            writer->SetFileType(ascii ? VTK_ASCII : VTK_BINARY);
            return writer->Write();
        };
    });
    bench::add("STL_output", ascii ? "sphere_text" : "sphere_binary", bench::soup_size(n),
               "vtk_conversion",
               [=] { return [&m = sphere_of(n)] { return bench::vtk_surface(m); }; });
}

} // namespace

LATTIQ_BENCHMARKS(STL_output)
{
    for (const size_t n : {100'000, 1'306'667, 3'333'333})
        for (const bool ascii : {false, true}) {
            add_lattiq(n, ascii);
            if (n <= 1'306'667) add_vtk(n, ascii);
        }
}
