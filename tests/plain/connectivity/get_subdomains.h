#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include <kz3/dense2D.h>

namespace plain {

struct subdomains {
    std::vector<unsigned> sorted_elements;
    std::vector<unsigned> offsets;
};

/// Breadth first with a queue in which an element may stand several times: it is marked when it
/// leaves. No entry of `neighbors` may equal its number of columns.
inline subdomains get_subdomains(const kz3::dense2D<unsigned>& neighbors)
{
    const std::size_t n = neighbors.cols;
    subdomains found{{}, {0}};
    std::vector<bool> visited(n);
    std::size_t s = 0;
    while (n != 0) {
        while (visited[s]) ++s;
        std::deque<unsigned> queue{unsigned(s)};
        while (!queue.empty()) {
            const unsigned e = queue.front();
            queue.pop_front();
            if (visited[e]) continue;
            visited[e] = true;
            found.sorted_elements.push_back(e);
            for (std::size_t r = 0; r < neighbors.rows; ++r) {
                const unsigned m = neighbors(r, e);
                if (m <= n && !visited.at(m)) queue.push_back(m);
            }
        }
        found.offsets.push_back(unsigned(found.sorted_elements.size()));
        if (found.sorted_elements.size() == n) break;
    }
    return found;
}

} // namespace plain
