#include <algorithm>

#include <kz3/lattiq/core.h>

#include "core/runs.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Elements looked at between two decisions: without a branch per element the loop runs on vectors.
constexpr size_t block = 1024;

template <typename Accept>
bool accept_all(const unsigned* ids, size_t n, Accept accept)
{
    for (size_t done = 0; done < n; done += block) {
        const unsigned* end = ids + std::min(done + block, n);
        unsigned refused = 0;
        for (const unsigned* id = ids + done; id != end; ++id) refused |= !accept(*id);
        if (refused) return false;
    }
    return true;
}

bool nodes_or_holes(const unsigned* ids, size_t n, unsigned bound)
{
    // One added, a hole wraps around to 0 and every other ID keeps its order.
    return accept_all(ids, n, [=](unsigned id) { return id + 1 <= bound; });
}

bool nodes_only(const unsigned* ids, size_t n, unsigned bound)
{
    return accept_all(ids, n, [=](unsigned id) { return id < bound; });
}

// Columns of a mixed kind, where a hole in one of the rows [from, to) ends the element.
bool mixed_columns(const dense2D<unsigned>& connectM, unsigned n, size_t from, size_t to)
{
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        for (size_t k = 0; k < connectM.rows; ++k) {
            if (node[k] == NO_NODE && k >= from && k < to) break;
            if (node[k] >= n) return false;
        }
    }
    return true;
}

} // namespace

bool check_IDs(const dense1D<unsigned>& ids, unsigned n)
{
    return nodes_or_holes(ids.begin(), ids.size, n);
}

bool check_IDs(const dense2D<unsigned>& connectM, unsigned n)
{
    return for_each_run(connectM, [=](const unsigned* run, size_t length) {
        return nodes_or_holes(run, length, n);
    });
}

bool check_IDs(const dense2D<unsigned>& connectM, element_type type, unsigned n)
{
    if (connectM.empty()) return true;

    const size_t rows = connectM.rows;
    if (type == ET_FACE_MIX) return (rows == 3 || rows == 4) && mixed_columns(connectM, n, 3, 4);
    if (type == ET_SOLID_MIX)
        return (rows == 4 || rows == 5 || rows == 6 || rows == 8) &&
               mixed_columns(connectM, n, 4, 7);
    if (rows != element_type_nodes[type]) return false;
    return for_each_run(
        connectM, [=](const unsigned* run, size_t length) { return nodes_only(run, length, n); });
}

} // namespace kz3::lattiq
