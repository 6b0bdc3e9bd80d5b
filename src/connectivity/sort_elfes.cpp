#include <kz3/lattiq/connectivity.h>

#include <algorithm>
#include <numeric>

#include "core/column.h"
#include "core/out_of_memory.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

struct work_lists {
    dense1D<unsigned> node_counts; // of each element
    dense1D<unsigned> ends;        // by node count: place in `order` one past its elements
    dense1D<unsigned> order;       // elements with nodes, in the order in which they will stand
    dense1D<unsigned> standing;    // old element at each column
    size_t groups = 0;             // node counts that occur, 0 apart
};

void count_nodes(const dense2D<unsigned>& connectM, work_lists& work)
{
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const auto c = unsigned(std::find(node, node + connectM.rows, NO_NODE) - node);
        work.node_counts[e] = c;
        if (c != 0 && work.ends[c]++ == 0) ++work.groups;
    }
}

// Falling node count, and falling element index among equal counts. On entry `ends` holds the
// number of elements of each count, then the place that its next element takes, at last its end.
void order_elements(work_lists& work)
{
    unsigned start = 0;
    for (size_t c = work.ends.size; --c > 0;) {
        const unsigned size = work.ends[c];
        work.ends[c] = start;
        start += size;
    }
    work.order.resize(start);
    for (size_t e = work.node_counts.size; e-- > 0;)
        if (const unsigned c = work.node_counts[e]) work.order[work.ends[c]++] = unsigned(e);
}

// All memory of the call is taken here, so that a refusal finds the matrices unchanged.
bool plan(const dense2D<unsigned>& connectM, work_lists& work, dense1D<unsigned>& group_nodes,
          dense1D<unsigned>& group_ends, dense1D<unsigned>& new_indices)
{
    const size_t n = connectM.cols;
    const size_t highest = n == 0 ? 0 : connectM.rows;
    if (!work.node_counts.resize(n) || !work.ends.resize(highest + 1, 0U) ||
        !work.order.resize(n) || !work.standing.resize(n))
        return false;
    count_nodes(connectM, work);
    order_elements(work);
    const size_t groups = std::max(work.groups, size_t(1));
    return group_nodes.reserve(groups, 1) && group_ends.reserve(groups, 1) && new_indices.resize(n);
}

void list_groups(const work_lists& work, dense1D<unsigned>& group_nodes,
                 dense1D<unsigned>& group_ends)
{
    unsigned end = 0;
    for (size_t c = work.ends.size; --c > 0;)
        if (work.ends[c] != end) {
            end = work.ends[c];
            group_nodes.push_back(unsigned(c));
            group_ends.push_back(end);
        }
    if (work.groups == 0) {
        group_nodes.push_back(NO_NODE);
        group_ends.push_back(0);
    }
}

void exchange_columns(dense2D<unsigned>& m, size_t i, size_t j)
{
    unsigned* at = column(m, i);
    std::swap_ranges(at, at + m.rows, column(m, j));
}

void move_columns(dense2D<unsigned>& connectM, dense2D<unsigned>& element_links, bool linked,
                  work_lists& work, dense1D<unsigned>& new_indices)
{
    std::iota(new_indices.begin(), new_indices.end(), 0U);
    std::iota(work.standing.begin(), work.standing.end(), 0U);
    unsigned* place = new_indices.begin();
    unsigned* standing = work.standing.begin();
    const unsigned* order = work.order.begin();
    const auto kept = unsigned(work.order.size);
    for (unsigned i = 0; i < kept; ++i) {
        const unsigned from = place[order[i]];
        if (from == i) continue;
        exchange_columns(connectM, i, from);
        if (linked) exchange_columns(element_links, i, from);
        place[standing[i]] = from;
        place[standing[from]] = i;
        std::swap(standing[i], standing[from]);
    }
    std::replace_if(
        new_indices.begin(), new_indices.end(), [=](unsigned at) { return at >= kept; }, NO_NODE);
}

// An entry that is no element of the input stays, as NO_NODE does.
void renumber_links(dense2D<unsigned>& element_links, const dense1D<unsigned>& new_indices)
{
    for (size_t e = 0; e < element_links.cols; ++e) {
        unsigned* link = column(element_links, e);
        for (size_t f = 0; f < element_links.rows; ++f)
            if (link[f] < new_indices.size) link[f] = new_indices[link[f]];
    }
}

} // namespace

int sort_elfes(dense2D<unsigned>& connectM, dense2D<unsigned>& element_links,
               dense1D<unsigned>& group_nodes, dense1D<unsigned>& group_ends,
               dense1D<unsigned>& new_indices)
{
    const bool linked = !element_links.empty();
    if (linked && element_links.cols != connectM.cols) return -1; // element_links
    group_nodes.clear();
    group_ends.clear();
    new_indices.clear();
    work_lists work;
    if (!plan(connectM, work, group_nodes, group_ends, new_indices)) {
        new_indices.clear();
        return out_of_memory;
    }

    list_groups(work, group_nodes, group_ends);
    move_columns(connectM, element_links, linked, work, new_indices);
    // Both only shrink, which takes no memory and so cannot fail.
    connectM.resize(connectM.rows, work.order.size);
    if (linked) {
        element_links.resize(element_links.rows, work.order.size);
        renumber_links(element_links, new_indices);
    }
    return 0;
}

int sort_elfes(dense2D<unsigned>& connectM, dense1D<unsigned>& group_nodes,
               dense1D<unsigned>& group_ends, dense1D<unsigned>& new_indices)
{
    dense2D<unsigned> no_links;
    return sort_elfes(connectM, no_links, group_nodes, group_ends, new_indices);
}

} // namespace kz3::lattiq
