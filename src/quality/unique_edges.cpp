#include "quality/unique_edges.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/id_set.h"
#include "quality/edge_table.h"

namespace kz3::lattiq::detail {
namespace {

/// Calls visit(a, b) for the edges of one kind of element. The loop over its edges is unrolled.
template <size_t Kind, typename Visitor>
void visit_kind(const dense2D<unsigned>& connectM, Visitor& visit)
{
    constexpr const edge_kind& kind = edge_kinds[Kind];
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        for (unsigned k = 0; k < kind.edges; ++k)
            visit(node[kind.rows[k][0]], node[kind.rows[k][1]]);
    }
}

template <typename Visitor>
void visit_mix(const dense2D<unsigned>& connectM, element_type mix, Visitor& visit)
{
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const edge_kind& kind = mixed_edge_kind(mix, node, connectM.rows);
        for (unsigned k = 0; k < kind.edges; ++k)
            visit(node[kind.rows[k][0]], node[kind.rows[k][1]]);
    }
}

template <typename Visitor, size_t... Kind>
void visit_matrix(const dense2D<unsigned>& connectM, element_type type, Visitor& visit,
                  std::index_sequence<Kind...>)
{
    if (connectM.empty()) return;
    if (type == ET_FACE_MIX || type == ET_SOLID_MIX) return visit_mix(connectM, type, visit);
    const edge_kind* kind = find_edge_kind(type);
    ((kind == &edge_kinds[Kind] ? visit_kind<Kind>(connectM, visit) : void()), ...);
}

/// Calls visit(a, b) for each edge of each element, in order.
template <typename Visitor>
void visit_edges(const meshes& of, Visitor visit)
{
    for (const auto* m = of.first; m != of.last; ++m)
        visit_matrix(*m, element_type(of.types[size_t(m - of.first)]), visit,
                     std::make_index_sequence<std::size(edge_kinds)>{});
}

/// Edges that visit_edges calls for, at most.
size_t edges_met(const meshes& of)
{
    size_t n = 0;
    for (const auto* m = of.first; m != of.last; ++m) {
        const auto type = element_type(of.types[size_t(m - of.first)]);
        const edge_kind* kind = find_edge_kind(type);
        const unsigned of_mix = type == ET_FACE_MIX ? 4 : type == ET_SOLID_MIX ? 12 : 0;
        if (!m->empty()) n += m->cols * (kind ? kind->edges : of_mix);
    }
    return n;
}

} // namespace

edge_rows::edge_rows(const meshes& of, size_t bound) : ends_(bound + 1)
{
    visit_edges(of, [this](unsigned a, unsigned b) { ++ends_[std::min(a, b) + 1]; });
    for (size_t row = 0; row < bound; ++row) ends_[row + 1] += ends_[row];
    entries_.resize(ends_[bound]);
    // The start of each row moves up to its end while the row fills.
    visit_edges(of, [this](unsigned a, unsigned b) {
        entries_[ends_[std::min(a, b)]++] = 2 * std::max(a, b) + (a > b ? 1U : 0U);
    });
    keep_first();
}

void edge_rows::keep_first()
{
    std::vector<unsigned> marks(ends_.size(), NO_NODE); // the last row that had an edge to the node
    unsigned kept = 0;
    unsigned i = 0;
    for (unsigned row = 0; row + 1 < ends_.size(); ++row) {
        for (; i < ends_[row]; ++i) {
            const unsigned entry = entries_[i];
            unsigned& mark = marks[entry / 2];
            entries_[kept] = entry;
            kept += mark != row ? 1U : 0U;
            mark = row;
        }
        ends_[row] = kept;
    }
    entries_.resize(kept);
}

unique_edges::unique_edges(const meshes& of)
{
    const size_t met = edges_met(of);
    size_t bound = 0;
    for (const auto* m = of.first; m != of.last; ++m)
        bound = std::max(bound, id_bound(*m, m->rows * m->cols));

    // Rows and marks for all IDs, as long as they cost no more than the edges do. Entries have 32
    // bits: positions among them, and an ID and a direction in each.
    if (bound / 4 <= met && met < NO_NODE && bound <= NO_NODE / 2) {
        rows_ = edge_rows(of, bound);
        layout_.emplace(size(), [this](auto visit) { rows_.visit_all(visit); });
    } else {
        visit_edges(of, [this](unsigned a, unsigned b) { set_.insert(a, b); });
        layout_.emplace(size(), [this](auto visit) { set_.visit_all(visit); });
    }
}

void unique_edges::write(edge* to)
{
    if (set_.size() == 0)
        layout_->write([this](auto visit) { rows_.visit_all(visit); }, to);
    else
        layout_->write([this](auto visit) { set_.visit_all(visit); }, to);
}

} // namespace kz3::lattiq::detail
