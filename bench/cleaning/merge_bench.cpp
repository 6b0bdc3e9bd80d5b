#include <memory>
#include <vector>

#include <CGAL/Polygon_mesh_processing/repair_polygon_soup.h>
#include <CGAL/Simple_cartesian.h>
#include <meshoptimizer.h>
#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkStaticPointLocator.h>

#include "support/bench.h"
#include "support/inputs.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

using bench::mesh;
using bench::numbering;

/// Merges all nodes of a soup of triangles; what is timed starts from elements with nodes of their own.
auto merge_soup(const mesh& soup, double tol)
{
    const auto fresh = [&soup] {
        dense2D<unsigned> connectM;
        connectM.copy(soup.connectM);
        return connectM;
    };
    const auto run = [&soup, tol](dense2D<unsigned>& connectM) {
        dense1D<unsigned> id_map;
        merge(soup.pos, connectM, id_map, tol, 0);
        return id_map;
    };
    return std::pair(fresh, run);
}

/// The map of the nodes from VTK's locator; what is near what is found for all nodes at once.
auto merge_by_vtk(const mesh& soup, double tol)
{
    return [tol, points = bench::vtk_points(soup.pos)] {
        vtkNew<vtkPolyData> data;
        data->SetPoints(points);
        vtkNew<vtkStaticPointLocator> locator;
        locator->SetDataSet(data);
        locator->BuildLocator();
        std::vector<vtkIdType> map(size_t(points->GetNumberOfPoints()));
        locator->MergePoints(tol, map.data());
        return map;
    };
}

/// A soup and the tolerance to merge it with.
using task = std::pair<const mesh&, double>;

void add_merge(const std::string& input, size_t nodes, const std::function<task()>& make)
{
    bench::add_in_place("merge", input, nodes, "lattiq", [=] {
        const auto [soup, tol] = make();
        return merge_soup(soup, tol);
    });
}

void add_vtk(const std::string& input, size_t nodes, const std::function<task()>& make)
{
    bench::add("merge", input, nodes, "vtk", [=] {
        const auto [soup, tol] = make();
        return merge_by_vtk(soup, tol);
    });
    bench::add("merge", input, nodes, "vtk_conversion",
               [=] { return [&soup = make().first] { return bench::vtk_points(soup.pos); }; });
}

/// The nodes with equal bytes, from doubles as they are.
auto merge_by_meshoptimizer(const mesh& soup)
{
    return [&soup] {
        std::vector<unsigned> map(soup.pos.cols);
        meshopt_generateVertexRemap(map.data(), soup.connectM.vec->data, map.size(),
                                    soup.pos.vec->data, map.size(), 3 * sizeof(double));
        return map;
    };
}

using cgal_point = CGAL::Simple_cartesian<double>::Point_3;

struct cgal_soup {
    std::vector<cgal_point> points;
    std::vector<std::vector<size_t>> triangles;
};

cgal_soup to_cgal(const mesh& soup)
{
    cgal_soup made;
    made.points.reserve(soup.pos.cols);
    for (size_t j = 0; j < soup.pos.cols; ++j)
        made.points.emplace_back(soup.pos(0, j), soup.pos(1, j), soup.pos(2, j));
    made.triangles.reserve(soup.elements());
    for (size_t e = 0; e < soup.elements(); ++e)
        made.triangles.push_back({soup.connectM(0, e), soup.connectM(1, e), soup.connectM(2, e)});
    return made;
}

void add_coincident_peers(const std::string& input, size_t n, numbering order)
{
    const size_t nodes = 3 * bench::soup_size(n);
    bench::add("merge", input, nodes, "meshoptimizer",
               [=] { return merge_by_meshoptimizer(bench::soup_of(n, order)); });
    if (n > 100'000) return; // seconds per call
    bench::add_in_place("merge", input, nodes, "cgal", [=] {
        return std::pair(
            [=] { return to_cgal(bench::soup_of(n, order)); },
            [](cgal_soup& soup) {
                return CGAL::Polygon_mesh_processing::merge_duplicate_points_in_polygon_soup(
                    soup.points, soup.triangles);
            });
    });
    bench::add("merge", input, nodes, "cgal_conversion",
               [=] { return [=] { return to_cgal(bench::soup_of(n, order)); }; });
}

void add_soups(size_t n, numbering order)
{
    const size_t nodes = 3 * bench::soup_size(n);
    const bool with_peers = order == numbering::shuffled;
    const auto add = [=](const std::string& kind, const std::function<task()>& make) {
        const std::string input = bench::input_name(kind, order);
        add_merge(input, nodes, make);
        if (with_peers) add_vtk(input, nodes, make);
    };
    const auto tol = [=] { return 0.05 * bench::soup_height(n, order); };
    add("soup", [=] { return task(bench::soup_of(n, order), tol()); });
    add("soup_coincident", [=] { return task(bench::soup_of(n, order), 0.0); });
    // Two corners moved so lie within the tolerance of each other.
    add("soup_jittered", [=] { return task(bench::jittered_soup(n, 0.25 * tol(), order), tol()); });
    if (with_peers) add_coincident_peers(bench::input_name("soup_coincident", order), n, order);
}

} // namespace

LATTIQ_BENCHMARKS(merge)
{
    for (const size_t n : {33'333, 3'333'333}) add_soups(n, numbering::natural);
    for (const size_t n : {33'333, 1'306'667}) add_soups(n, numbering::shuffled);
}
