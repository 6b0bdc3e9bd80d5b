#include <kz3/lattiq/quality.h>

#include <algorithm>

#include "core/check_range.h"
#include "core/out_of_memory.h"
#include "quality/edge_set.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

bool takes_edges(const dense2D<unsigned>& edges)
{
    return edges.empty() || edges.rows == 2;
}

int append(const edge_set& set, dense2D<unsigned>& edges)
{
    const size_t old = edges.empty() ? 0 : edges.cols;
    const std::vector<edge> added = set.ordered();
    if (!edges.reserve(2, old + added.size())) return out_of_memory;
    if (added.empty()) return 0;
    if (!edges.resize(2, old + added.size())) return out_of_memory;
    for (size_t j = 0; j < added.size(); ++j) std::copy_n(added[j].data, 2, column(edges, old + j));
    return 0;
}

} // namespace

int copy_edges(const dense2D<unsigned>& connectM, element_type type, dense2D<unsigned>& edges)
{
    if (connectM.empty()) return 0;
    if (!check_matrix(connectM, type, NO_NODE)) return -1; // connectM
    if (!takes_edges(edges)) return -3;                    // edges

    edge_set set;
    set.insert_all(connectM, type);
    return append(set, edges);
}

int copy_edges(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
               const dense1D<int>& types, dense2D<unsigned>& edges)
{
    if (last < first) return -2;                              // last
    if (size_t(last - first) != types.size) return -3;        // types
    if (!takes_edges(edges)) return -4;                       // edges
    if (!check_range(first, last, types, NO_NODE)) return -1; // first

    edge_set set;
    for (size_t i = 0; i < types.size; ++i) set.insert_all(first[i], element_type(types[i]));
    return append(set, edges);
}

} // namespace kz3::lattiq
