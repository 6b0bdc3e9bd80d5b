#include "search/cell_index.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "core/prefetch.h"

namespace kz3::lattiq::detail {
namespace {

constexpr unsigned nodes_per_cell = 3; // on average, where they are spread evenly
constexpr unsigned full = 16;          // more nodes, and a cell is cut
constexpr unsigned large_crowd = 64;   // fewer nodes are not cut if that would not part them
constexpr int bits = 30;               // of the whole numbers
constexpr double reach = 0x1p44;       // units from the origin, for nodes and points asked for

// Units by which the distance to a node, and that to any other, may be wrong together, and more:
// half a unit along each axis for each, and little beside for rounding at this reach.
constexpr double slack = 4;

constexpr double infinity = std::numeric_limits<double>::infinity();

double square(double x)
{
    return x * x;
}

} // namespace

// ---- making

template <unsigned Dim>
auto cell_index<Dim>::make(const placed_node<Dim>* nodes, unsigned n)
    -> std::shared_ptr<const cell_index>
{
    if (n > visit_mark::most_entries) return nullptr;
    try {
        const auto index = std::make_shared<cell_index>();
        if (!index->frame_nodes(nodes, n)) return nullptr;
        place_list with_full;
        index->sort_into_cells(nodes, n);
        index->link_full_cells(grids::whole_box, with_full);
        for (std::size_t k = 0; k < with_full.size(); ++k)
            index->cut_full_cells(with_full[k], with_full);
        index->grids_.shrink_to_fit();
        return index;
    } catch (const std::bad_alloc&) {
        return nullptr; // the tree answers without an index, only slower
    }
}

template <unsigned Dim>
bool cell_index<Dim>::frame_nodes(const placed_node<Dim>* nodes, unsigned n)
{
    point high;
    std::copy_n(nodes[0].p, Dim, base_.data);
    std::copy_n(nodes[0].p, Dim, high.data);
    double sum = 0; // not a number once it met one, or an infinity
    for (unsigned i = 0; i < n; ++i)
        for (unsigned d = 0; d < Dim; ++d) {
            const double x = nodes[i].p[d];
            base_[d] = std::min(base_[d], x);
            high[d] = std::max(high[d], x);
            sum += x * 0;
        }
    if (!(sum == 0)) return false;
    const int shift = choose_cells(high, n);
    if (shift < 0) return false;
    shift_ = unsigned(shift);
    std::array<unsigned, Dim> cells;
    for (unsigned d = 0; d < Dim; ++d) {
        top_[d] = whole(high[d], d);
        cells[d] = (unsigned(top_[d]) >> shift_) + 1;
    }
    grids_.start(shift_, cells);
    return true;
}

// Chooses the finest unit that keeps to the reach. Returns the shift of the narrowest cells that are
// not too many, or a negative number where squares of distances could overflow, or distances of a
// unit could underflow. A unit is less than 2^-26 times the largest coordinate, unless all nodes stand
// at one place: points that are asked for, within the reach, have coordinates below 2^18 times that.
template <unsigned Dim>
int cell_index<Dim>::choose_cells(const point& high, unsigned n)
{
    double largest = 0;
    double extent = 0;
    for (unsigned d = 0; d < Dim; ++d) {
        largest = std::max({largest, std::abs(base_[d]), std::abs(high[d])});
        extent = std::max(extent, high[d] - base_[d]);
    }
    if (largest > 0x1p490 || (extent > 0 && extent < 0x1p-300)) return -1;

    double edge = 1;
    if (extent > 0) {
        const auto cells = [&](double narrower) {
            double product = 1;
            for (unsigned d = 0; d < Dim; ++d)
                product *= std::floor((high[d] - base_[d]) / narrower) + 1;
            return product;
        };
        for (edge = 2 * extent; cells(edge * 0.9) * nodes_per_cell <= n;) edge *= 0.9;
    }
    int shift = bits - 1 - std::ilogb(extent / edge + 1);
    scale_ = std::ldexp(1 / edge, shift);
    for (; largest * scale_ > reach / 2; scale_ /= 2) --shift;
    return shift;
}

template <unsigned Dim>
std::int32_t cell_index<Dim>::whole(double x, unsigned d) const
{
    return std::int32_t((x - base_[d]) * scale_);
}

template <unsigned Dim>
void cell_index<Dim>::sort_into_cells(const placed_node<Dim>* nodes, unsigned n)
{
    const auto corner_of = [&](unsigned i) {
        corner at;
        for (unsigned d = 0; d < Dim; ++d) at[d] = whole(nodes[i].p[d], d);
        return at;
    };
    const grid all = grids_.at(grids::whole_box);
    unsigned* starts = grids_.starts(grids::whole_box);
    for (unsigned i = 0; i < n; ++i) ++starts[all.cell_of(corner_of(i))];
    grids_.count_up(grids::whole_box, 0);
    nodes_.resize(n);
    orders_.resize(n);
    for (unsigned i = n; i-- > 0;) {
        const corner at = corner_of(i);
        const unsigned to = --starts[all.cell_of(at)];
        nodes_[to] = {at, nodes[i].node};
        orders_[to] = {i, nodes[i].mark};
    }
}

// Whether the nodes of a cell stand in one with an edge of 2^shift units.
template <unsigned Dim>
bool cell_index<Dim>::stand_together(const cell& of, unsigned shift) const
{
    const auto of_first = [&](const stored& node) {
        for (unsigned d = 0; d < Dim; ++d)
            if (node.at[d] >> shift != nodes_[of.first].at[d] >> shift) return false;
        return true;
    };
    return std::all_of(nodes_.begin() + of.first, nodes_.begin() + of.last, of_first);
}

// Whether a cell holds too many nodes, and they can be parted.
template <unsigned Dim>
bool cell_index<Dim>::is_full(const cell& of) const
{
    return of.last - of.first > full && !stand_together(of, 0);
}

template <unsigned Dim>
auto cell_index<Dim>::cell_at(const grid& of, std::size_t number) const -> cell
{
    return {of.shift, of.starts[number], of.starts[number + 1]};
}

// Gives the last grid room for links, and notes it, if some of its cells are full.
template <unsigned Dim>
void cell_index<Dim>::link_full_cells(unsigned place, place_list& with_full)
{
    const grid made = grids_.at(place);
    const std::size_t cells = grids_.cells_in(place);
    std::size_t k = 0;
    while (k < cells && !is_full(cell_at(made, k))) ++k;
    if (k == cells) return;
    with_full.push_back(place);
    grids_.add_links(place);
}

template <unsigned Dim>
void cell_index<Dim>::cut_full_cells(unsigned place, place_list& with_full)
{
    const std::size_t cells = grids_.cells_in(place);
    for (std::size_t k = 0; k < cells; ++k) {
        const cell one = cell_at(grids_.at(place), k);
        if (is_full(one)) grids_.link(place, k, cut(one, with_full));
    }
}

// Appends a grid of as many cells as suits the nodes of a cell, and sorts them into it. Returns its
// place, or whole_box if they stay together: a few that crowd in a corner would take a grid at each of
// maybe many levels, and are soon looked through.
template <unsigned Dim>
unsigned cell_index<Dim>::cut(const cell& of, place_list& with_full)
{
    const unsigned count = of.last - of.first;
    unsigned halvings = 1;
    while (halvings < of.shift && (count / nodes_per_cell) >> (Dim * halvings) != 0) ++halvings;
    if (count <= large_crowd && stand_together(of, of.shift - halvings)) return grids::whole_box;
    const unsigned place = grids_.append(of.shift, halvings);
    if (place == grids::whole_box) return place;
    const grid made = grids_.at(place);
    unsigned* starts = grids_.starts(place);

    const std::vector<stored> nodes(nodes_.begin() + of.first, nodes_.begin() + of.last);
    const std::vector<order> orders(orders_.begin() + of.first, orders_.begin() + of.last);
    for (const stored& node : nodes) ++starts[made.cell_of(node.at)];
    grids_.count_up(place, of.first);
    for (std::size_t i = nodes.size(); i-- > 0;) {
        const unsigned to = --starts[made.cell_of(nodes[i].at)];
        nodes_[to] = nodes[i];
        orders_[to] = orders[i];
    }
    link_full_cells(place, with_full);
    return place;
}

// ---- searching

// Calls scan(first, last) for runs of nodes_ that include all between two corners, which are no
// further out than 0 and top_, and are not out of the scan's reach, until it returns false. False
// then, or if there is no room to note all grids that are to be searched.
template <unsigned Dim>
template <typename Scan>
bool cell_index<Dim>::scan_box(const corner& low, const corner& high, Scan& scan) const
{
    regions pending;
    for (region at{grids::whole_box, {}, 0};; at = pending.list[--pending.count]) {
        if (!scan.misses(at.away)) {
            const grid here = grids_.at(at.place);
            std::array<unsigned, 3> from{};
            std::array<unsigned, 3> to{};
            for (unsigned d = 0; d < Dim; ++d) {
                const std::int32_t end = std::int32_t(here.cells[d] << here.shift) - 1;
                from[d] = unsigned(std::max(low[d] - at.origin[d], 0)) >> here.shift;
                to[d] = unsigned(std::min(high[d] - at.origin[d], end)) >> here.shift;
            }
            // Rows of cells stand apart in memory: the wait for the first is the wait for several.
            rows near(here, to[0] - from[0] + 1);
            for (unsigned z = from[2]; z <= to[2]; ++z)
                for (unsigned y = from[1]; y <= to[1]; ++y) {
                    if (near.count == near.room) {
                        if (!scan_rows(near, scan, pending)) return false;
                        near.count = 0;
                    }
                    add_row(near, at.origin, {from[0], y, z}, scan);
                }
            if (!scan_rows(near, scan, pending)) return false;
        }
        if (pending.count == 0) return true;
    }
}

// Adds the row that begins with a cell, unless it is empty or out of reach.
template <unsigned Dim>
template <typename Scan>
void cell_index<Dim>::add_row(rows& to, const corner& origin, const std::array<unsigned, 3>& first,
                              const Scan& scan) const
{
    row& made = to.list[to.count]; // written in place: a copy would wait for the stores
    unsigned number = 0;
    for (unsigned d = Dim; d-- > 0;) {
        number = number * to.of.cells[d] + first[d];
        made.low[d] = origin[d] + std::int32_t(first[d] << to.of.shift);
    }
    made.away = 0;
    for (unsigned d = 1; d < Dim; ++d) made.away += scan.away(d, made.low[d], to.of.shift);
    if (scan.misses(made.away)) return;
    made.cell = number;
    made.first = to.of.starts[number];
    made.last = to.of.starts[number + to.cells];
    if (made.first == made.last) return;
    prefetch(nodes_.data() + made.first);
    ++to.count;
}

template <unsigned Dim>
template <typename Scan>
bool cell_index<Dim>::scan_rows(const rows& near, Scan& scan, regions& pending) const
{
    const grid& of = near.of;
    for (unsigned r = 0; r < near.count; ++r) {
        const row& one = near.list[r];
        if (scan.misses(one.away)) continue; // by now
        if (of.inner == nullptr || one.last - one.first <= full) {
            if (!scan(one.first, one.last)) return false;
            continue;
        }
        for (unsigned x = 0; x < near.cells; ++x) {
            region within{of.inner[one.cell + x], one.low, one.away};
            within.origin[0] += std::int32_t(x << of.shift);
            within.away += scan.away(0, within.origin[0], of.shift);
            if (scan.misses(within.away)) continue;
            grids_.ask_ahead(within.place);
            const unsigned* starts = of.starts + one.cell + x;
            if (within.place == grids::whole_box ? !scan(starts[0], starts[1])
                                                 : !pending.add(within))
                return false;
        }
    }
    return true;
}

// The whole number of a bound, brought into the range of the nodes'. It may meet a node on the bound,
// but since whole numbers never decrease, a node with a greater one is beyond the bound, and one with
// a lesser is not.
template <unsigned Dim>
std::int32_t cell_index<Dim>::bound(double x, unsigned d) const
{
    const double t = (x - base_[d]) * scale_;
    return t >= 0 ? std::int32_t(std::min(t, double(top_[d]) + 1)) : -1;
}

template <unsigned Dim>
struct cell_index<Dim>::box_search {
    const cell_index& index;
    const corner& low;
    const corner& high;
    box_candidates& found;

