#pragma once

#include <cstdint>

namespace kz3::lattiq {

/// Kinds of element. The kind of a connectivity is passed beside it.
///
/// The mixed kinds hold elements of several kinds in columns of one height:
/// - ET_FACE_MIX, 3 or 4 rows: a NO_NODE in row 3 of 4 marks a triangle, any other value a
///   quadrangle; with 3 rows all are triangles.
/// - ET_SOLID_MIX, 4, 5, 6 or 8 rows: the first NO_NODE among rows 4, 5 and 6 marks a tetrahedron, a
///   pyramid or a wedge, none of them a hexahedron; what stands below is never read.
enum element_type : std::int32_t {
    ET_NONE = 0,
    ET_NODE = 1,
    ET_BAR2 = 3,
    ET_BAR3 = 4,
    ET_FACE_MIX = 5,
    ET_TRIA3 = 6,
    ET_QUAD4 = 7,
    ET_TRIA6 = 8,
    ET_QUAD8 = 9,
    ET_QUAD9 = 10,
    ET_SOLID_MIX = 11,
    ET_TETRA4 = 12,
    ET_TETRA10 = 13,
    ET_PYRA5 = 14,
    ET_PYRA14 = 15,
    ET_PENTA6 = 16,
    ET_PENTA18 = 17,
    ET_HEXA8 = 18,
    ET_HEXA20 = 19,
    ET_HEXA27 = 20,
};

/// Nodes of an element by kind, 0 for the mixed kinds and the unassigned values 2 and 21. Indexed
/// without a range check: a caller passes a value from 0 to 21.
inline constexpr std::uint32_t element_type_nodes[22] = {0, 1, 0,  2, 3,  0, 3,  4, 6,  8,  9,
                                                         0, 4, 10, 5, 14, 6, 18, 8, 20, 27, 0};

/// The reserved node ID: a hole in a list, the end of a short element in a mixed column, a missing
/// counterpart in a mapping.
inline constexpr unsigned NO_NODE = 0xFFFFFFFF;

} // namespace kz3::lattiq
