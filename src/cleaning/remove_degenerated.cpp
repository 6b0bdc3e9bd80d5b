#include <algorithm>
#include <type_traits>
#include <vector>

#include <kz3/lattiq/cleaning.h>

#include "core/column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Whether a node stands in two rows. Holes alone count only where they are taken for nodes. Any number
// of rows, in time of its square: for the few rows of an element that is less than sorting them takes.
template <typename Rows>
bool repeats(const unsigned* node, Rows rows, bool strict)
{
    bool twice = false;
    for (size_t i = 1; i < rows; ++i)
        for (size_t k = 0; k < i; ++k)
            twice |= (node[i] == node[k]) & (strict | (node[i] != NO_NODE));
    return twice;
}

// NO_NODE sorts last, so it is the first value found twice only where no node repeats.
bool repeats_sorted(const unsigned* node, bool strict, std::vector<unsigned>& sorted)
{
    std::copy_n(node, sorted.size(), sorted.begin());
    std::sort(sorted.begin(), sorted.end());
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    return twice != sorted.end() && (strict || *twice != NO_NODE);
}

// Moves the elements that do not repeat together, in their order; returns how many they are. The map,
// if there is one, holds NO_NODE.
template <typename Repeats>
size_t compact(dense2D<unsigned>& connectM, unsigned* id_map, Repeats repeats)
{
    size_t kept = 0;
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        if (repeats(node)) continue;
        if (e > kept) std::copy_n(node, connectM.rows, column(connectM, kept));
        if (id_map != nullptr) id_map[e] = unsigned(kept);
        ++kept;
    }
    return kept;
}

// Elements of up to this many rows are not sorted.
constexpr size_t few_rows = 16;

size_t compact(dense2D<unsigned>& connectM, unsigned* id_map, bool strict,
               std::vector<unsigned>& scratch)
{
    const size_t rows = connectM.rows;
    if (rows == 3)
        return compact(connectM, id_map, [=](const unsigned* node) {
            return repeats(node, std::integral_constant<size_t, 3>{}, strict);
        });
    if (rows == 4)
        return compact(connectM, id_map, [=](const unsigned* node) {
            return repeats(node, std::integral_constant<size_t, 4>{}, strict);
        });
    if (rows <= few_rows)
        return compact(connectM, id_map,
                       [=](const unsigned* node) { return repeats(node, rows, strict); });
    return compact(connectM, id_map,
                   [&](const unsigned* node) { return repeats_sorted(node, strict, scratch); });
}

} // namespace

int remove_degenerated(dense2D<unsigned>& connectM, dense1D<unsigned>& id_map, bool strict)
{
    std::vector<unsigned> scratch(connectM.rows > few_rows ? connectM.rows : 0);
    id_map.clear();
    // There is no result for a map without memory: it stays empty, and the elements go all the same.
    const bool mapped = id_map.resize(connectM.cols, NO_NODE);

    const size_t kept = compact(connectM, mapped ? id_map.begin() : nullptr, strict, scratch);
    const size_t removed = connectM.cols - kept;
    connectM.resize(connectM.rows, kept);
    return int(removed);
}

} // namespace kz3::lattiq