    static bool misses(double) { return false; }
    static double away(unsigned, std::int32_t, unsigned) { return 0; } // all must be scanned

    bool operator()(unsigned first, unsigned last)
    {
        for (unsigned i = first; i < last; ++i) {
            const stored& node = index.nodes_[i];
            bool outside = false;
            bool inside = true;
            for (unsigned d = 0; d < Dim; ++d) {
                outside |= node.at[d] < low[d] || node.at[d] > high[d];
                inside &= node.at[d] > low[d] && node.at[d] < high[d];
            }
            if (!outside && !found.add({index.orders_[i].entry, node.node, inside})) return false;
        }
        return true;
    }
};

template <unsigned Dim>
bool cell_index<Dim>::find_in_box(const point& lo, const point& hi, box_candidates& found) const
{
    corner low;
    corner high;
    corner from;
    corner to;
    for (unsigned d = 0; d < Dim; ++d) {
        if (std::isnan(lo[d])) return true; // nothing is at or above it
        low[d] = bound(lo[d], d);
        high[d] = std::isnan(hi[d]) ? top_[d] + 1 : bound(hi[d], d); // nothing is above it
        if (low[d] > high[d] || low[d] > top_[d] || high[d] < 0) return true;
        from[d] = std::max(low[d], 0);
        to[d] = std::min(high[d], top_[d]);
    }
    if (cells_between(from, to) > cells_at_most) return false;
    box_search search{*this, low, high, found};
    return scan_box(from, to, search);
}

template <unsigned Dim>
struct cell_index<Dim>::nearest_search {
    nearest_search(const cell_index& at, unsigned other_than, neighbours& into,
                   const node_places* known)
        : index(at), rejected(other_than), found(into), places(known)
    {
    }

