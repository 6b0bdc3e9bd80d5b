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

void add_merge(const std::string& input, size_t n, bool with_peers,
               const std::function<std::pair<const mesh&, double>()>& make)
{
    const size_t nodes = 3 * bench::soup_size(n);
    bench::add_in_place("merge", input, nodes, "lattiq", [=] {
        const auto [soup, tol] = make();
        return merge_soup(soup, tol);
    });
    if (!with_peers) return;
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

void add_coincident_peers(size_t n)
{
    const size_t nodes = 3 * bench::soup_size(n);
    bench::add("merge", "soup_coincident", nodes, "meshoptimizer",
               [=] { return merge_by_meshoptimizer(bench::soup_of(n)); });
    if (n > 100'000) return; // seconds per call
    bench::add_in_place("merge", "soup_coincident", nodes, "cgal", [=] {
        return std::pair(
            [=] { return to_cgal(bench::soup_of(n)); },
            [](cgal_soup& soup) {
                return CGAL::Polygon_mesh_processing::merge_duplicate_points_in_polygon_soup(
                    soup.points, soup.triangles);
            });
    });
    bench::add("merge", "soup_coincident", nodes, "cgal_conversion",
               [=] { return [=] { return to_cgal(bench::soup_of(n)); }; });
}

} // namespace

LATTIQ_BENCHMARKS(merge)
{
    for (const size_t n : {33'333, 1'306'667, 3'333'333}) {
        const bool with_peers = n <= 1'306'667;
        const auto tol = [=] { return 0.05 * bench::soup_height(n); };
        add_merge("soup", n, with_peers,
                  [=] { return std::pair<const mesh&, double>(bench::soup_of(n), tol()); });
        add_merge("soup_coincident", n, with_peers,
                  [=] { return std::pair<const mesh&, double>(bench::soup_of(n), 0.0); });
        // Two corners moved so lie within the tolerance of each other.
        add_merge("soup_jittered", n, with_peers, [=] {
            return std::pair<const mesh&, double>(bench::jittered_soup(n, 0.25 * tol()), tol());
        });
        if (with_peers) add_coincident_peers(n);
    }
}
