#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <kz3/fixed.h>
#include <kz3/lattiq/element_type.h>

#include "search/kd_layout.h"

namespace kz3::lattiq::detail {

/// Nodes sorted into cubic cells, for finding those near a point without walking a tree.
///
/// Coordinates are held as whole numbers of a small unit, counted from the lowest corner of the
/// bounding box, so that a node takes 4 bytes per axis; they never decrease where the coordinate grows,
/// however the arithmetic rounds. The box is cut into cells of a few nodes each; a cell that holds many
/// more is cut in halves along each axis, again and again.
///
/// The index says which nodes can matter, by bounds that hold in spite of all rounding; the caller
/// decides by their own coordinates.
template <unsigned Dim>
class cell_index {
public:
    using point = vector_fixed<double, Dim>;

    /// A node that can be in a box, or the nearest.
    struct candidate {
        unsigned entry; ///< its column of the tree's entries
        unsigned node;
        bool certain; ///< strictly inside, whatever its coordinates are rounded to
    };

    /// Fixed room for what a search finds; beyond it the search gives up.
    template <unsigned Room>
    struct candidates {
        static constexpr unsigned room = Room;
        candidate list[Room];
        unsigned count = 0;

        bool add(const candidate& one)
        {
            if (count == Room) return false;
            list[count++] = one;
            return true;
        }
    };
    using box_candidates = candidates<256>;
    using nearest_candidates = candidates<32>;

    /// The index of the nodes of a tree in the order of its entries, or null where their coordinates
    /// are not numbers, are infinite or reach too far for the unit, or memory is exhausted.
    static std::shared_ptr<const cell_index> make(const placed_node<Dim>* nodes, unsigned n);

    /// All nodes of the closed box from lo to hi, and maybe some on its boundary. False if there is
    /// no room for them.
    bool find_in_box(const point& lo, const point& hi, box_candidates& found) const;

    /// All nodes but `rejected` whose distance from q exceeds the least by up to 2^-46 times the
    /// largest coordinate of q and that distance, and maybe some more. False if that would take long,
    /// q is too far away, or there is no room; also if there is no node.
    bool find_nearest(const point& q, unsigned rejected, nearest_candidates& found) const;

private:
    using corner = std::array<std::int32_t, Dim>;

    struct stored {
        corner at;
        unsigned node;
    };

    // A cell cut in halves: part k is the upper one along axis d where bit d of k is set.
    struct cut {
        static constexpr unsigned parts = 1u << Dim;
        unsigned starts[parts + 1] = {};
        unsigned cuts[parts] = {}; // of the parts in cuts_, or 0
    };

    // A part of nodes_ to be sorted into a cut, whose parts have edges of 2^shift units.
    struct part {
        unsigned first;
        unsigned last;
        unsigned shift;
        unsigned link;
    };

    struct nearest_search;

    bool frame_nodes(const placed_node<Dim>* nodes, unsigned n);
    bool choose_cells(const point& high, unsigned n);
    void sort_into_cells(const placed_node<Dim>* nodes, unsigned n);
    void cut_full_cells();
    void cut_part(const part& whole_part, std::vector<part>& pending);
    std::int32_t whole(double x, unsigned d) const;
    std::int32_t bound(double x, unsigned d) const;
    std::size_t cell_of(const corner& at) const;
    unsigned edge_around(const corner& at) const;
    std::size_t cells_between(const corner& low, const corner& high) const;
    template <typename Scan>
    void scan_box(const corner& low, const corner& high, Scan&& scan) const;
    template <typename Scan>
    void scan_cut(unsigned link, const std::array<unsigned, 3>& cell, const corner& low,
                  const corner& high, Scan&& scan) const;

    static constexpr std::size_t cells_at_most = 1000; // searched at once

    point base_{};
    double scale_ = 0;   // units per length
    unsigned shift_ = 0; // a cell of the grid has an edge of 2^shift_ units
    corner top_{};       // the largest coordinates
    std::array<unsigned, Dim> cells_{};
    std::vector<stored> nodes_;
    std::vector<unsigned> entries_; // of nodes_
    std::vector<unsigned> starts_;  // of the cells of the grid in nodes_, and the end
    std::vector<unsigned> links_;   // of the cells of the grid in cuts_; empty if none is cut
    std::vector<cut> cuts_;         // the first is none
};

extern template class cell_index<2>;
extern template class cell_index<3>;

} // namespace kz3::lattiq::detail
