#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>
#include <vector>

#include <kz3/lattiq/core.h>

#include "core/id_set.h"
#include "core/prefetch.h"

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

// The columns of a matrix in runs by their smallest node, which neighbouring columns tend to share. A
// run is in rising order; a long one is so by key, with those of one key in rising order.
class column_index {
public:
    explicit column_index(const dense2D<unsigned>& m)
        : bound_(m.empty() ? 0 : id_bound(m, m.cols)),
          dense_(bound_ / 4 <= m.cols),
          starts_((dense_ ? bound_ + 1 : std::bit_ceil(std::max<size_t>(m.cols, 2))) + 1, 0),
          entries_(m.cols)
    {
        for (size_t c = 0; c < m.cols; ++c) ++starts_[run_of(column(m, c), m.rows)];
        unsigned sum = 0;
        for (unsigned& start : starts_) sum += std::exchange(start, sum);
        for (size_t c = 0; c < m.cols; ++c) {
            const unsigned* node = column(m, c);
            entries_[starts_[run_of(node, m.rows)]++] = {column_key(node, m.rows), unsigned(c)};
        }
        // Each start has moved on to that of the next run.
        std::rotate(starts_.begin(), starts_.end() - 1, starts_.end());
        starts_.front() = 0;
        for (size_t run = 0; run + 1 < starts_.size(); ++run)
            if (starts_[run + 1] - starts_[run] > short_run)
                std::sort(entries_.begin() + starts_[run], entries_.begin() + starts_[run + 1]);
    }

    // The first column with this key that is accepted, or NO_NODE.
    template <typename Accept>
    unsigned find(const unsigned* node, size_t rows, Accept accept) const
    {
        const size_t run = run_of(node, rows);
        const entry* at = entries_.data() + starts_[run];
        const entry* const last = entries_.data() + starts_[run + 1];
        const entry wanted{column_key(node, rows), 0};
        if (last - at > short_run) {
            at = std::lower_bound(at, last, wanted);
            for (; at != last && at->key == wanted.key; ++at)
                if (accept(at->column)) return at->column;
            return NO_NODE;
        }
        for (; at != last; ++at)
            if (at->key == wanted.key && accept(at->column)) return at->column;
        return NO_NODE;
    }

    // Asks ahead for the run of a column.
    void prefetch_run(const unsigned* node, size_t rows) const
    {
        prefetch(entries_.data() + starts_[run_of(node, rows)]);
    }

private:
    static constexpr unsigned short_run = 24;

    struct entry {
        std::uint64_t key;
        unsigned column;
        bool operator<(const entry& other) const
        {
            return key != other.key ? key < other.key : column < other.column;
        }
    };

    // Columns of holes alone, and of IDs beyond the matrix, share the last run.
    size_t run_of(const unsigned* node, size_t rows) const
    {
        unsigned least = NO_NODE;
        for (size_t k = 0; k < rows; ++k) least = std::min(least, node[k]);
        if (dense_) return std::min<size_t>(least, bound_);
        return spread_id(least) >> (64 - std::countr_zero(starts_.size() - 1));
    }

    size_t bound_;
    bool dense_;
    std::vector<unsigned> starts_; // of each run, and the end
    std::vector<entry> entries_;
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
    constexpr size_t ahead = 8;
    const column_index columns(first);
    std::vector<unsigned> a(rows);
    std::vector<unsigned> b(rows);
    std::vector<unsigned> reversed(rows);
    for (size_t k = 0; k < second.cols; ++k) {
        const unsigned* node = column(second, k);
        if (k + ahead < second.cols) columns.prefetch_run(column(second, k + ahead), rows);
        if (!ordered) copy_cycle(node, node + rows, b);
        const unsigned c = columns.find(node, rows, [&](unsigned candidate) {
            const unsigned* other = column(first, candidate);
            if (std::equal(node, node + rows, other)) return true;
            if (ordered) return false;
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
