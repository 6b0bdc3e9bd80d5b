#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

/// Slow and obvious versions, one per operation, that the library's are compared with.
namespace plain {

/// A compressed relation: row k is values[starts[k]] up to values[starts[k + 1]].
struct relation {
    std::vector<unsigned> starts;
    std::vector<unsigned> values;
};

/// Elements and the nodes of each: all entries, column after column.
inline relation elements_and_nodes(const kz3::dense2D<unsigned>& connectM)
{
    relation r;
    for (std::size_t j = 0; j <= connectM.cols; ++j)
        r.starts.push_back(unsigned(j * connectM.rows));
    for (std::size_t j = 0; j < connectM.cols; ++j)
        for (std::size_t i = 0; i < connectM.rows; ++i) r.values.push_back(connectM(i, j));
    return r;
}

/// Nodes and the elements of each. The starts are counted, summed, moved up by one place, used as
/// write positions, and moved up again.
inline relation transpose(const relation& elements)
{
    using kz3::lattiq::NO_NODE;
    relation nodes;
    if (elements.starts.size() <= 1) {
        nodes.starts = {0};
        return nodes;
    }
    unsigned m = 0;
    for (const unsigned v : elements.values)
        if (v != NO_NODE) m = std::max(m, v);
    std::vector<unsigned>& starts = nodes.starts;
    starts.assign(std::size_t(m) + 2, 0);
    for (const unsigned v : elements.values)
        if (v != NO_NODE) ++starts[v];
    for (std::size_t k = 1; k < starts.size(); ++k) starts[k] += starts[k - 1];
    nodes.values.resize(starts.back());
    std::rotate(starts.begin(), starts.end() - 1, starts.end());
    starts[0] = 0;
    for (std::size_t j = 0; j + 1 < elements.starts.size(); ++j)
        for (unsigned p = elements.starts[j]; p < elements.starts[j + 1]; ++p) {
            const unsigned v = elements.values[p];
            if (v != NO_NODE) nodes.values[starts[v]++] = unsigned(j);
        }
    std::rotate(starts.begin(), starts.end() - 1, starts.end());
    starts[0] = 0;
    return nodes;
}

inline relation get_connected_elements(const kz3::dense2D<unsigned>& connectM)
{
    if (connectM.empty()) return {{0}, {}};
    return transpose(elements_and_nodes(connectM));
}

} // namespace plain
