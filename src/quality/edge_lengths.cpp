#include <kz3/lattiq/core.h>
#include <kz3/lattiq/quality.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/column.h"
#include "core/out_of_memory.h"
#include "core/prefetch.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

double distance(const double* a, const double* b, size_t rows)
{
    double square = 0.0;
    for (size_t d = 0; d < rows; ++d) square += (a[d] - b[d]) * (a[d] - b[d]);
    return std::sqrt(square);
}

void add_length(double* extremes, double length)
{
    // In this order of arguments a length that is not a number enters the mean alone.
    extremes[0] = std::min(extremes[0], length);
    extremes[1] += length;
    extremes[2] = std::max(extremes[2], length);
}

} // namespace

int edge_lengths(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                 dense2D<double>& lengths)
{
    const size_t n = pos.cols;
    lengths.clear();
    if (connectM.cols == 0) return 0;
    if (!check_IDs(connectM, ET_BAR2, unsigned(n))) return -2; // connectM
    dense1D<unsigned> edges_at;
    if (!edges_at.resize(n, 0) || !lengths.resize(3, n)) return out_of_memory;

    for (size_t i = 0; i < n; ++i) {
        double* extremes = column(lengths, i);
        extremes[0] = std::numeric_limits<double>::max();
        extremes[1] = extremes[2] = 0.0;
    }
    // Columns of no rows have no nodes to look at.
    const size_t edges = connectM.empty() ? 0 : connectM.cols;
    constexpr size_t ahead = 12;
    for (size_t e = 0; e < edges; ++e) {
        if (e + ahead < edges)
            for (unsigned k = 0; k < 2; ++k) {
                const unsigned later = column(connectM, e + ahead)[k];
                prefetch(column(pos, later));
                prefetch(column(lengths, later));
                prefetch(edges_at.begin() + later);
            }
        const unsigned* node = column(connectM, e);
        const double length = distance(column(pos, node[0]), column(pos, node[1]), pos.rows);
        for (unsigned k = 0; k < 2; ++k) {
            add_length(column(lengths, node[k]), length);
            ++edges_at[node[k]];
        }
    }
    for (size_t i = 0; i < n; ++i)
        if (edges_at[i] != 0) lengths(1, i) /= edges_at[i];
    return 0;
}

} // namespace kz3::lattiq
