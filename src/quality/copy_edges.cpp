#include <kz3/lattiq/quality.h>

#include <algorithm>

#include "core/check_range.h"
#include "core/out_of_memory.h"
#include "quality/unique_edges.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

bool takes_edges(const dense2D<unsigned>& edges)
{
    return edges.empty() || edges.rows == 2;
}

int append(unique_edges& added, dense2D<unsigned>& edges)
{
    static_assert(sizeof(edge) == 2 * sizeof(unsigned));
    const size_t old = edges.empty() ? 0 : edges.cols;
    // Columns that do not lie end to end are filled by way of a list.
    std::vector<edge> list(old != 0 && edges.ld != 2 ? added.size() : 0);
    if (!edges.reserve(2, old + added.size())) return out_of_memory;
    if (added.size() == 0) return 0;
    if (!edges.resize(2, old + added.size())) return out_of_memory;
    if (edges.ld == 2) {
        added.write(reinterpret_cast<edge*>(column(edges, old)));
        return 0;
    }
    added.write(list.data());
    for (size_t j = 0; j < list.size(); ++j) std::copy_n(list[j].data, 2, column(edges, old + j));
    return 0;
}

} // namespace

int copy_edges(const dense2D<unsigned>& connectM, element_type type, dense2D<unsigned>& edges)
{
    if (connectM.empty()) return 0;
    if (!check_matrix(connectM, type, NO_NODE)) return -1; // connectM
    if (!takes_edges(edges)) return -3;                    // edges

    int kind = type;
    const auto types = dense1D<int>::wrap(&kind, 1);
    unique_edges added({&connectM, &connectM + 1, types});
    return append(added, edges);
}

int copy_edges(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
               const dense1D<int>& types, dense2D<unsigned>& edges)
{
    if (last < first) return -2;                              // last
    if (size_t(last - first) != types.size) return -3;        // types
    if (!takes_edges(edges)) return -4;                       // edges
    if (!check_range(first, last, types, NO_NODE)) return -1; // first

    unique_edges added({first, last, types});
    return append(added, edges);
}

} // namespace kz3::lattiq
