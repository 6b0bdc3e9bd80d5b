#include <memory>

#include <CGAL/Orthogonal_k_neighbor_search.h>
#include <vtkIdList.h>
#include <vtkKdTree.h>
#include <vtkKdTreePointLocator.h>
#include <vtkPolyData.h>
#include <vtkStaticPointLocator.h>

#include "search/point_trees.h"
#include "support/bench.h"
#include "support/inputs.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

// Elements are queries, one for every ten points. "uniform" asks for the point nearest to a place,
// "uniform_node" for the point nearest to one of the points, in random order: peers find that point
// itself first, so they are asked for two.

namespace {

constexpr size_t points_per_query = 10;

/// Every tenth point by chance: the points stand in random order, except those on the grid, which
/// do too.
unsigned node_asked(size_t k)
{
    return unsigned(points_per_query * k);
}

template <typename Ask>
std::size_t ask_places(const dense2D<double>& places, Ask ask)
{
    std::size_t sum = 0;
    for (size_t k = 0; k < places.cols; ++k) sum += ask(&places(0, k));
    return sum;
}

template <typename Ask>
std::size_t ask_nodes(size_t queries, Ask ask)
{
    std::size_t sum = 0;
    for (size_t k = 0; k < queries; ++k) sum += ask(node_asked(k));
    return sum;
}

void add_lattiq(const std::string& kind, size_t queries)
{
    const size_t n = queries * points_per_query;
    bench::add("find_closest", kind, queries, "lattiq", [=] {
        const auto detector = std::make_shared<node_detector>(bench::points_of(kind, n));
        return [detector, &places = bench::queries_of(kind, queries)] {
            return ask_places(places, [&](const double* p) {
                return detector->find_closest(vector_fixed<double, 3>{p[0], p[1], p[2]});
            });
        };
    });
    bench::add("find_closest", kind + "_node", queries, "lattiq", [=] {
        const auto detector = std::make_shared<node_detector>(bench::points_of(kind, n));
        return [=] {
            return ask_nodes(queries, [&](unsigned node) { return detector->find_closest(node); });
        };
    });
}

void add_vtk(const std::string& kind, size_t queries)
{
    const size_t n = queries * points_per_query;
    bench::add("find_closest", kind, queries, "vtk_tree", [=] {
        const auto tree = vtkSmartPointer<vtkKdTree>::New();
        tree->BuildLocatorFromPoints(bench::vtk_points(bench::points_of(kind, n)));
        return [tree, &places = bench::queries_of(kind, queries)] {
            return ask_places(places, [&](const double* p) {
                double square;
                return std::size_t(tree->FindClosestPoint(p[0], p[1], p[2], square));
            });
        };
    });
    bench::add("find_closest", kind + "_node", queries, "vtk_tree", [=] {
        const auto data = vtkSmartPointer<vtkPolyData>::New();
        data->SetPoints(bench::vtk_points(bench::points_of(kind, n)));
        const auto locator = vtkSmartPointer<vtkKdTreePointLocator>::New();
        locator->SetDataSet(data);
        locator->BuildLocator();
        return [data, locator, queries, &pos = bench::points_of(kind, n)] {
            vtkNew<vtkIdList> two;
            return ask_nodes(queries, [&](unsigned node) {
                locator->FindClosestNPoints(2, &pos(0, node), two);
                return std::size_t(two->GetId(two->GetId(0) == vtkIdType(node) ? 1 : 0));
            });
        };
    });
    if (kind == "clustered") return; // a bucket grid holds most of the points in few buckets
    const auto grid = [=] {
        const auto data = vtkSmartPointer<vtkPolyData>::New();
        data->SetPoints(bench::vtk_points(bench::points_of(kind, n)));
        const auto locator = vtkSmartPointer<vtkStaticPointLocator>::New();
        locator->SetDataSet(data);
        locator->BuildLocator();
        return std::pair(data, locator);
    };
    bench::add("find_closest", kind, queries, "vtk_grid", [=] {
        return [kept = grid(), &places = bench::queries_of(kind, queries)] {
            return ask_places(places, [&](const double* p) {
                return std::size_t(kept.second->FindClosestPoint(p));
            });
        };
    });
    bench::add("find_closest", kind + "_node", queries, "vtk_grid", [=] {
        return [kept = grid(), queries, &pos = bench::points_of(kind, n)] {
            vtkNew<vtkIdList> two;
            return ask_nodes(queries, [&](unsigned node) {
                kept.second->FindClosestNPoints(2, &pos(0, node), two);
                return std::size_t(two->GetId(two->GetId(0) == vtkIdType(node) ? 1 : 0));
            });
        };
    });
}

void add_nanoflann(const std::string& kind, size_t queries)
{
    const size_t n = queries * points_per_query;
    const auto make = [=] {
        const auto points = std::make_shared<bench::nanoflann_points>(
            bench::points_for_nanoflann(bench::points_of(kind, n)));
        return std::pair(points, std::make_shared<bench::nanoflann_tree>(3, *points));
    };
    bench::add("find_closest", kind, queries, "nanoflann", [=] {
        return [kept = make(), &places = bench::queries_of(kind, queries)] {
            return ask_places(places, [&](const double* p) {
                unsigned found = 0;
                double square = 0;
                kept.second->knnSearch(p, 1, &found, &square);
                return std::size_t(found);
            });
        };
    });
    bench::add("find_closest", kind + "_node", queries, "nanoflann", [=] {
        return [kept = make(), queries, &pos = bench::points_of(kind, n)] {
            return ask_nodes(queries, [&](unsigned node) {
                unsigned found[2] = {};
                double square[2] = {};
                kept.second->knnSearch(&pos(0, node), 2, found, square);
                return std::size_t(found[found[0] == node ? 1 : 0]);
            });
        };
    });
}

void add_cgal(const std::string& kind, size_t queries)
{
    using search = CGAL::Orthogonal_k_neighbor_search<bench::cgal_traits>;
    const size_t n = queries * points_per_query;
    const auto make = [=] {
        const auto points = bench::cgal_points(bench::points_of(kind, n));
        const auto tree = std::make_shared<bench::cgal_tree>(points.begin(), points.end());
        tree->build();
        return tree;
    };
    bench::add("find_closest", kind, queries, "cgal", [=] {
        return [tree = make(), &places = bench::queries_of(kind, queries)] {
            return ask_places(places, [&](const double* p) {
                const search found(*tree, {{p[0], p[1], p[2]}, NO_NODE}, 1);
                return std::size_t(found.begin()->first.node);
            });
        };
    });
    bench::add("find_closest", kind + "_node", queries, "cgal", [=] {
        return [tree = make(), queries, &pos = bench::points_of(kind, n)] {
            return ask_nodes(queries, [&](unsigned node) {
                const double* p = &pos(0, node);
                const search found(*tree, {{p[0], p[1], p[2]}, NO_NODE}, 2);
                auto other = found.begin();
                if (other->first.node == node) ++other;
                return std::size_t(other->first.node);
            });
        };
    });
}

} // namespace

LATTIQ_BENCHMARKS(find_closest)
{
    for (const std::string kind : {"uniform", "clustered", "grid", "surface"})
        for (const size_t queries : {10'000, 100'000, 1'000'000}) {
            if (queries > 100'000 && kind != "uniform") continue;
            add_lattiq(kind, queries);
            if (queries > 100'000) continue;
            add_vtk(kind, queries);
            add_nanoflann(kind, queries);
            add_cgal(kind, queries);
        }
    for (const size_t queries : {10'000, 1'000'000}) add_lattiq("ordered", queries);
}
