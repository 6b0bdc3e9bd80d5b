#include "search/cell_index.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "core/prefetch.h"
#include "search/pending_stack.h"

namespace kz3::lattiq::detail {
namespace {

constexpr unsigned nodes_per_cell = 4; // on average, where they are spread evenly
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

} // namespace

// ---- making

template <unsigned Dim>
auto cell_index<Dim>::make(const placed_node<Dim>* nodes, unsigned n)
    -> std::shared_ptr<const cell_index>
{
    try {
        const auto index = std::make_shared<cell_index>();
        if (!index->frame_nodes(nodes, n)) return nullptr;
        index->sort_into_cells(nodes, n);
        index->cut_full_cells();
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
        cells_[d] = (unsigned(top_[d]) >> shift_) + 1;
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
    shift_ = unsigned(shift);
    return shift >= 0;
}

template <unsigned Dim>
std::int32_t cell_index<Dim>::whole(double x, unsigned d) const
{
    return std::int32_t((x - base_[d]) * scale_);
}

template <unsigned Dim>
std::size_t cell_index<Dim>::cell_of(const corner& at) const
{
    std::size_t cell = 0;
    for (unsigned d = Dim; d-- > 0;) cell = cell * cells_[d] + (unsigned(at[d]) >> shift_);
    return cell;
}

template <unsigned Dim>
void cell_index<Dim>::sort_into_cells(const placed_node<Dim>* nodes, unsigned n)
{
    const auto corner_of = [&](unsigned i) {
        corner at;
        for (unsigned d = 0; d < Dim; ++d) at[d] = whole(nodes[i].p[d], d);
        return at;
    };
    std::size_t cells = 1;
    for (const unsigned count : cells_) cells *= count;
    starts_.assign(cells + 1, 0);
    for (unsigned i = 0; i < n; ++i) ++starts_[cell_of(corner_of(i))];
    unsigned sum = 0;
    for (unsigned& start : starts_) start = sum += start;
    nodes_.resize(n);
    entries_.resize(n);
    for (unsigned i = n; i-- > 0;) {
        const corner at = corner_of(i);
        const unsigned place = --starts_[cell_of(at)];
        nodes_[place] = {at, nodes[i].node};
        entries_[place] = i;
    }
}

template <unsigned Dim>
void cell_index<Dim>::cut_full_cells()
{
    std::vector<part> pending;
    for (std::size_t cell = 0; cell + 1 < starts_.size(); ++cell) {
        const unsigned count = starts_[cell + 1] - starts_[cell];
        if (count <= full || shift_ == 0) continue;
        if (links_.empty()) {
            links_.assign(starts_.size() - 1, 0);
            cuts_.emplace_back(); // 0 stands for none
        }
        links_[cell] = unsigned(cuts_.size());
        cuts_.emplace_back();
        pending.push_back({starts_[cell], starts_[cell + 1], shift_ - 1, links_[cell]});
        while (!pending.empty()) {
            const part next = pending.back();
            pending.pop_back();
            cut_part(next, pending);
        }
    }
}

template <unsigned Dim>
void cell_index<Dim>::cut_part(const part& whole_part, std::vector<part>& pending)
{
    const auto [first, last, shift, link] = whole_part;
    const auto part_of = [shift = shift](const stored& node) {
        unsigned k = 0;
        for (unsigned d = 0; d < Dim; ++d) k |= (unsigned(node.at[d]) >> shift & 1u) << d;
        return k;
    };
    const std::vector<stored> nodes(nodes_.begin() + first, nodes_.begin() + last);
    const std::vector<unsigned> entries(entries_.begin() + first, entries_.begin() + last);
    std::array<unsigned, cut::parts> next{};
    for (const stored& node : nodes) ++next[part_of(node)];
    unsigned sum = first;
    for (unsigned k = 0; k < cut::parts; ++k) {
        cuts_[link].starts[k] = sum;
        sum += next[k];
        next[k] = cuts_[link].starts[k];
    }
    cuts_[link].starts[cut::parts] = last;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const unsigned place = next[part_of(nodes[i])]++;
        nodes_[place] = nodes[i];
        entries_[place] = entries[i];
    }
    for (unsigned k = 0; k < cut::parts; ++k) {
        const unsigned begin = cuts_[link].starts[k];
        const unsigned end = cuts_[link].starts[k + 1];
        if (end - begin <= full || shift == 0) continue;
        cuts_[link].cuts[k] = unsigned(cuts_.size());
        pending.push_back({begin, end, shift - 1, unsigned(cuts_.size())});
        cuts_.emplace_back();
    }
}

// ---- searching

// Calls scan(first, last) for runs of nodes_ that include all between two corners, which are no
// further out than 0 and top_.
template <unsigned Dim>
template <typename Scan>
void cell_index<Dim>::scan_box(const corner& low, const corner& high, Scan&& scan) const
{
    std::array<unsigned, 3> from{};
    std::array<unsigned, 3> to{};
    for (unsigned d = 0; d < Dim; ++d) {
        from[d] = unsigned(low[d]) >> shift_;
        to[d] = unsigned(high[d]) >> shift_;
    }
    const auto each_row = [&](auto visit) {
        for (unsigned z = from[2]; z <= to[2]; ++z)
            for (unsigned y = from[1]; y <= to[1]; ++y)
                visit((std::size_t(z) * cells_[1] + y) * cells_[0], y, z);
    };
    // Rows stand apart in memory: the wait for the first is the wait for all.
    each_row([&](std::size_t row, unsigned, unsigned) {
        prefetch(nodes_.data() + starts_[row + from[0]]);
    });
    each_row([&](std::size_t row, unsigned y, unsigned z) {
        const unsigned first = starts_[row + from[0]];
        const unsigned last = starts_[row + to[0] + 1];
        if (links_.empty() || last - first <= full) return scan(first, last);
        for (unsigned x = from[0]; x <= to[0]; ++x) {
            const std::array<unsigned, 3> cell{x, y, z};
            if (const unsigned link = links_[row + x])
                scan_cut(link, cell, low, high, scan);
            else
                scan(starts_[row + x], starts_[row + x + 1]);
        }
    });
}

template <unsigned Dim>
template <typename Scan>
void cell_index<Dim>::scan_cut(unsigned link, const std::array<unsigned, 3>& cell,
                               const corner& low, const corner& high, Scan&& scan) const
{
    struct frame {
        unsigned link;
        unsigned shift;
        corner origin;
    };
    // Each of at most 30 cuts leaves all of its parts but one.
    pending_stack<frame, std::size_t(bits) * cut::parts> pending;
    frame at{link, shift_ - 1, {}};
    for (unsigned d = 0; d < Dim; ++d) at.origin[d] = std::int32_t(cell[d] << shift_);
    for (;;) {
        const cut& here = cuts_[at.link];
        for (unsigned k = 0; k < cut::parts; ++k) {
            if (here.starts[k] == here.starts[k + 1]) continue;
            frame inner{here.cuts[k], at.shift - 1, at.origin};
            bool apart = false;
            for (unsigned d = 0; d < Dim; ++d) {
                inner.origin[d] += std::int32_t((k >> d & 1u) << at.shift);
                apart |= inner.origin[d] > high[d] ||
                         inner.origin[d] + ((std::int32_t(1) << at.shift) - 1) < low[d];
            }
            if (apart) continue;
            if (inner.link != 0)
                pending.push(inner);
            else
                scan(here.starts[k], here.starts[k + 1]);
        }
        if (pending.empty()) return;
        at = pending.pop();
    }
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
    bool room = true;
    scan_box(from, to, [&](unsigned first, unsigned last) {
        for (unsigned i = first; i < last; ++i) {
            const corner& at = nodes_[i].at;
            bool outside = false;
            bool inside = true;
            for (unsigned d = 0; d < Dim; ++d) {
                outside |= at[d] < low[d] || at[d] > high[d];
                inside &= at[d] > low[d] && at[d] < high[d];
            }
            if (outside) continue;
            room = found.add({entries_[i], nodes_[i].node, inside}) && room;
        }
    });
    return room;
}

template <unsigned Dim>
struct cell_index<Dim>::nearest_search {
    const cell_index& index;
    double q[Dim];
    unsigned rejected;
    nearest_candidates& found;
    double best = infinity;  // least square of a distance so far
    double limit = infinity; // square of a distance beyond which a node is out of the question
    double squares[nearest_candidates::room] = {};
    bool room = true;

