#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include <CGAL/Kd_tree.h>
#include <CGAL/Search_traits.h>
#include <nanoflann.hpp>

#include <kz3/dense2D.h>

/// The search trees of CGAL and nanoflann over points of three coordinates.
namespace bench {

/// A point that knows its number: what CGAL keeps in its tree.
struct numbered_point {
    double at[3];
    unsigned node;

    // CGAL takes points that have both the same coordinates and the same number for one.
    bool operator==(const numbered_point& other) const { return node == other.node; }
    bool operator!=(const numbered_point& other) const { return node != other.node; }
};

struct coordinates_of {
    using result_type = const double*;
    const double* operator()(const numbered_point& p) const { return p.at; }
    const double* operator()(const numbered_point& p, int) const { return p.at + 3; }
};

using cgal_traits = CGAL::Search_traits<double, numbered_point, const double*, coordinates_of,
                                        CGAL::Dimension_tag<3>>;
using cgal_tree = CGAL::Kd_tree<cgal_traits>;

inline std::vector<numbered_point> cgal_points(const kz3::dense2D<double>& pos)
{
    std::vector<numbered_point> points(pos.cols);
    for (std::size_t j = 0; j < pos.cols; ++j)
        points[j] = {{pos(0, j), pos(1, j), pos(2, j)}, unsigned(j)};
    return points;
}

/// nanoflann reads the coordinates where they are.
struct nanoflann_points {
    const double* first;
    std::size_t count;

    std::size_t kdtree_get_point_count() const { return count; }
    double kdtree_get_pt(std::size_t j, std::size_t d) const { return first[3 * j + d]; }
    template <typename Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false;
    }
};

using nanoflann_metric = nanoflann::L2_Simple_Adaptor<double, nanoflann_points>;
using nanoflann_tree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann_metric, nanoflann_points, 3, unsigned>;

inline nanoflann_points points_for_nanoflann(const kz3::dense2D<double>& pos)
{
    return {pos.vec->data + pos.offset, pos.cols};
}

} // namespace bench
