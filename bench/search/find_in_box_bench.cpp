#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <vtkIdList.h>
#include <vtkIdTypeArray.h>
#include <vtkKdTree.h>
#include <vtkPolyData.h>
#include <vtkStaticPointLocator.h>

#include "search/point_trees.h"
#include "support/bench.h"
#include "support/inputs.h"
#include "support/peers.h"

using namespace kz3;
using namespace kz3::lattiq;

// Elements are queries, one for every ten points: cubes around places, with about ten points inside.
// The bucket grid and nanoflann have no search in boxes. They are asked for the sphere around the
// cube, and its points are then tested.

namespace {

constexpr size_t points_per_query = 10;

struct cube {
    double lo[3];
    double hi[3];

    bool contains(const double* p) const
    {
        return p[0] >= lo[0] && p[0] <= hi[0] && p[1] >= lo[1] && p[1] <= hi[1] && p[2] >= lo[2] &&
               p[2] <= hi[2];
    }
};

/// The cube in the form of a query of CGAL.
struct cgal_cube {
    using Point_d = bench::numbered_point;
    using FT = double;
    using D = CGAL::Dimension_tag<3>;
    using rectangle = CGAL::Kd_tree_rectangle<FT, D>;

    const cube& of;

    bool contains(const Point_d& p) const { return of.contains(p.at); }

    bool inner_range_intersects(const rectangle& r) const
    {
        for (int d = 0; d < 3; ++d)
            if (of.lo[d] > r.max_coord(d) || of.hi[d] < r.min_coord(d)) return false;
        return true;
    }

    bool outer_range_contains(const rectangle& r) const
    {
        for (int d = 0; d < 3; ++d)
            if (of.lo[d] > r.min_coord(d) || of.hi[d] < r.max_coord(d)) return false;
        return true;
    }
};

struct input {
    const dense2D<double>& pos;
    std::vector<cube> cubes;

