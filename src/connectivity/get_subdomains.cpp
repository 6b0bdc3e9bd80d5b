#include <kz3/lattiq/connectivity.h>

#include <algorithm>
#include <vector>

#include <kz3/lattiq/core.h>

#include "core/column.h"
#include "core/out_of_memory.h"
#include "core/prefetch.h"
#include "core/stop.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Places in the queue between an element that is walked and one whose column is asked for.
constexpr size_t ahead = 12;

// Breadth first over all that is connected with the element at order[tail]; the found part of
// `order` is the queue itself. Elements are marked when they enter it, so that each enters once.
size_t flood(const dense2D<unsigned>& neighbors, std::vector<bool>& found, unsigned* order,
             size_t tail)
{
    const size_t n = neighbors.cols;
    size_t head = tail++;
    found[order[head]] = true;
    for (; head < tail; ++head) {
        if (head + ahead < tail) prefetch(column(neighbors, order[head + ahead]));
        const unsigned* neighbor = column(neighbors, order[head]);
        for (size_t f = 0; f < neighbors.rows; ++f) {
            const unsigned e = neighbor[f];
            if (e > n) continue;
            if (e == n) stop(); // one past the last element is no mark of a missing neighbour
            if (found[e]) continue;
            found[e] = true;
            order[tail++] = e;
        }
    }
    return tail;
}

// Moves the columns to new storage, so that views of the old one keep the old order.
bool reorder(dense2D<unsigned>& m, const dense1D<unsigned>& order, dense2D<unsigned>& reordered)
{
    if (!reordered.resize(m.rows, order.size)) return false;
    for (size_t j = 0; j < order.size; ++j)
        std::copy_n(column(m, order[j]), m.rows, column(reordered, j));
    m.shallow_copy(reordered);
    return true;
}

bool invert(const dense1D<unsigned>& order, dense1D<unsigned>& new_indices)
{
    if (!new_indices.resize(order.size)) return false;
    for (size_t i = 0; i < order.size; ++i) new_indices[order[i]] = unsigned(i);
    return true;
}

} // namespace

int get_subdomains(const dense2D<unsigned>& neighbors, dense1D<unsigned>& sorted_elements,
                   dense1D<unsigned>& subdomain_offsets)
{
    const size_t n = neighbors.cols;
    sorted_elements.clear();
    subdomain_offsets.clear();
    if (!sorted_elements.reserve(n, 1)) return out_of_memory;

    std::vector<bool> found(n);
    sorted_elements.resize(n);
    unsigned* order = sorted_elements.begin();
    subdomain_offsets.push_back(0);
    size_t listed = 0;
    for (size_t e = 0; listed < n; ++e) {
        if (found[e]) continue;
        order[listed] = unsigned(e);
        listed = flood(neighbors, found, order, listed);
        subdomain_offsets.push_back(unsigned(listed));
    }
    return 0;
}

int get_subdomains(dense2D<unsigned>& connectM, dense2D<unsigned>& neighbors,
                   dense1D<unsigned>& subdomain_offsets)
{
    // All made before the first change: nothing below but the first step can throw.
    dense1D<unsigned> order;
    dense1D<unsigned> new_indices;
    dense2D<unsigned> reordered_nodes;
    dense2D<unsigned> reordered_neighbors;
    if (const int code = get_subdomains(neighbors, order, subdomain_offsets)) return code;

    if (!reorder(connectM, order, reordered_nodes) ||
        !reorder(neighbors, order, reordered_neighbors) || !invert(order, new_indices)) {
        connectM.clear();
        neighbors.clear();
        subdomain_offsets.clear();
        return out_of_memory;
    }
    change_indices(neighbors, new_indices);
    return 0;
}

} // namespace kz3::lattiq
