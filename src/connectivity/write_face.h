#pragma once

#include "core/element_table.h"

namespace kz3::lattiq::detail {

/// Writes local face F of a column as a column of a boundary of the type. One shorter than others is
/// filled up with NO_NODE.
template <element_type Type, element_type Kind, unsigned F>
void write_face(const unsigned* node, unsigned* face)
{
    constexpr unsigned nodes = kind_of<Kind>.face_nodes[F];
    constexpr unsigned rows = find_faced_type(Type)->boundary_rows;
    for (unsigned k = 0; k < nodes; ++k) face[k] = node[kind_of<Kind>.face_rows[F][k]];
    for (unsigned k = nodes; k < rows; ++k) face[k] = NO_NODE;
}

} // namespace kz3::lattiq::detail
