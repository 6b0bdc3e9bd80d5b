#include <memory>

#include <vtkKdTree.h>
#include <vtkPolyData.h>
#include <vtkStaticPointLocator.h>

#include "search/point_trees.h"
#include "support/bench.h"
#include "support/inputs.h"
#include "support/peers.h"

using namespace kz3::lattiq;

namespace {

void add_peers(const std::string& kind, size_t n)
{
    bench::add("node_detector", kind, n, "cgal", [=] {
        const auto points = std::make_shared<std::vector<bench::numbered_point>>(
            bench::cgal_points(bench::points_of(kind, n)));
        return [points] {
            auto tree = std::make_unique<bench::cgal_tree>(points->begin(), points->end());
            tree->build();
            return tree;
        };
    });
    bench::add("node_detector", kind, n, "cgal_conversion", [=] {
        return [&pos = bench::points_of(kind, n)] { return bench::cgal_points(pos); };
    });
    bench::add("node_detector", kind, n, "nanoflann", [=] {
        const auto points = std::make_shared<bench::nanoflann_points>(
            bench::points_for_nanoflann(bench::points_of(kind, n)));
        return [points] { return std::make_unique<bench::nanoflann_tree>(3, *points); };
    });
    // A bucket grid, which is quick to build and slow to search where points crowd.
    bench::add("node_detector", kind, n, "vtk_grid", [=] {
        const auto data = vtkSmartPointer<vtkPolyData>::New();
        data->SetPoints(bench::vtk_points(bench::points_of(kind, n)));
        return [data] {
            const auto locator = vtkSmartPointer<vtkStaticPointLocator>::New();
            locator->SetDataSet(data);
            locator->BuildLocator();
            return locator;
        };
    });
    bench::add("node_detector", kind, n, "vtk_grid_conversion", [=] {
        return [&pos = bench::points_of(kind, n)] { return bench::vtk_points(pos); };
    });
    bench::add("node_detector", kind, n, "vtk", [=] {
        const auto points = bench::vtk_points(bench::points_of(kind, n));
        return [points] {
            const auto tree = vtkSmartPointer<vtkKdTree>::New();
            tree->BuildLocatorFromPoints(points);
            return tree;
        };
    });
}

} // namespace

LATTIQ_BENCHMARKS(node_detector)
{
    for (const std::string kind : {"uniform", "clustered", "grid", "surface"})
        for (const size_t n : {100'000, 1'000'000, 10'000'000}) {
            if (n > 1'000'000 && kind != "uniform") continue;
            bench::add("node_detector", kind, n, "lattiq", [=] {
                return [&pos = bench::points_of(kind, n)] {
                    return std::make_unique<node_detector>(pos);
                };
            });
            if (n <= 1'000'000) add_peers(kind, n);
        }
}
