#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <kz3/fixed.h>
#include <kz3/lattiq/element_type.h>

#include "search/cell_grids.h"
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
        if (count >= Room) return false;
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
    using grids = cell_grids<Dim>;
    using grid = typename grids::grid;
    using cell = typename grids::cell;
    using corner = typename grids::corner;

    struct stored {
        corner at;
        unsigned node;
    };

    // A grid to be searched, and where it begins.
    struct region {
        unsigned place;
        corner origin;
        double away; // as the search reckons
    };
    using regions = fixed_list<region, 1000>;

    // Cells of a grid side by side along the first axis.
    struct row {
        unsigned cell;  // the first, counted within the grid
        unsigned first; // of their nodes
        unsigned last;
        corner low;
        double away;
    };
    struct rows : fixed_list<row, 16> {
        rows(const grid& g, unsigned n) : of(g), cells(n) {}

        const grid& of;
        unsigned cells; // in each row
    };

    struct box_search;
    struct nearest_search;

    using place_list = std::vector<unsigned>;
    bool frame_nodes(const placed_node<Dim>* nodes, unsigned n);
    int choose_cells(const point& high, unsigned n);
    void sort_into_cells(const placed_node<Dim>* nodes, unsigned n);
    bool stand_together(const cell& of, unsigned shift) const;
    bool is_full(const cell& of) const;
    cell cell_at(const grid& of, std::size_t number) const;
    void link_full_cells(unsigned place, place_list& with_full);
    void cut_full_cells(unsigned place, place_list& with_full);
    unsigned cut(const cell& of, place_list& with_full);
    std::int32_t whole(double x, unsigned d) const;
    std::int32_t bound(double x, unsigned d) const;
    std::size_t cells_between(const corner& low, const corner& high) const;
    template <typename Scan>
    bool scan_box(const corner& low, const corner& high, Scan& scan) const;
    template <typename Scan>
    void add_row(rows& to, const corner& origin, const std::array<unsigned, 3>& first,
                 const Scan& scan) const;
    template <typename Scan>
    bool scan_rows(const rows& near, Scan& scan, regions& pending) const;

    static constexpr std::size_t cells_at_most = 1000; // searched at once

    point base_{};
    double scale_ = 0; // units per length
    corner top_{};     // the largest coordinates
    std::vector<stored> nodes_;
    std::vector<order> orders_; // of nodes_
    grids grids_;
    unsigned shift_ = 0; // of the grid of the whole box
};

extern template class cell_index<2>;
extern template class cell_index<3>;

} // namespace kz3::lattiq::detail
