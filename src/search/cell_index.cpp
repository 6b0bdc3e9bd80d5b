#include "search/cell_index.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "core/prefetch.h"
namespace kz3::lattiq::detail {
namespace {

constexpr unsigned nodes_per_cell = 3; // on average, where they are spread evenly
constexpr unsigned full = 16;          // more nodes, and a cell is cut
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

// What the nearest row holds spares the search many of the others.
template <typename Rows, typename Scan>
void bring_nearest_first(Rows& rows, const Scan& scan)
{
    unsigned nearest = 0;
    double least = infinity;
    for (unsigned r = 0; r < rows.count; ++r) {
        const double away = scan.away(rows.list[r].low, rows.list[r].edge);
        nearest = away < least ? r : nearest;
        least = std::min(least, away);
    }
    if (nearest != 0) std::swap(rows.list[0], rows.list[nearest]);
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
        index->sort_into_cells(nodes, n);
        for (unsigned g = 0; g < index->grids_.size(); ++g) index->cut_full_cells(g);
        index->grids_.shrink_to_fit();
        index->starts_.shrink_to_fit();
        index->links_.shrink_to_fit();
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
    if (!(sum == 0) || !choose_cells(high, n)) return false;
    for (unsigned d = 0; d < Dim; ++d) {
        top_[d] = whole(high[d], d);
        grids_[0].cells[d] = (unsigned(top_[d]) >> grids_[0].shift) + 1;
    }
    return true;
}

// The narrowest cells that are not too many, and the finest unit that keeps to the reach. False where
// squares of distances could overflow, or distances of a unit could underflow.
template <unsigned Dim>
bool cell_index<Dim>::choose_cells(const point& high, unsigned n)
{
    double largest = 0;
    double extent = 0;
    for (unsigned d = 0; d < Dim; ++d) {
        largest = std::max({largest, std::abs(base_[d]), std::abs(high[d])});
        extent = std::max(extent, high[d] - base_[d]);
    }
    if (largest > 0x1p500 || (extent > 0 && extent < 0x1p-300)) return false;

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
    grids_.push_back({unsigned(shift), {}, 0, no_links});
    return shift >= 0;
}

template <unsigned Dim>
std::int32_t cell_index<Dim>::whole(double x, unsigned d) const
{
    return std::int32_t((x - base_[d]) * scale_);
}

// The place in starts_ of the cell around a corner. A grid within a cell begins at a multiple of its
// own extent, which is a power of 2.
template <unsigned Dim>
std::size_t cell_index<Dim>::cell_of(const grid& of, const corner& at) const
{
    const bool within = &of != grids_.data();
    std::size_t cell = 0;
    for (unsigned d = Dim; d-- > 0;) {
        const unsigned k = unsigned(at[d]) >> of.shift;
        cell = cell * of.cells[d] + (within ? k & (of.cells[d] - 1) : k);
    }
    return of.first + cell;
}

template <unsigned Dim>
void cell_index<Dim>::sort_into_cells(const placed_node<Dim>* nodes, unsigned n)
{
    const auto corner_of = [&](unsigned i) {
        corner at;
        for (unsigned d = 0; d < Dim; ++d) at[d] = whole(nodes[i].p[d], d);
        return at;
    };
    const grid& all = grids_[0];
    std::size_t cells = 1;
    for (const unsigned count : all.cells) cells *= count;
    starts_.assign(cells + 1, 0);
    for (unsigned i = 0; i < n; ++i) ++starts_[cell_of(all, corner_of(i))];
    unsigned sum = 0;
    for (unsigned& start : starts_) start = sum += start;
    nodes_.resize(n);
    orders_.resize(n);
    for (unsigned i = n; i-- > 0;) {
        const corner at = corner_of(i);
        const unsigned to = --starts_[cell_of(all, at)];
        nodes_[to] = {at, nodes[i].node};
        orders_[to] = {i, nodes[i].mark};
    }
}

template <unsigned Dim>
bool cell_index<Dim>::all_at_one_place(unsigned first, unsigned last) const
{
    return std::all_of(nodes_.begin() + first, nodes_.begin() + last,
                       [&](const stored& node) { return node.at == nodes_[first].at; });
}

// Appends a grid for each cell of a grid that holds too many nodes.
template <unsigned Dim>
void cell_index<Dim>::cut_full_cells(unsigned g)
{
    const unsigned shift = grids_[g].shift;
    if (shift == 0) return;
    std::size_t cells = 1;
    for (const unsigned count : grids_[g].cells) cells *= count;
    for (std::size_t cell = 0; cell < cells; ++cell) {
        const unsigned first = starts_[grids_[g].first + cell];
        const unsigned last = starts_[grids_[g].first + cell + 1];
        if (last - first <= full || all_at_one_place(first, last)) continue;
        if (grids_[g].first_link == no_links) {
            grids_[g].first_link = links_.size();
            links_.resize(links_.size() + cells);
        }
        links_[grids_[g].first_link + cell] = unsigned(grids_.size());
        cut_cell(first, last, shift);
    }
}

// Appends a grid of as many cells as suits these nodes, and sorts them into it.
template <unsigned Dim>
void cell_index<Dim>::cut_cell(unsigned first, unsigned last, unsigned shift)
{
    unsigned halvings = 1;
    while (halvings < shift && ((last - first) / nodes_per_cell) >> (Dim * halvings) != 0)
        ++halvings;
    const std::size_t cells = std::size_t(1) << (Dim * halvings);
    grids_.push_back({shift - halvings, {}, starts_.size(), no_links});
    grids_.back().cells.fill(1u << halvings);
    const grid& made = grids_.back();
    starts_.resize(starts_.size() + cells + 1);

    const std::vector<stored> nodes(nodes_.begin() + first, nodes_.begin() + last);
    const std::vector<order> orders(orders_.begin() + first, orders_.begin() + last);
    for (const stored& node : nodes) ++starts_[cell_of(made, node.at)];
    unsigned sum = first;
    for (std::size_t cell = 0; cell <= cells; ++cell) {
        unsigned& start = starts_[made.first + cell];
        start = sum += start;
    }
    for (std::size_t i = nodes.size(); i-- > 0;) {
        const unsigned to = --starts_[cell_of(made, nodes[i].at)];
        nodes_[to] = nodes[i];
        orders_[to] = orders[i];
    }
}

// ---- searching

// Calls scan(first, last) for runs of nodes_ that include all between two corners, which are no
// further out than 0 and top_, and are not out of the scan's reach, until it returns false. False
// then, or if there is no room to note all grids that are to be searched.
template <unsigned Dim>
template <typename Scan>
bool cell_index<Dim>::scan_box(const corner& low, const corner& high, Scan&& scan) const
{
    fixed_list<region, 1000> pending;
    region at{0, {}};
    for (;;) {
        const grid& here = grids_[at.grid];
        std::array<unsigned, 3> from{};
        std::array<unsigned, 3> to{};
        for (unsigned d = 0; d < Dim; ++d) {
            const std::int32_t end = std::int32_t(here.cells[d] << here.shift) - 1;
            from[d] = unsigned(std::max(low[d] - at.origin[d], 0)) >> here.shift;
            to[d] = unsigned(std::min(high[d] - at.origin[d], end)) >> here.shift;
        }
        // Rows of cells stand apart in memory: the wait for the first is the wait for several.
        fixed_list<row, 16> rows;
        for (unsigned z = from[2]; z <= to[2]; ++z)
            for (unsigned y = from[1]; y <= to[1]; ++y) {
                const row one = row_of(at, {from[0], y, z}, to[0]);
                if (one.first == one.last || scan.misses(one.low, one.edge)) continue;
                prefetch(nodes_.data() + one.first);
                if (rows.add(one)) continue;
                if (!scan_rows(rows, at, scan, pending)) return false;
                rows.count = 0;
                rows.add(one);
            }
        if (!scan_rows(rows, at, scan, pending)) return false;
        if (pending.count == 0) return true;
        at = pending.list[--pending.count];
    }
}

// The cells from a given one up to another along the first axis.
template <unsigned Dim>
auto cell_index<Dim>::row_of(const region& of, const std::array<unsigned, 3>& cell,
                             unsigned end) const -> row
{
    const grid& here = grids_[of.grid];
    row made;
    std::size_t number = 0;
    for (unsigned d = Dim; d-- > 0;) {
        number = number * here.cells[d] + cell[d];
        made.low[d] = of.origin[d] + std::int32_t(cell[d] << here.shift);
    }
    made.cell = number;
    made.cells = end - cell[0] + 1;
    made.edge = std::int32_t(1) << here.shift;
    made.first = starts_[here.first + number];
    made.last = starts_[here.first + number + made.cells];
    return made;
}

template <unsigned Dim>
template <typename Scan>
bool cell_index<Dim>::scan_rows(fixed_list<row, 16>& rows, const region& of, Scan& scan,
                                fixed_list<region, 1000>& pending) const
{
    const grid& here = grids_[of.grid];
    bring_nearest_first(rows, scan);
    for (unsigned r = 0; r < rows.count; ++r) {
        const row& one = rows.list[r];
        if (scan.misses(one.low, one.edge)) continue; // by now
        if (here.first_link == no_links || one.last - one.first <= full) {
            if (!scan(one.first, one.last)) return false;
            continue;
        }
        const unsigned* starts = starts_.data() + here.first + one.cell;
        for (unsigned x = 0; x < one.cells; ++x) {
            region inner{links_[here.first_link + one.cell + x], one.low};
            inner.origin[0] += std::int32_t(x) * one.edge;
            const bool room = inner.grid == 0 ? scan(starts[x], starts[x + 1]) : pending.add(inner);
            if (!room) return false;
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

    static bool misses(const corner&, std::int32_t) { return false; }
    static double away(const corner&, std::int32_t) { return 0; } // all must be scanned

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
    return scan_box(from, to, box_search{*this, low, high, found});
}

template <unsigned Dim>
struct cell_index<Dim>::nearest_search {
    const cell_index& index;
    double q[Dim];
    unsigned rejected;
    neighbours& found;
    const node_places* places;
    double best = infinity;  // least square of a distance so far
    double limit = infinity; // square of a distance beyond which a node is out of the question
    double reach = 0;        // square of the distance up to which nodes are looked for
    double squares[neighbours::room] = {};
    bool room = true;

    // Whether a row of cells, of an edge and with a lowest corner, is out of reach or out of the
    // question.
    bool misses(const corner& low, std::int32_t edge) const
    {
        return away(low, edge) > std::min(limit, reach);
    }

    // The square of the distance to a row, if it went on without end along the first axis.
    double away(const corner& low, std::int32_t edge) const
    {
        double sum = 0;
        for (unsigned d = 1; d < Dim; ++d)
            sum += square(std::max({low[d] - q[d], q[d] - low[d] - edge, 0.0}));
        return sum;
    }

    bool operator()(unsigned first, unsigned last)
    {
        for (unsigned i = first; i < last; ++i) {
            double sum = 0;
            for (unsigned d = 0; d < Dim; ++d) sum += square(index.nodes_[i].at[d] - q[d]);
            if (sum <= limit) take(i, sum);
        }
        return true;
    }

    void take(unsigned i, double sum)
    {
        if (index.nodes_[i].node == rejected) {
            found.rejected_place = i;
            return;
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
        room = found.add({index.nodes_[i].node, i}) && room;
        if (found.count == 2) ask_ahead(0);
        if (found.count > 1) ask_ahead(found.count - 1);
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
    nearest_search search{*this, {}, rejected, found, places};
    corner at;
    for (unsigned d = 0; d < Dim; ++d) {
        if (!(std::abs(q[d]) * scale_ <= reach)) return false; // negated for NaN
        search.q[d] = (q[d] - base_[d]) * scale_ - 0.5;        // nodes stand amid their units
        at[d] = std::clamp(bound(q[d], d), 0, top_[d]);
    }
    // With three nodes to a cell this is just above their distance on a regular lattice.
    double radius = std::ldexp(0.715, int(edge_around(at)));
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
        search.best = search.limit = infinity;
        search.reach = square(radius);
        if (!scan_box(low, high, search)) return false;
        const double needed = std::sqrt(search.best) + slack;
        if (!search.room) return false;
        if (needed <= radius) return found.count != 0;
        radius = found.count != 0 ? needed : 1.5 * radius;
    }
}

// The edge of the smallest cell around a corner is 2 to the power of the result.
template <unsigned Dim>
unsigned cell_index<Dim>::edge_around(const corner& at) const
{
    for (unsigned g = 0;;) {
        const grid& here = grids_[g];
        if (here.first_link == no_links) return here.shift;
        g = links_[here.first_link + (cell_of(here, at) - here.first)];
        if (g == 0) return here.shift;
    }
}

template <unsigned Dim>
std::size_t cell_index<Dim>::cells_between(const corner& low, const corner& high) const
{
    std::size_t cells = 1;
    for (unsigned d = 0; d < Dim; ++d)
        cells *= (unsigned(high[d]) >> grids_[0].shift) - (unsigned(low[d]) >> grids_[0].shift) + 1;
    return cells;
}

template class cell_index<2>;
template class cell_index<3>;

} // namespace kz3::lattiq::detail