    void operator()(unsigned first, unsigned last)
    {
        for (unsigned i = first; i < last; ++i) {
            double sum = 0;
            for (unsigned d = 0; d < Dim; ++d) sum += square(index.nodes_[i].at[d] - q[d]);
            if (sum <= limit) take(i, sum);
        }
    }

    void take(unsigned i, double sum)
    {
        if (index.nodes_[i].node == rejected) return;
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
        if (found.count < nearest_candidates::room) squares[found.count] = sum;
        room = found.add({index.entries_[i], index.nodes_[i].node, false}) && room;
    }
};

template <unsigned Dim>
bool cell_index<Dim>::find_nearest(const point& q, unsigned rejected,
                                   nearest_candidates& found) const
{
    nearest_search search{*this, {}, rejected, found};
    corner at;
    for (unsigned d = 0; d < Dim; ++d) {
        if (!(std::abs(q[d]) * scale_ <= reach)) return false; // negated for NaN
        search.q[d] = (q[d] - base_[d]) * scale_ - 0.5;        // nodes stand amid their units
        at[d] = std::clamp(bound(q[d], d), 0, top_[d]);
    }
    // Half the edge of the cell around finds a node more often than not.
    double radius = std::ldexp(0.5, int(edge_around(at)));
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
        found.count = 0;
        search.best = search.limit = infinity;
        scan_box(low, high, search);
        const double needed = std::sqrt(search.best) + slack;
        if (!search.room) return false;
        if (all || needed <= radius) return found.count != 0;
        radius = found.count != 0 ? needed : 2 * radius;
    }
}

// The edge of the smallest cell around a corner is 2 to the power of the result.
template <unsigned Dim>
unsigned cell_index<Dim>::edge_around(const corner& at) const
{
    unsigned shift = shift_;
    for (unsigned link = links_.empty() ? 0 : links_[cell_of(at)]; link != 0;) {
        --shift;
        unsigned k = 0;
        for (unsigned d = 0; d < Dim; ++d) k |= (unsigned(at[d]) >> shift & 1u) << d;
        link = cuts_[link].cuts[k];
    }
    return shift;
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