    input(const std::string& kind, size_t queries)
        : pos(bench::points_of(kind, queries * points_per_query)), cubes(queries)
    {
        const dense2D<double>& places = bench::queries_of(kind, queries);
        const auto points = bench::points_for_nanoflann(pos);
        const bench::nanoflann_tree tree(3, points);
        for (size_t k = 0; k < queries; ++k) {
            unsigned found[10];
            double square[10];
            tree.knnSearch(&places(0, k), 10, found, square);
            // Half the edge of a cube as large as the sphere of the ten nearest.
            const double half = 0.806 * std::sqrt(square[9]);
            for (unsigned d = 0; d < 3; ++d) {
                cubes[k].lo[d] = places(d, k) - half;
                cubes[k].hi[d] = places(d, k) + half;
            }
        }
    }
};

/// One for lattiq and all peers, as are all inputs.
std::shared_ptr<const input> input_of(const std::string& kind, size_t queries)
{
    static std::vector<std::tuple<std::string, size_t, std::shared_ptr<const input>>> made;
    for (const auto& [name, count, kept] : made)
        if (name == kind && count == queries) return kept;
    made.emplace_back(kind, queries, std::make_shared<input>(kind, queries));
    return std::get<2>(made.back());
}

double radius_around(const cube& c)
{
    return 0.5 * (c.hi[0] - c.lo[0]) * std::sqrt(3.0) * (1 + 1e-12);
}

void middle(const cube& c, double* at)
{
    for (unsigned d = 0; d < 3; ++d) at[d] = 0.5 * (c.lo[d] + c.hi[d]);
}

void add_lattiq(const std::string& kind, size_t queries)
{
    bench::add("find_in_box", kind, queries, "lattiq", [=] {
        const auto in = input_of(kind, queries);
        const auto detector = std::make_shared<node_detector>(in->pos);
        return [=] {
            dense1D<unsigned> out;
            std::size_t sum = 0;
            for (const cube& c : in->cubes) {
                out.clear();
                detector->find_in_box(vector_fixed<double, 3>{c.lo[0], c.lo[1], c.lo[2]},
                                      vector_fixed<double, 3>{c.hi[0], c.hi[1], c.hi[2]}, out);
                sum += out.size;
            }
            return sum;
        };
    });
}

void add_vtk(const std::string& kind, size_t queries)
{
    bench::add("find_in_box", kind, queries, "vtk_tree", [=] {
        const auto in = input_of(kind, queries);
        const auto tree = vtkSmartPointer<vtkKdTree>::New();
        tree->BuildLocatorFromPoints(bench::vtk_points(in->pos));
        return [=] {
            vtkNew<vtkIdTypeArray> out;
            std::size_t sum = 0;
            for (const cube& c : in->cubes) {
                double area[] = {c.lo[0], c.hi[0], c.lo[1], c.hi[1], c.lo[2], c.hi[2]};
                out->Reset();
                tree->FindPointsInArea(area, out);
                sum += std::size_t(out->GetNumberOfValues());
            }
            return sum;
        };
    });
}

void add_cgal(const std::string& kind, size_t queries)
{
    bench::add("find_in_box", kind, queries, "cgal", [=] {
        const auto in = input_of(kind, queries);
        const auto points = bench::cgal_points(in->pos);
        const auto tree = std::make_shared<bench::cgal_tree>(points.begin(), points.end());
        tree->build();
        return [=] {
            std::vector<bench::numbered_point> out;
            std::size_t sum = 0;
            for (const cube& c : in->cubes) {
                out.clear();
                tree->search(std::back_inserter(out), cgal_cube{c});
                sum += out.size();
            }
            return sum;
        };
    });
}

void add_sphere_searches(const std::string& kind, size_t queries)
{
    bench::add("find_in_box", kind, queries, "nanoflann", [=] {
        const auto in = input_of(kind, queries);
        const auto points =
            std::make_shared<bench::nanoflann_points>(bench::points_for_nanoflann(in->pos));
        const auto tree = std::make_shared<bench::nanoflann_tree>(3, *points);
        return [=] {
            std::vector<std::pair<unsigned, double>> out;
            const nanoflann::SearchParams unsorted(0, 0.0F, false);
            std::size_t sum = 0;
            for (const cube& c : in->cubes) {
                double at[3];
                middle(c, at);
                const double radius = radius_around(c);
                tree->radiusSearch(at, radius * radius, out, unsorted);
                for (const auto& found : out) sum += c.contains(&in->pos(0, found.first));
            }
            (void)points;
            return sum;
        };
    });
    if (kind == "clustered") return; // a bucket grid holds most of the points in few buckets
    bench::add("find_in_box", kind, queries, "vtk_grid", [=] {
        const auto in = input_of(kind, queries);
        const auto data = vtkSmartPointer<vtkPolyData>::New();
        data->SetPoints(bench::vtk_points(in->pos));
        const auto locator = vtkSmartPointer<vtkStaticPointLocator>::New();
        locator->SetDataSet(data);
        locator->BuildLocator();
        return [=] {
            vtkNew<vtkIdList> out;
            std::size_t sum = 0;
            for (const cube& c : in->cubes) {
                double at[3];
                middle(c, at);
                locator->FindPointsWithinRadius(radius_around(c), at, out);
                for (const vtkIdType node : *out) sum += c.contains(&in->pos(0, size_t(node)));
            }
            return sum;
        };
    });
}

} // namespace

LATTIQ_BENCHMARKS(find_in_box)
{
    for (const std::string kind : {"uniform", "clustered", "grid", "surface"})
        for (const size_t queries : {10'000, 100'000, 1'000'000}) {
            if (queries > 100'000 && kind != "uniform") continue;
            add_lattiq(kind, queries);
            if (queries > 100'000) continue;
            add_vtk(kind, queries);
            add_cgal(kind, queries);
            // Several times slower than the others where there are many points.
            if (queries == 10'000 || kind == "uniform") add_sphere_searches(kind, queries);
        }
    for (const size_t queries : {10'000, 1'000'000}) add_lattiq("ordered", queries);
}