    const cell_index& index;
    double q[Dim];
    unsigned rejected;
    neighbours& found;
    const node_places* places;
    double best = infinity;  // least square of a distance so far
    double limit = infinity; // square of a distance beyond which a node is out of the question
    double reach = 0;        // square of the distance up to which nodes are looked for
    double squares[neighbours::room];

    // Whether what is as far away, by the square of the distance, is out of reach or out of the
    // question.
    bool misses(double away) const { return away > std::min(limit, reach); }

    // The square of the distance along one axis to what begins at low and is 2^shift units long.
    double away(unsigned d, std::int32_t low, unsigned shift) const
    {
        const std::int32_t high = low + (std::int32_t(1) << shift);
        return square(std::max({low - q[d], q[d] - high, 0.0}));
    }

    bool operator()(unsigned first, unsigned last)
    {
        for (unsigned i = first; i < last; ++i) {
            double sum = 0;
            for (unsigned d = 0; d < Dim; ++d) sum += square(index.nodes_[i].at[d] - q[d]);
            if (sum <= limit && !take(i, sum)) return false;
        }
        return true;
    }

    // False if there is no room.
    bool take(unsigned i, double sum)
    {
        if (index.nodes_[i].node == rejected) {
            found.rejected_place = i;
            return true;
        }
        if (sum < best) {
            best = sum;
            limit = square(std::sqrt(sum) + slack);
            unsigned kept = 0;
            for (unsigned k = 0; k < found.count; ++k)
                if (squares[k] <= limit) {
                    squares[kept] = squares[k];
                    found.list[kept++] = found.list[k];
                }
            found.count = kept;
        }
        if (found.count < neighbours::room) squares[found.count] = sum;
        if (!found.add({index.nodes_[i].node, i})) return false;
        if (found.count == 2) ask_ahead(0);
        if (found.count > 1) ask_ahead(found.count - 1);
        return true;
    }

