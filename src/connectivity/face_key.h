#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "core/element_table.h"

namespace kz3::lattiq::detail {

/// Nodes in the key of a face of the type: as many as the largest face has.
template <element_type Type>
inline constexpr unsigned key_nodes = find_faced_type(Type)->boundary_rows;

/// The nodes of a face in an order that depends neither on where its cycle starts nor on its
/// direction, the smallest first: two faces are the same if and only if their keys are equal. A key
/// shorter than others of the type is filled up with NO_NODE, which is no node of a longer one.
template <element_type Type>
using face_key = std::array<unsigned, key_nodes<Type>>;

inline void sort_two(unsigned& a, unsigned& b)
{
    const unsigned low = std::min(a, b);
    b = std::max(a, b);
    a = low;
}

// Up to three nodes make a cycle in any order, so that it is enough to sort them. Nodes are handed
// over one by one and not as an array, which would pass through memory.

inline void write_key(unsigned* key, unsigned a)
{
    key[0] = a;
}

inline void write_key(unsigned* key, unsigned a, unsigned b)
{
    key[0] = std::min(a, b);
    key[1] = std::max(a, b);
}

inline void write_key(unsigned* key, unsigned a, unsigned b, unsigned c)
{
    sort_two(a, b);
    sort_two(b, c);
    sort_two(a, b);
    key[0] = a;
    key[1] = b;
    key[2] = c;
}

/// Two quadrangles are the same if they agree in the node that comes first of the smallest ones, in
/// the node opposite to it, and in the two between, whatever their order: that order is the direction
/// of the cycle. The key holds the diagonal from that node, then the other, both sorted.
inline void write_key(unsigned* key, unsigned a, unsigned b, unsigned c, unsigned d)
{
    // Where both diagonals hold the smallest node, the second has the first of them only if that is
    // b and not a.
    const bool b_before_a = c < a && b <= d;
    sort_two(a, c);
    sort_two(b, d);
    const bool second = b < a || (b == a && b_before_a);
    key[0] = second ? b : a;
    key[1] = second ? d : c;
    key[2] = second ? a : b;
    key[3] = second ? c : d;
}

/// Writes the key of local face F of a column. False if the type leaves the face out for its sum.
template <element_type Type, element_type Kind, unsigned F>
bool write_key_of(const unsigned* node, unsigned* key)
{
    constexpr unsigned nodes = kind_of<Kind>.face_nodes[F];
    constexpr const auto& rows = kind_of<Kind>.face_rows[F];
    [&]<size_t... K>(std::index_sequence<K...>)
    {
        write_key(key, node[rows[K]]...);
    }
    (std::make_index_sequence<nodes>{});
    for (unsigned k = nodes; k < key_nodes<Type>; ++k) key[k] = NO_NODE;

    unsigned sum = 0;
    for (unsigned k = 0; k < nodes; ++k) sum += node[rows[k]];
    return !find_faced_type(Type)->skips_full_sum || sum != 0xFFFFFFFF;
}

/// Compared without a branch: operator== calls memcmp, which costs more than keys so short.
template <size_t N>
bool same_nodes(const std::array<unsigned, N>& a, const std::array<unsigned, N>& b)
{
    unsigned differing = 0;
    for (size_t k = 0; k < N; ++k) differing |= a[k] ^ b[k];
    return differing == 0;
}

} // namespace kz3::lattiq::detail
