#include <algorithm>
#include <cmath>
#include <vector>

#include <kz3/lattiq/core.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/geometry.h>

#include "core/out_of_memory.h"
#include "geometry/append_columns.h"
#include "geometry/height.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// Whether a node lies strictly on the side that the normal points to. Of its coordinates the first
/// Dim count.
template <size_t Dim>
bool is_beyond(const double* p, const double* point, const double* normal)
{
    double difference[3] = {};
    for (size_t d = 0; d < Dim; ++d) difference[d] = p[d] - point[d];
    return difference[2] * normal[2] + difference[1] * normal[1] + difference[0] * normal[0] > 0;
}

/// Marks the nodes beyond the plane: all of them where the elements may name all, otherwise those that
/// are named, some of them more than once. What the others hold is not read.
template <size_t Dim>
void mark_sides(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                const vector_fixed<double, 3>& point, const vector_fixed<double, 3>& normal,
                unsigned char* beyond)
{
    const auto mark = [&pos, beyond, at = point, n = normal](size_t node) {
        beyond[node] = is_beyond<Dim>(column(pos, node), at.data, n.data);
    };
    if (pos.cols <= connectM.rows * connectM.cols) {
        for (size_t node = 0; node < pos.cols; ++node) mark(node);
        return;
    }
    for (size_t j = 0; j < connectM.cols; ++j)
        for (size_t i = 0; i < connectM.rows; ++i)
            if (column(connectM, j)[i] != NO_NODE) mark(column(connectM, j)[i]);
}

std::vector<unsigned char> sides(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                                 const vector_fixed<double, 3>& point,
                                 const vector_fixed<double, 3>& normal)
{
    // One more, for holes: they keep no element out.
    std::vector<unsigned char> beyond(pos.cols + 1);
    beyond.back() = 1;
    switch (pos.rows) {
    case 0:
        mark_sides<0>(pos, connectM, point, normal, beyond.data());
        break;
    case 1:
        mark_sides<1>(pos, connectM, point, normal, beyond.data());
        break;
    case 2:
        mark_sides<2>(pos, connectM, point, normal, beyond.data());
        break;
    default:
        mark_sides<3>(pos, connectM, point, normal, beyond.data());
        break;
    }
    return beyond;
}

/// Whether no node ahead of the first hole is on the wrong side. Reads on behind the hole, since a jump
/// out of the loop would be mispredicted for about every element near the plane.
template <typename Rows>
bool is_inside(const unsigned* node, Rows rows, const std::vector<unsigned char>& beyond)
{
    const size_t hole = beyond.size() - 1;
    bool closed = false;
    unsigned inside = 1;
    for (size_t i = 0; i < rows; ++i) {
        closed |= node[i] == NO_NODE;
        inside &= beyond[closed ? hole : node[i]];
    }
    return inside != 0;
}

/// Lists the columns inside, ascending. One that the list finds no memory for is left out.
template <typename Rows>
void list_inside(const dense2D<unsigned>& connectM, Rows rows,
                 const std::vector<unsigned char>& beyond, dense1D<unsigned>& kept)
{
    // A block's are gathered without a branch and then appended.
    constexpr size_t block = 256;
    unsigned found[block];
    // An estimate that spares a long list its moves; what is not used of it is never touched.
    if (connectM.cols > block) kept.reserve(connectM.cols, 1);
    for (size_t first = 0; first < connectM.cols; first += block) {
        const size_t last = std::min(first + block, connectM.cols);
        size_t n = 0;
        for (size_t j = first; j < last; ++j) {
            found[n] = unsigned(j);
            n += is_inside(column(connectM, j), rows, beyond);
        }
        for (size_t i = 0; i < n; ++i) kept.push_back(found[i]);
    }
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

    const std::vector<unsigned char> beyond = sides(pos, connectM, point, normal);
    dense1D<unsigned> kept;
    with_height(connectM.rows, [&](auto rows) { list_inside(connectM, rows, beyond, kept); });
    return append_selected_columns(connectM, kept, clipped) ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
