#pragma once

#include <algorithm>
#include <numeric>
#include <vector>

#include <kz3/lattiq/core.h>

namespace plain {

/// Turns a cycle so that its largest element, the first of several, comes first.
inline void normalise(std::vector<unsigned>& cycle)
{
    std::rotate(cycle.begin(), std::max_element(cycle.begin(), cycle.end()), cycle.end());
}

inline std::vector<unsigned> copy_column(const kz3::dense2D<unsigned>& m, std::size_t j)
{
    std::vector<unsigned> column(m.rows);
    for (std::size_t i = 0; i < m.rows; ++i) column[i] = m(i, j);
    return column;
}

inline bool same_element(std::vector<unsigned> a, std::vector<unsigned> b, bool ordered)
{
    const unsigned zero = 0;
    if (std::accumulate(a.begin(), a.end(), zero) != std::accumulate(b.begin(), b.end(), zero))
        return false;
    if (ordered) return a == b;
    normalise(a);
    normalise(b);
    if (a == b) return true;
    std::reverse(a.begin(), a.end());
    normalise(a);
    return a == b;
}

/// Compares every column of the second matrix with all of the first, until one matches.
inline void get_IDs(const kz3::dense2D<unsigned>& first, const kz3::dense2D<unsigned>& second,
                    kz3::dense1D<unsigned>& second_to_first,
                    kz3::dense1D<unsigned>& first_to_second, bool ordered)
{
    second_to_first = kz3::dense1D<unsigned>(second.cols, kz3::lattiq::NO_NODE);
    first_to_second = kz3::dense1D<unsigned>(first.cols, kz3::lattiq::NO_NODE);
    for (std::size_t k = 0; k < second.cols; ++k)
        for (std::size_t c = 0; c < first.cols; ++c)
            if (same_element(copy_column(first, c), copy_column(second, k), ordered)) {
                second_to_first[k] = unsigned(c);
                first_to_second[c] = unsigned(k);
                break;
            }
}

/// Takes for each ID of the second list the last place where the first list has it.
inline void get_IDs(const kz3::dense1D<unsigned>& first, const kz3::dense1D<unsigned>& second,
                    kz3::dense1D<unsigned>& second_to_first,
                    kz3::dense1D<unsigned>& first_to_second)
{
    second_to_first = kz3::dense1D<unsigned>(second.size, kz3::lattiq::NO_NODE);
    first_to_second = kz3::dense1D<unsigned>(first.size, kz3::lattiq::NO_NODE);
    for (std::size_t j = 0; j < second.size; ++j)
        for (std::size_t i = first.size; i-- > 0;)
            if (first[i] == second[j] && first[i] != kz3::lattiq::NO_NODE) {
                second_to_first[j] = unsigned(i);
                first_to_second[i] = unsigned(j);
                break;
            }
}

} // namespace plain
