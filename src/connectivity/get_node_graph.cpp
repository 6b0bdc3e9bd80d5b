#include <kz3/lattiq/connectivity.h>

#include "core/column.h"
#include "core/out_of_memory.h"
#include "core/prefetch.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

struct node_to_element {
    dense1D<unsigned> starts;
    dense1D<unsigned> elements;
};

// Calls discover(v) for each neighbour v of each node k, in order of discovery, and finish(k) after
// each node. A mark holds the last node that v was found from, so that no mark is ever taken back.
template <typename Discover, typename Finish>
void walk(const dense2D<unsigned>& connectM, const node_to_element& relation,
          dense1D<unsigned>& marks, Discover discover, Finish finish)
{
    const unsigned* start = relation.starts.begin();
    const unsigned* element = relation.elements.begin();
    unsigned* mark = marks.begin();
    const auto nodes = unsigned(marks.size);
    const size_t entries = relation.elements.size;
    constexpr size_t ahead = 16; // columns asked for early: where numbering is shuffled each is far
    for (unsigned k = 0; k < nodes; ++k) {
        mark[k] = k;
        for (unsigned i = start[k]; i < start[k + 1]; ++i) {
            if (i + ahead < entries) prefetch(column(connectM, element[i + ahead]));
            const unsigned* node = column(connectM, element[i]);
            for (size_t r = 0; r < connectM.rows; ++r) {
                const unsigned v = node[r];
                if (v == NO_NODE || mark[v] == k) continue;
                mark[v] = k;
                discover(v);
            }
        }
        finish(k);
    }
}

} // namespace

int get_node_graph(const dense2D<unsigned>& connectM, dense1D<unsigned>& row_starts,
                   dense1D<unsigned>& row_values)
{
    row_starts.clear();
    row_values.clear();
    node_to_element relation;
    dense1D<unsigned> marks;
    if (const int code = get_connected_elements(connectM, relation.starts, relation.elements))
        return code;
    const size_t nodes = relation.starts.size - 1;
    if (!row_starts.resize(nodes + 1, 0U) || !marks.resize(nodes, NO_NODE)) {
        row_starts.clear();
        return out_of_memory;
    }

    size_t count = 0;
    unsigned* end = row_starts.begin() + 1;
    walk(
        connectM, relation, marks, [&](unsigned) { ++count; },
        [&](unsigned k) { end[k] = unsigned(count); });
    if (count > NO_NODE || !row_values.resize(count)) { // positions have 32 bits
        row_values.clear();
        row_starts.clear_hard();
        return out_of_memory;
    }

    // The marks left behind need no reset: none is below its node, whose turn renews it.
    unsigned* value = row_values.begin();
    walk(
        connectM, relation, marks, [&](unsigned v) { *value++ = v; }, [](unsigned) {});
    return 0;
}

} // namespace kz3::lattiq
