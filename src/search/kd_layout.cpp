#include "search/kd_layout.h"

#include <algorithm>
#include <limits>

#include <kz3/lattiq/element_type.h>

#include "search/pending_stack.h"

namespace kz3::lattiq::detail {
namespace {

// A subtree not yet laid out: its nodes in the order of insertion.
template <unsigned Dim>
struct subtree {
    unsigned first;
    unsigned last;
    unsigned axis;
    unsigned rank;   // of its first entry in the order of visits
    double low[Dim]; // no node is below these
};

template <unsigned Dim>
visit_mark mark_of(const placed_node<Dim>& root, const subtree<Dim>& at)
{
    unsigned bounded = 0;
    for (unsigned d = 0; d < Dim; ++d) bounded |= unsigned(root.p[d] == at.low[d]) << d;
    return {at.rank, at.axis, bounded};
}

// Moves the nodes of [first, last) whose coordinate is below the split value before the others; both
// keep their order. Returns the first of the others. Each node is written to both sides, as a jump
// would be guessed wrong every other time.
template <unsigned Dim>
unsigned part(placed_node<Dim>* nodes, unsigned first, unsigned last, unsigned axis, double split,
              placed_node<Dim>* spare)
{
    unsigned left = first;
    unsigned right = 0;
    for (unsigned i = first; i < last; ++i) {
        const placed_node<Dim> node = nodes[i];
        const bool below = split > node.p[axis];
        nodes[left] = node;
        spare[right] = node;
        left += below ? 1 : 0;
        right += below ? 0 : 1;
    }
    std::copy_n(spare, right, nodes + left);
    return left;
}

} // namespace

template <unsigned Dim>
std::size_t lay_out_tree(placed_node<Dim>* nodes, unsigned n, placed_node<Dim>* spare,
                         unsigned* entries)
{
    pending_stack<subtree<Dim>, 64> pending;
    subtree<Dim> at{0, n, 0, 0, {}};
    std::fill_n(at.low, Dim, -std::numeric_limits<double>::infinity());
    std::size_t compared = 0;
    for (;;) {
        while (at.first != at.last) {
            const unsigned root = at.first++;
            const double split = nodes[root].p[at.axis];
            unsigned right = at.first;
            // Nothing is below what nothing was below before, nor below what is not a number: this
            // spares a chain of coincident nodes all but its first comparisons.
            if (split > at.low[at.axis]) {
                right = part<Dim>(nodes, at.first, at.last, at.axis, split, spare);
                compared += at.last - at.first;
            }
            unsigned* words = entries + std::size_t(root) * 3;
            words[0] = nodes[root].node;
            words[1] = right != at.first ? at.first : NO_NODE;
            words[2] = right != at.last ? right : NO_NODE;
            nodes[root].mark = mark_of<Dim>(nodes[root], at);

            ++at.rank;
            subtree<Dim> upper = at;
            upper.first = right;
            at.rank += at.last - right;
            upper.low[at.axis] = std::max(at.low[at.axis], split);
            upper.axis = at.axis = at.axis + 1 == Dim ? 0 : at.axis + 1;
            at.last = right;
            if (at.first == at.last)
                at = upper;
            else if (upper.first != upper.last)
                pending.push(upper);
        }
        if (pending.empty()) return compared;
        at = pending.pop();
    }
}

template std::size_t lay_out_tree<2>(placed_node<2>*, unsigned, placed_node<2>*, unsigned*);
template std::size_t lay_out_tree<3>(placed_node<3>*, unsigned, placed_node<3>*, unsigned*);

} // namespace kz3::lattiq::detail