    void ask_ahead(unsigned k) const
    {
        prefetch(&index.orders_[found.list[k].place]);
        if (places != nullptr) prefetch((*places)[found.list[k].node]);
    }
};

template <unsigned Dim>
bool cell_index<Dim>::find_nearest(const point& q, unsigned rejected, neighbours& found,
                                   const node_places* places) const
{
    nearest_search search(*this, rejected, found, places);
    corner at;
    for (unsigned d = 0; d < Dim; ++d) {
        if (!(std::abs(q[d]) * scale_ <= reach)) return false; // negated for NaN
        search.q[d] = (q[d] - base_[d]) * scale_ - 0.5;        // nodes stand amid their units
        at[d] = std::clamp(bound(q[d], d), 0, top_[d]);
    }
    // What stands in the cell around q tells how far to look, more often than not.
    const cell home = grids_.cell_around(at);
    search(home.first, home.last);
    // With three nodes to a cell this is just above their distance on a regular lattice.
    double radius = std::min(std::sqrt(search.best) + slack, 0.715 * double(1u << home.shift));
    for (;;) {
        corner low;
        corner high;
        bool all = true;
        for (unsigned d = 0; d < Dim; ++d) {
            const double top = top_[d];
            low[d] = std::int32_t(std::clamp(search.q[d] - radius - 1, 0.0, top));
            high[d] = std::int32_t(std::clamp(search.q[d] + radius + 2, 0.0, top));
            all = all && low[d] == 0 && high[d] == top_[d];
        }
        if (cells_between(low, high) > cells_at_most) return false;
        if (all) radius = infinity; // for there is nothing beyond
        found.count = 0;
        search.reach = square(radius);
        if (!scan_box(low, high, search)) return false;
        const double needed = std::sqrt(search.best) + slack;
        if (needed <= radius) return found.count != 0;
        radius = search.best < infinity ? needed : 1.5 * radius;
    }
}

template <unsigned Dim>
std::size_t cell_index<Dim>::cells_between(const corner& low, const corner& high) const
{
    std::size_t cells = 1;
    for (unsigned d = 0; d < Dim; ++d)
        cells *= (unsigned(high[d]) >> shift_) - (unsigned(low[d]) >> shift_) + 1;
    return cells;
}

template class cell_index<2>;
template class cell_index<3>;

} // namespace kz3::lattiq::detail
