#include "search/kd_layout.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include <kz3/lattiq/element_type.h>

#include "search/pending_stack.h"

namespace kz3::lattiq::detail {
namespace {

// A subtree not yet laid out. Its nodes stand where its entries will, in the list or in the spare room,
// in the order of insertion or backward.
template <unsigned Dim>
struct subtree {
    unsigned first;
    unsigned last;
    unsigned axis;
    unsigned rank; // of its first entry in the order of visits
    unsigned room; // 0 for the list, 1 for the spare room
    bool backward;
    double low[Dim]; // no node is below these

    unsigned root() const { return backward ? last - 1 : first; }

    // The root splits the others at its coordinate; those from right on are not below.
    void go_left(unsigned right)
    {
        rank += 1 + last - right;
        last = right;
        ++first;
        backward = false;
        turn();
    }

    void go_right(unsigned right, double split)
    {
        ++rank;
        first = right;
        low[axis] = std::max(low[axis], split);
        turn();
    }

    void turn() { axis = axis + 1 == Dim ? 0 : axis + 1; }
};

// Moves nodes, read forward or backward, into n places: those whose coordinate is below the split value
// to the front in the order read, the others to the back in reverse. Returns the number of the former.
// The place is computed, as a jump would be guessed wrong every other time.
template <unsigned Dim>
unsigned part(const placed_node<Dim>* from, std::ptrdiff_t step, unsigned n, unsigned axis,
              double split, placed_node<Dim>* to)
{
    unsigned others = 0;
    for (unsigned i = 0; i < n; ++i, from += step) {
        const unsigned above = split > from->p[axis] ? 0 : 1;
        const unsigned place = i ^ ((i ^ (n - 1)) & (0 - above));
        to[place - others] = *from;
        others += above;
    }
    return n - others;
}

template <unsigned Dim>
class tree_layout {
public:
    tree_layout(placed_node<Dim>* nodes, placed_node<Dim>* spare, unsigned* entries)
        : rooms_{nodes, spare}, entries_(entries)
    {
    }

    std::size_t lay_out(unsigned n)
    {
        subtree<Dim> at{0, n, 0, 0, 0, false, {}};
        std::fill_n(at.low, Dim, -std::numeric_limits<double>::infinity());
        for (;;) {
            while (at.last - at.first > 1) put_root(at);
            if (at.first != at.last) put(at, rooms_[at.room][at.first], at.last);
            if (pending_.empty()) return compared_;
            at = pending_.pop();
        }
    }

private:
    // Puts the root of a subtree that has others too, and makes it what remains to be done first. A
    // single node on the right is put at once.
    void put_root(subtree<Dim>& at)
    {
        const placed_node<Dim> root = rooms_[at.room][at.root()];
        const double split = root.p[at.axis];
        const unsigned right = part_others(at, split);
        put(at, root, right);
        if (right == at.first + 1) return at.go_right(right, split);
        if (right != at.last) {
            const bool alone = at.last - right == 1;
            subtree<Dim> single;
            subtree<Dim>& upper = alone ? single : pending_.push();
            upper = at;
            upper.go_right(right, split);
            if (alone) put(upper, rooms_[upper.room][right], upper.last);
        }
        at.go_left(right);
    }

    // Parts the nodes of a subtree but its root by a split value, into the other room. Returns where
    // those begin that are not below; they stand backward then, if the subtree says so.
    //
    // Nothing is below what nothing was below before, nor below what is not a number: this spares a
    // chain of coincident nodes all but its first comparisons.
    unsigned part_others(subtree<Dim>& at, double split)
    {
        const bool parts = split > at.low[at.axis];
        unsigned right = at.first + 1;
        if (!parts && !at.backward) return right;
        const unsigned others = at.last - right;
        const placed_node<Dim>* from = rooms_[at.room] + (at.backward ? at.last - 2 : right);
        placed_node<Dim>* to = rooms_[1 - at.room] + right;
        if (parts) {
            right += part<Dim>(from, at.backward ? -1 : 1, others, at.axis, split, to);
            compared_ += others;
        } else {
            std::reverse_copy(from + 1 - others, from + 1, to);
        }
        at.room = 1 - at.room;
        at.backward = parts;
        return right;
    }

    void put(const subtree<Dim>& at, const placed_node<Dim>& node, unsigned right)
    {
        unsigned* words = entries_ + std::size_t(at.first) * 3;
        words[0] = node.node;
        words[1] = right != at.first + 1 ? at.first + 1 : NO_NODE;
        words[2] = right != at.last ? right : NO_NODE;
        unsigned bounded = 0;
        for (unsigned d = 0; d < Dim; ++d) bounded |= unsigned(node.p[d] == at.low[d]) << d;
        placed_node<Dim>& to = rooms_[0][at.first];
        to = node;
        to.mark = visit_mark(at.rank, at.axis, bounded);
    }

    placed_node<Dim>* rooms_[2];
    unsigned* entries_;
    pending_stack<subtree<Dim>, 64> pending_;
    std::size_t compared_ = 0;
};

} // namespace

template <unsigned Dim>
std::size_t lay_out_tree(placed_node<Dim>* nodes, unsigned n, placed_node<Dim>* spare,
                         unsigned* entries)
{
    return tree_layout<Dim>(nodes, spare, entries).lay_out(n);
}

template std::size_t lay_out_tree<2>(placed_node<2>*, unsigned, placed_node<2>*, unsigned*);
template std::size_t lay_out_tree<3>(placed_node<3>*, unsigned, placed_node<3>*, unsigned*);

} // namespace kz3::lattiq::detail
