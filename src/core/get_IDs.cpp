#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include <kz3/lattiq/core.h>

#include "core/id_set.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// An output that could not be sized is short, and takes what it has room for.
void set(dense1D<unsigned>& output, size_t i, size_t value)
{
    if (i < output.size) output[i] = unsigned(value);
}

// Last position of each ID of a list: by ID where the IDs are dense, otherwise hashed.
class position_map {
public:
    explicit position_map(const dense1D<unsigned>& ids)
        : bound_(id_bound(ids, ids.size)),
          dense_(bound_ / 4 <= ids.size),
          table_(dense_ ? bound_ : std::bit_ceil(2 * ids.size), {NO_NODE, NO_NODE})
    {
        for (size_t i = 0; i < ids.size; ++i)
            if (ids[i] != NO_NODE) table_[place(ids[i])] = {ids[i], unsigned(i)};
    }

    // NO_NODE where the list does not hold the ID.
    unsigned find(unsigned id) const { return id < bound_ ? table_[place(id)].position : NO_NODE; }

private:
    struct entry {
        unsigned id;
        unsigned position;
    };

    size_t place(unsigned id) const
    {
        if (dense_) return id;
        size_t s = spread_id(id) >> (64 - std::bit_width(table_.size() - 1));
        while (table_[s].id != NO_NODE && table_[s].id != id) s = (s + 1) & (table_.size() - 1);
        return s;
    }

    size_t bound_;
    bool dense_;
    std::vector<entry> table_;
};

// The same for every order of the nodes.
std::uint64_t column_key(const unsigned* node, size_t rows)
{
    std::uint64_t key = 0;
    for (size_t k = 0; k < rows; ++k) {
        const std::uint64_t x = spread_id(node[k]);
        key += (x ^ x >> 32) * 0xD6E8FEB86659FD93;
    }
    return key ^ key >> 32;
}

// The columns of a matrix by their key, those of one key in rising order.
class column_chains {
public:
    explicit column_chains(const dense2D<unsigned>& m)
        : heads_(std::bit_ceil(m.cols), NO_NODE), keys_(m.cols), next_(m.cols)
    {
        for (size_t c = m.cols; c-- > 0;) {
            keys_[c] = column_key(column(m, c), m.rows);
            unsigned& head = heads_[keys_[c] & (heads_.size() - 1)];
            next_[c] = head;
            head = unsigned(c);
        }
    }

    // The first column with this key that is accepted, or NO_NODE.
    template <typename Accept>
    unsigned find(std::uint64_t key, Accept accept) const
    {
        unsigned c = heads_[key & (heads_.size() - 1)];
        while (c != NO_NODE && !(keys_[c] == key && accept(c))) c = next_[c];
        return c;
    }

private:
    std::vector<unsigned> heads_;
    std::vector<std::uint64_t> keys_;
    std::vector<unsigned> next_;
};

// Copies a cycle of nodes so that the first of its largest comes first.
template <typename Iterator>
void copy_cycle(Iterator from, Iterator end, std::vector<unsigned>& to)
{
    std::rotate_copy(from, std::max_element(from, end), end, to.begin());
}

} // namespace

int get_IDs(const dense1D<unsigned>& first, const dense1D<unsigned>& second,
            dense1D<unsigned>& second_to_first, dense1D<unsigned>& first_to_second)
{
    second_to_first.clear();
    first_to_second.clear();
    second_to_first.resize(second.size, NO_NODE);
    first_to_second.resize(first.size, NO_NODE);

    const position_map positions(first);
    for (size_t j = 0; j < second.size; ++j) {
        const unsigned i = positions.find(second[j]);
        if (i == NO_NODE) continue;
        set(second_to_first, j, i);
        set(first_to_second, i, j);
    }
    return 0;
}

int get_IDs(const dense2D<unsigned>& first, const dense2D<unsigned>& second,
            dense1D<unsigned>& second_to_first, dense1D<unsigned>& first_to_second, bool ordered)
{
    second_to_first.clear();
    first_to_second.clear();
    if (first.rows != second.rows) return -2; // second
    second_to_first.resize(second.cols, NO_NODE);
    first_to_second.resize(first.cols, NO_NODE);

    const size_t rows = first.rows;
    const column_chains chains(first);
    std::vector<unsigned> a(rows);
    std::vector<unsigned> b(rows);
    std::vector<unsigned> reversed(rows);
    for (size_t k = 0; k < second.cols; ++k) {
        const unsigned* node = column(second, k);
        if (ordered)
            std::copy_n(node, rows, b.begin());
        else
            copy_cycle(node, node + rows, b);
        const unsigned c = chains.find(column_key(node, rows), [&](unsigned candidate) {
            const unsigned* other = column(first, candidate);
            if (ordered) return std::equal(b.begin(), b.end(), other);
            copy_cycle(other, other + rows, a);
            if (a == b) return true;
            copy_cycle(a.rbegin(), a.rend(), reversed);
            return reversed == b;
        });
        if (c == NO_NODE) continue;
        set(second_to_first, k, c);
        set(first_to_second, c, k);
    }
    return 0;
}

} // namespace kz3::lattiq
