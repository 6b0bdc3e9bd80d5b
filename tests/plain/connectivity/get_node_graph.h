#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "plain/connectivity/get_connected_elements.h"

namespace plain {

/// Looks each candidate up in the row found so far.
inline relation get_node_graph(const kz3::dense2D<unsigned>& connectM)
{
    const relation nodes = get_connected_elements(connectM);
    relation graph{{0}, {}};
    for (unsigned k = 0; k + 1 < nodes.starts.size(); ++k) {
        std::vector<unsigned> row;
        for (unsigned p = nodes.starts[k]; p < nodes.starts[k + 1]; ++p)
            for (std::size_t i = 0; i < connectM.rows; ++i) {
                const unsigned v = connectM(i, nodes.values[p]);
                if (v == kz3::lattiq::NO_NODE || v == k) continue;
                if (std::find(row.begin(), row.end(), v) == row.end()) row.push_back(v);
            }
        graph.values.insert(graph.values.end(), row.begin(), row.end());
        graph.starts.push_back(unsigned(graph.values.size()));
    }
    return graph;
}

} // namespace plain
