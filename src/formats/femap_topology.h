#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include <kz3/lattiq/element_type.h>

namespace kz3::lattiq::detail {

/// Slots for nodes in the record of an element of a FEMAP neutral file.
inline constexpr unsigned femap_slots = 20;

/// A kind of element in FEMAP neutral files.
struct femap_topology {
    element_type type;
    int code;                       ///< in the first line of the record
    std::uint8_t slot[femap_slots]; ///< of each row of the column; slots of no row are 0
};

/// The one numbering of FEMAP records, for writing and for reading. The code 11 belongs to no kind.
inline constexpr femap_topology femap_topologies[] = {
    {ET_NODE, 9, {0}},
    {ET_BAR2, 0, {0, 1}},
    {ET_BAR3, 1, {0, 1, 2}},
    {ET_TRIA3, 2, {0, 1, 2}},
    {ET_TRIA6, 3, {0, 1, 2, 4, 5, 3}},
    {ET_QUAD4, 4, {0, 1, 2, 3}},
    {ET_QUAD8, 5, {0, 1, 2, 3, 4, 5, 6, 7}},
    {ET_TETRA4, 6, {1, 0, 2, 4}},
    {ET_PENTA6, 7, {0, 1, 2, 4, 5, 6}},
    {ET_HEXA8, 8, {0, 1, 2, 3, 4, 5, 6, 7}},
    {ET_TETRA10, 10, {0, 2, 1, 4, 9, 8, 10, 12, 14, 13}},
    {ET_HEXA20, 12, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19}},
};

/// The row of a type, null for one that has none.
constexpr const femap_topology* find_femap_topology(element_type type)
{
    for (const femap_topology& topology : femap_topologies)
        if (topology.type == type) return &topology;
    return nullptr;
}

/// The row of a code, null for an unknown one.
constexpr const femap_topology* find_femap_topology(int code)
{
    for (const femap_topology& topology : femap_topologies)
        if (topology.code == code) return &topology;
    return nullptr;
}

/// Whether no two rows of a column share a slot, so that a record read back gives the column.
constexpr bool slots_differ(const femap_topology& topology)
{
    bool taken[femap_slots] = {};
    for (unsigned k = 0; k < element_type_nodes[topology.type]; ++k) {
        if (taken[topology.slot[k]]) return false;
        taken[topology.slot[k]] = true;
    }
    return true;
}

static_assert(std::ranges::all_of(femap_topologies, slots_differ));

} // namespace kz3::lattiq::detail
