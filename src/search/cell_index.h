#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <kz3/fixed.h>
#include <kz3/lattiq/element_type.h>

#include "search/kd_layout.h"
#include "search/node_places.h"

namespace kz3::lattiq::detail {

/// Fixed room for what a search finds or has yet to do; beyond it the search gives up.
template <typename T, unsigned Room>
struct fixed_list {
    static constexpr unsigned room = Room;
    T list[Room];
    unsigned count = 0;

    bool add(const T& one)
    {
        if (count == Room) return false;
        list[count++] = one;
        return true;
    }
};

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

    /// A node that can be in a box.
    struct candidate {
        unsigned entry; ///< its column of the tree's entries
        unsigned node;
        bool certain; ///< strictly inside, whatever its coordinates are rounded to
    };
    using box_candidates = fixed_list<candidate, 256>;

    /// A node that can be the nearest.
    struct neighbour {
        unsigned node;
        unsigned place; ///< in the index
    };
    struct neighbours : fixed_list<neighbour, 32> {
        unsigned rejected_place = NO_NODE; ///< of the rejected node, if met
    };

    /// Where a node stands in the tree.
    struct order {
        unsigned entry;
        visit_mark mark;
    };

    /// The index of the nodes of a tree in the order of its entries, or null where their coordinates
    /// are not numbers, are infinite or reach too far for the unit, where there are too many nodes for
    /// visit_mark, or memory is exhausted.
    static std::shared_ptr<const cell_index> make(const placed_node<Dim>* nodes, unsigned n);

    /// All nodes of the closed box from lo to hi, and maybe some on its boundary. False if there is
    /// no room for them.
    bool find_in_box(const point& lo, const point& hi, box_candidates& found) const;

    /// All nodes but `rejected` whose distance from q exceeds the least by up to 2^-46 times the
    /// largest coordinate of q and that distance, and maybe some more. False if that would take long,
    /// q is too far away, or there is no room; also if there is no node.
    ///
    /// Where several are found, their orders are asked for ahead, and their places if those are given.
    bool find_nearest(const point& q, unsigned rejected, neighbours& found,
                      const node_places* places = nullptr) const;

    const order& order_of(unsigned place) const { return orders_[place]; }

private:
    using corner = std::array<std::int32_t, Dim>;

    struct stored {
        corner at;
        unsigned node;
    };

    // Cells side by side with edges of 2^shift units: of the whole box, or within one cell.
    struct grid {
        unsigned shift;
        std::array<unsigned, Dim> cells; // along each axis
        std::size_t first;               // of its cells in starts_
        std::size_t first_link;          // of its cells in links_, or no_links
    };
    static constexpr std::size_t no_links = std::size_t(-1);

    // A grid to be searched, and where it begins.
    struct region {
        unsigned grid;
        corner origin;
    };

    // Cells of a grid side by side along the first axis.
    struct row {
        std::size_t cell; // the first, counted within the grid
        unsigned cells;
        unsigned first; // of their nodes
        unsigned last;
        corner low;
        std::int32_t edge;
    };

    struct box_search;
    struct nearest_search;

    bool frame_nodes(const placed_node<Dim>* nodes, unsigned n);
    bool choose_cells(const point& high, unsigned n);
    void sort_into_cells(const placed_node<Dim>* nodes, unsigned n);
    bool all_at_one_place(unsigned first, unsigned last) const;
    void cut_full_cells(unsigned g);
    void cut_cell(unsigned first, unsigned last, unsigned shift);
    std::int32_t whole(double x, unsigned d) const;
    std::int32_t bound(double x, unsigned d) const;
    std::size_t cell_of(const grid& of, const corner& at) const;
    unsigned edge_around(const corner& at) const;
    std::size_t cells_between(const corner& low, const corner& high) const;
    template <typename Scan>
    bool scan_box(const corner& low, const corner& high, Scan&& scan) const;
    row row_of(const region& of, const std::array<unsigned, 3>& cell, unsigned end) const;
    template <typename Scan>
    bool scan_rows(fixed_list<row, 16>& rows, const region& of, Scan& scan,
                   fixed_list<region, 1000>& pending) const;

    static constexpr std::size_t cells_at_most = 1000; // searched at once

    point base_{};
    double scale_ = 0; // units per length
    corner top_{};     // the largest coordinates
    std::vector<stored> nodes_;
    std::vector<order> orders_;    // of nodes_
    std::vector<grid> grids_;      // the first is of the whole box
    std::vector<unsigned> starts_; // of the cells of each grid in nodes_, and the end of the grid
    std::vector<unsigned> links_;  // for each cell of some grids: the grid within, or 0
};

extern template class cell_index<2>;
extern template class cell_index<3>;

} // namespace kz3::lattiq::detail
