#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/geometry.h>

#include "core/out_of_memory.h"
#include "geometry/append_columns.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// The side of each node, found when an element first asks for it.
class node_sides {
public:
    node_sides(const dense2D<double>& pos, const vector_fixed<double, 3>& point,
               const vector_fixed<double, 3>& normal)
        : pos_(pos),
          point_(point),
          normal_(normal),
          rows_(std::min<size_t>(pos.rows, 3)),
          side_(pos.cols, 0)
    {
    }

    /// Whether a node lies strictly on the side that the normal points to.
    bool inside(unsigned node)
    {
        if (side_[node] == 0) side_[node] = find(column(pos_, node));
        return side_[node] == 1;
    }

private:
    std::int16_t find(const double* p) const
    {
        double difference[3] = {};
        for (size_t d = 0; d < rows_; ++d) difference[d] = p[d] - point_[d];
        const double s =
            difference[2] * normal_[2] + difference[1] * normal_[1] + difference[0] * normal_[0];
        return s > 0 ? 1 : -1;
    }

    const dense2D<double>& pos_;
    const vector_fixed<double, 3>& point_;
    const vector_fixed<double, 3>& normal_;
    size_t rows_;
    std::vector<std::int16_t> side_;
};

bool is_inside(const unsigned* node, size_t rows, node_sides& sides)
{
    for (size_t i = 0; i < rows && node[i] != NO_NODE; ++i)
        if (!sides.inside(node[i])) return false;
    return true;
}

} // namespace

int clip(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
         const vector_fixed<double, 3>& point, const vector_fixed<double, 3>& normal,
         dense2D<unsigned>& clipped)
{
    const double length =
        std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    if (connectM.empty()) return 0;
    if (!check_IDs(connectM, unsigned(pos.cols))) return -2;          // connectM
    if (length < 1e-12) return -4;                                    // normal
    if (!clipped.empty() && clipped.rows != connectM.rows) return -5; // clipped

    node_sides sides(pos, point, normal);
    dense1D<unsigned> kept;
    for (size_t j = 0; j < connectM.cols; ++j)
        if (is_inside(column(connectM, j), connectM.rows, sides)) kept.push_back(unsigned(j));
    return append_selected_columns(connectM, kept, clipped) ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
