#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <utility>

#include <kz3/lattiq/element_type.h>

namespace kz3::lattiq {

using std::size_t;

namespace detail {

/// A first-order kind of element and its local faces. A face of a surface is an edge, one of a bar a
/// node.
struct element_kind {
    element_type type;
    unsigned corners;
    unsigned faces;
    unsigned face_nodes[6];   ///< nodes of each face
    unsigned face_rows[6][4]; ///< rows of the column that hold them, in the order of a boundary
};

/// The one numbering of local faces. In bars, triangles and tetrahedra face f lies opposite node f,
/// while face f of a quadrangle starts at node f; both keep their own numbers in a mixed mesh.
inline constexpr element_kind element_kinds[] = {
    // type, corners, faces, nodes of each face, rows of each face
    {ET_BAR2, 2, 2, {1, 1}, {{1}, {0}}},
    {ET_TRIA3, 3, 3, {2, 2, 2}, {{1, 2}, {2, 0}, {0, 1}}},
    {ET_QUAD4, 4, 4, {2, 2, 2, 2}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}},
    {ET_TETRA4, 4, 4, {3, 3, 3, 3}, {{1, 2, 3}, {2, 0, 3}, {1, 3, 0}, {2, 1, 0}}},
    {ET_PYRA5, 5, 5, {3, 3, 3, 3, 4}, {{0, 4, 1}, {1, 4, 2}, {2, 4, 3}, {3, 4, 0}, {0, 1, 2, 3}}},
    {ET_PENTA6,
     6,
     5,
     {3, 3, 4, 4, 4},
     {{0, 1, 2}, {3, 5, 4}, {2, 1, 4, 5}, {5, 3, 0, 2}, {0, 3, 4, 1}}},
    {ET_HEXA8,
     8,
     6,
     {4, 4, 4, 4, 4, 4},
     {{0, 3, 7, 4}, {1, 5, 6, 2}, {0, 4, 5, 1}, {3, 2, 6, 7}, {0, 1, 2, 3}, {4, 7, 6, 5}}},
};

/// A type of connectivity whose elements have faces: a kind of the table above or a mix of kinds.
struct faced_type {
    element_type type;
    unsigned rows;          ///< of the connectivity
    unsigned face_rows;     ///< of a matrix with one row per local face
    unsigned boundary_rows; ///< of a matrix with one column per face
    double face_multiplier; ///< distinct faces per element, for the size of a table
    bool skips_full_sum;    ///< faces whose nodes add up to 0xFFFFFFFF are never matched
};

inline constexpr faced_type faced_types[] = {
    // type, rows, face rows, boundary rows, face multiplier, skips full sum
    {ET_BAR2, 2, 2, 1, 1.0, false},     {ET_TRIA3, 3, 3, 2, 1.5, false},
    {ET_QUAD4, 4, 4, 2, 2.0, true},     {ET_FACE_MIX, 4, 4, 2, 1.75, true},
    {ET_TETRA4, 4, 4, 3, 2.0, false},   {ET_PYRA5, 5, 5, 4, 2.5, true},
    {ET_PENTA6, 6, 5, 4, 2.5, true},    {ET_HEXA8, 8, 6, 4, 3.0, true},
    {ET_SOLID_MIX, 8, 6, 4, 2.5, true},
};

/// The row of a first-order kind, null for every other type, the mixed ones included.
constexpr const element_kind* find_kind(element_type type)
{
    for (const element_kind& kind : element_kinds)
        if (kind.type == type) return &kind;
    return nullptr;
}

/// The row of a type whose elements have faces, null for every other type.
constexpr const faced_type* find_faced_type(element_type type)
{
    for (const faced_type& faced : faced_types)
        if (faced.type == type) return &faced;
    return nullptr;
}

/// Whether element_type_nodes may be indexed by the type. An element_type can hold any number.
constexpr bool in_node_table(element_type type)
{
    return type >= 0 && size_t(type) < std::size(element_type_nodes);
}

/// The row of one kind, as a constant.
template <element_type Type>
inline constexpr const element_kind& kind_of = *find_kind(Type);

/// The row of the kind of a column. A mixed column, of 4 or 8 rows, tells its kind by its first hole.
template <element_type Type>
constexpr const element_kind& column_kind([[maybe_unused]] const unsigned* node)
{
    if constexpr (Type == ET_FACE_MIX) {
        return node[3] == NO_NODE ? kind_of<ET_TRIA3> : kind_of<ET_QUAD4>;
    } else if constexpr (Type == ET_SOLID_MIX) {
        if (node[4] == NO_NODE) return kind_of<ET_TETRA4>;
        if (node[5] == NO_NODE) return kind_of<ET_PYRA5>;
        return node[6] == NO_NODE ? kind_of<ET_PENTA6> : kind_of<ET_HEXA8>;
    } else {
        return kind_of<Type>;
    }
}

/// Calls body with the type of the kind of a column as a constant, so that the loops of body over
/// faces and their nodes can be unrolled.
template <element_type Type, typename Body>
void with_column_kind([[maybe_unused]] const unsigned* node, Body&& body)
{
    const auto call = [&]<element_type Kind>() {
        body(std::integral_constant<element_type, Kind>{});
    };
    if constexpr (Type == ET_FACE_MIX) {
        node[3] == NO_NODE ? call.template operator()<ET_TRIA3>()
                           : call.template operator()<ET_QUAD4>();
    } else if constexpr (Type == ET_SOLID_MIX) {
        if (node[4] == NO_NODE)
            call.template operator()<ET_TETRA4>();
        else if (node[5] == NO_NODE)
            call.template operator()<ET_PYRA5>();
        else if (node[6] == NO_NODE)
            call.template operator()<ET_PENTA6>();
        else
            call.template operator()<ET_HEXA8>();
    } else {
        call.template operator()<Type>();
    }
}

/// Calls body with each local face of a kind as a constant, in order.
template <element_type Kind, typename Body>
void for_each_face(Body&& body)
{
    [&]<unsigned... F>(std::integer_sequence<unsigned, F...>)
    {
        (body(std::integral_constant<unsigned, F>{}), ...);
    }
    (std::make_integer_sequence<unsigned, kind_of<Kind>.faces>{});
}

/// Calls body with the type as a constant, an std::integral_constant. Once per matrix: what body
/// instantiates then has its loops over faces and rows unrolled. Nothing for a type without faces.
template <typename Body>
void with_faced_type(element_type type, Body&& body)
{
    [&]<size_t... I>(std::index_sequence<I...>)
    {
        (void)((faced_types[I].type == type &&
                (body(std::integral_constant<element_type, faced_types[I].type>{}), true)) ||
               ...);
    }
    (std::make_index_sequence<std::size(faced_types)>{});
}

constexpr bool faces_stay_in_column(const element_kind& kind)
{
    for (unsigned f = 0; f < kind.faces; ++f)
        for (unsigned k = 0; k < kind.face_nodes[f]; ++k)
            if (kind.face_rows[f][k] >= kind.corners) return false;
    return kind.corners == element_type_nodes[kind.type];
}

/// How many faces walk straight from row a to row b.
constexpr unsigned face_steps(const element_kind& kind, unsigned a, unsigned b)
{
    unsigned steps = 0;
    for (unsigned f = 0; f < kind.faces; ++f)
        for (unsigned k = 0; k < kind.face_nodes[f]; ++k)
            steps +=
                kind.face_rows[f][k] == a && kind.face_rows[f][(k + 1) % kind.face_nodes[f]] == b;
    return steps;
}

/// Whether the faces close around the element: along an edge of a solid two of them run, in opposite
/// directions.
constexpr bool faces_close(const element_kind& kind)
{
    for (unsigned a = 0; a < kind.corners; ++a)
        for (unsigned b = 0; b < kind.corners; ++b)
            if (face_steps(kind, a, b) > 1 || face_steps(kind, a, b) != face_steps(kind, b, a))
                return false;
    return true;
}

/// Whether the type has just the room that its kinds need; a mix takes the tallest of them.
constexpr bool fits_its_kinds(const faced_type& faced, std::initializer_list<element_type> types)
{
    unsigned rows = 0;
    unsigned face_rows = 0;
    unsigned boundary_rows = 0;
    for (const element_type type : types) {
        const element_kind& kind = *find_kind(type);
        rows = std::max(rows, kind.corners);
        face_rows = std::max(face_rows, kind.faces);
        for (const unsigned nodes : kind.face_nodes) boundary_rows = std::max(boundary_rows, nodes);
    }
    return faced.rows == rows && faced.face_rows == face_rows &&
           faced.boundary_rows == boundary_rows;
}

constexpr bool fits_its_kinds(const faced_type& faced)
{
    if (faced.type == ET_FACE_MIX) return fits_its_kinds(faced, {ET_TRIA3, ET_QUAD4});
    if (faced.type == ET_SOLID_MIX)
        return fits_its_kinds(faced, {ET_TETRA4, ET_PYRA5, ET_PENTA6, ET_HEXA8});
    return fits_its_kinds(faced, {faced.type});
}

static_assert(std::ranges::all_of(element_kinds, faces_stay_in_column));
static_assert(std::ranges::all_of(element_kinds, faces_close));
static_assert(std::ranges::all_of(faced_types, [](const auto& t) { return fits_its_kinds(t); }));

} // namespace detail
} // namespace kz3::lattiq
