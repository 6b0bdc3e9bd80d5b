#pragma once

#include "core/element_table.h"

namespace kz3::lattiq::detail {

/// Corner-to-corner edges of the elements of a kind, and of the higher-order kinds on the same
/// corners.
struct edge_kind {
    element_type type;
    element_type higher[2]; ///< ET_NONE where there are fewer
    unsigned edges;
    unsigned rows[12][2]; ///< rows of the column that hold the nodes of each edge
};

/// The one numbering of edges. That of the surfaces is the numbering of their faces in
/// core/element_table.h; solids have faces of their own there, with edges in no order of theirs.
/// ET_HEXA20 is left out on purpose: it has no edges here, though ET_HEXA27 has twelve.
inline constexpr edge_kind edge_kinds[] = {
    // type, higher, edges, rows of each edge
    {ET_BAR2, {ET_BAR3}, 1, {{0, 1}}},
    {ET_TRIA3, {ET_TRIA6}, 3, {{1, 2}, {2, 0}, {0, 1}}},
    {ET_QUAD4, {ET_QUAD8, ET_QUAD9}, 4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}},
    {ET_TETRA4, {ET_TETRA10}, 6, {{1, 2}, {2, 0}, {0, 1}, {3, 0}, {3, 1}, {3, 2}}},
    {ET_PYRA5, {ET_PYRA14}, 8, {{0, 4}, {1, 4}, {2, 4}, {3, 4}, {0, 1}, {1, 2}, {2, 3}, {3, 0}}},
    {ET_PENTA6,
     {ET_PENTA18},
     9,
     {{0, 3}, {1, 4}, {2, 5}, {1, 2}, {2, 0}, {0, 1}, {4, 5}, {5, 3}, {3, 4}}},
    {ET_HEXA8,
     {ET_HEXA27},
     12,
     {{0, 1},
      {1, 2},
      {2, 3},
      {3, 0},
      {4, 5},
      {5, 6},
      {6, 7},
      {7, 4},
      {0, 4},
      {1, 5},
      {2, 6},
      {3, 7}}},
};

/// The row of a type, null for the mixed ones and for those without edges.
constexpr const edge_kind* find_edge_kind(element_type type)
{
    if (type == ET_NONE) return nullptr;
    for (const edge_kind& kind : edge_kinds)
        if (kind.type == type || kind.higher[0] == type || kind.higher[1] == type) return &kind;
    return nullptr;
}

/// The row of one kind, as a constant.
template <element_type Type>
inline constexpr const edge_kind& edges_of = *find_edge_kind(Type);

/// The row of the kind of a column of a mixed type. Rows that a lower matrix does not have count as
/// holes.
constexpr const edge_kind& mixed_edge_kind(element_type mix, const unsigned* node, size_t rows)
{
    const auto ends_before = [&](size_t row) { return rows <= row || node[row] == NO_NODE; };
    if (mix == ET_FACE_MIX) return ends_before(3) ? edges_of<ET_TRIA3> : edges_of<ET_QUAD4>;
    if (ends_before(4)) return edges_of<ET_TETRA4>;
    if (ends_before(5)) return edges_of<ET_PYRA5>;
    return ends_before(6) ? edges_of<ET_PENTA6> : edges_of<ET_HEXA8>;
}

constexpr bool edges_are_faces(const edge_kind& kind, const element_kind& surface)
{
    for (unsigned k = 0; k < kind.edges; ++k)
        if (kind.rows[k][0] != surface.face_rows[k][0] ||
            kind.rows[k][1] != surface.face_rows[k][1])
            return false;
    return kind.edges == surface.faces;
}

/// Whether the edges are those along which the faces of the element run.
constexpr bool edges_bound_faces(const edge_kind& kind, const element_kind& solid)
{
    unsigned sides = 0;
    for (unsigned f = 0; f < solid.faces; ++f) sides += solid.face_nodes[f];
    for (unsigned k = 0; k < kind.edges; ++k)
        if (face_steps(solid, kind.rows[k][0], kind.rows[k][1]) != 1) return false;
    return 2 * kind.edges == sides;
}

static_assert(edges_are_faces(edges_of<ET_TRIA3>, kind_of<ET_TRIA3>));
static_assert(edges_are_faces(edges_of<ET_QUAD4>, kind_of<ET_QUAD4>));
static_assert(edges_bound_faces(edges_of<ET_TETRA4>, kind_of<ET_TETRA4>));
static_assert(edges_bound_faces(edges_of<ET_PYRA5>, kind_of<ET_PYRA5>));
static_assert(edges_bound_faces(edges_of<ET_PENTA6>, kind_of<ET_PENTA6>));
static_assert(edges_bound_faces(edges_of<ET_HEXA8>, kind_of<ET_HEXA8>));

} // namespace kz3::lattiq::detail
