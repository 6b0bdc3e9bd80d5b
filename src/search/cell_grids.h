#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <kz3/lattiq/element_type.h>

#include "core/prefetch.h"

namespace kz3::lattiq::detail {

/// Grids of cubic cells: one of a whole box, and others within single cells of those.
///
/// Positions are corners of whole units. A grid within a cell cuts it in halves along each axis, once
/// or more; the edges of all cells are powers of 2, and each cell begins at a multiple of its edge.
/// Cells part a list: a cell has the items from its start up to the start of the next.
template <unsigned Dim>
class cell_grids {
public:
    using corner = std::array<std::int32_t, Dim>;

    static constexpr unsigned whole_box = 0; ///< the place of its grid, which is within no other

    /// Cells side by side with edges of 2^shift units. Until another grid is appended.
    struct grid {
        unsigned shift;
        std::array<unsigned, Dim> cells; ///< along each axis
        unsigned mask;                   ///< of the bits of a coordinate, shifted, that count cells
        const unsigned* starts;          ///< of the items of each cell, and the end of the last
        /// For each cell the place of the grid within, or whole_box; null if no cell has one.
        const unsigned* inner;

        /// The cell around a corner; the first axis counts fastest.
        unsigned cell_of(const corner& at) const
        {
            unsigned number = 0;
            for (unsigned d = Dim; d-- > 0;)
                number = number * cells[d] + (unsigned(at[d]) >> shift & mask);
            return number;
        }
    };

    /// The items of a cell with an edge of 2^shift units.
    struct cell {
        unsigned shift;
        unsigned first;
        unsigned last;
    };

    /// Makes the grid of the whole box, of empty cells.
    void start(unsigned shift, const std::array<unsigned, Dim>& cells)
    {
        cells_ = cells;
        count_ = 1;
        for (const unsigned along : cells) count_ *= along;
        words_.assign(1 + count_ + 1, 0);
        words_[0] = shift;
    }

    /// Appends a grid of empty cells to be linked to a cell with an edge of 2^shift units; returns its
    /// place, or whole_box if that would be beyond the numbers.
    unsigned append(unsigned shift, unsigned halvings)
    {
        const std::size_t place = words_.size();
        const std::size_t cells = std::size_t(1) << (Dim * halvings);
        if (place + 2 * cells + 2 > NO_NODE) return whole_box;
        words_.resize(place + 1 + cells + 1);
        words_[place] = (shift - halvings) | halvings << halvings_at;
        return unsigned(place);
    }

    /// Gives the last grid room for links, if it has none.
    void add_links(unsigned place)
    {
        words_[place] |= linked;
        words_.resize(words_.size() + cells_in(place));
    }

    void link(unsigned place, std::size_t number, unsigned inner)
    {
        words_[place + 1 + cells_in(place) + 1 + number] = inner;
    }

    /// For each cell the number of its items, and 0, before they are counted up; then their ends, to
    /// be lowered by each item.
    unsigned* starts(unsigned place) { return words_.data() + place + 1; }

    /// Makes the numbers of items their ends in a list, from where the first cell begins.
    void count_up(unsigned place, unsigned first)
    {
        unsigned* start = starts(place);
        unsigned sum = first;
        for (std::size_t k = 0; k <= cells_in(place); ++k) start[k] = sum += start[k];
    }

    std::size_t cells_in(unsigned place) const
    {
        return place == whole_box ? count_ : std::size_t(1) << (Dim * halvings(place));
    }

    /// The grid at a place.
    grid at(unsigned place) const
    {
        const unsigned* words = words_.data() + place;
        grid found{words[0] & low_byte, cells_, ~0u, words + 1, nullptr};
        if (place != whole_box) {
            const unsigned along = 1u << halvings(place);
            found.cells.fill(along);
            found.mask = along - 1;
        }
        if ((words[0] & linked) != 0) found.inner = found.starts + cells_in(place) + 1;
        return found;
    }

    /// The smallest cell around a corner.
    cell cell_around(const corner& of) const
    {
        for (unsigned place = whole_box;;) {
            const grid here = at(place);
            const unsigned number = here.cell_of(of);
            place = here.inner != nullptr ? here.inner[number] : whole_box;
            if (place == whole_box)
                return {here.shift, here.starts[number], here.starts[number + 1]};
        }
    }

    void ask_ahead(unsigned place) const { prefetch(words_.data() + place); }

    void shrink_to_fit() { words_.shrink_to_fit(); }

private:
    static constexpr unsigned low_byte = 0xFF;
    static constexpr unsigned halvings_at = 8;
    static constexpr unsigned linked = 1u << 16;

    unsigned halvings(unsigned place) const { return words_[place] >> halvings_at & low_byte; }

    std::array<unsigned, Dim> cells_{}; // of the whole box
    std::size_t count_ = 0;             // of all these
    std::vector<unsigned> words_;       // of each grid what it is, its starts, and its links if any
};

} // namespace kz3::lattiq::detail
