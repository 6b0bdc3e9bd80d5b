#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include <kz3/dense2D.h>
#include <kz3/lattiq/core.h>
#include <kz3/lattiq/element_type.h>

#include "core/element_table.h"

/// Neighbours step by step: a vector per bucket, consumed marks, keys compared number by number and
/// cycles walked. Slow and obvious; the numbering of the faces is all it shares with the library.
namespace plain {

using namespace kz3::lattiq;
using kz3::dense2D;

struct face_ref {
    unsigned element;
    unsigned face;
};

struct face_key {
    std::vector<unsigned> slots;
    unsigned smallest;
    unsigned largest;
    unsigned sum;
};

struct type_row {
    element_type type;
    unsigned rows;
    unsigned face_rows;
    double face_multiplier;
    bool skips_full_sum;
};

inline const type_row* find_type_row(element_type type)
{
    static const type_row table[] = {
        {ET_BAR2, 2, 2, 1.0, false},     {ET_TRIA3, 3, 3, 1.5, false},
        {ET_QUAD4, 4, 4, 2.0, true},     {ET_FACE_MIX, 4, 4, 1.75, true},
        {ET_TETRA4, 4, 4, 2.0, false},   {ET_PYRA5, 5, 5, 2.5, true},
        {ET_PENTA6, 6, 5, 2.5, true},    {ET_HEXA8, 8, 6, 3.0, true},
        {ET_SOLID_MIX, 8, 6, 2.5, true},
    };
    for (const type_row& row : table)
        if (row.type == type) return &row;
    return nullptr;
}

inline std::uint32_t bucket_count(std::size_t n, double face_multiplier)
{
    static const std::uint32_t hash_primes[28] = {
        53,        97,        193,       389,       769,        1543,       3079,
        6151,      12289,     24593,     49157,     98317,      196613,     393241,
        786433,    1572869,   3145739,   6291469,   12582917,   25165843,   50331653,
        100663319, 201326611, 402653189, 805306457, 1610612741, 3221225473, 4294967291};
    const auto wanted = std::uint32_t(std::uint64_t(double(n) * face_multiplier));
    for (const std::uint32_t prime : hash_primes)
        if (prime >= wanted) return prime;
    return 4294967291;
}

inline element_type kind_of_column(const dense2D<unsigned>& connectM, element_type type,
                                   std::size_t e)
{
    if (type == ET_FACE_MIX) return connectM(3, e) == NO_NODE ? ET_TRIA3 : ET_QUAD4;
    if (type != ET_SOLID_MIX) return type;
    if (connectM(4, e) == NO_NODE) return ET_TETRA4;
    if (connectM(5, e) == NO_NODE) return ET_PYRA5;
    if (connectM(6, e) == NO_NODE) return ET_PENTA6;
    return ET_HEXA8;
}

/// The nodes of every local face of element e.
inline std::vector<std::vector<unsigned>> faces_of(const dense2D<unsigned>& connectM,
                                                   element_type type, std::size_t e)
{
    const auto& kind = *detail::find_kind(kind_of_column(connectM, type, e));
    std::vector<std::vector<unsigned>> faces(kind.faces);
    for (unsigned f = 0; f < kind.faces; ++f)
        for (unsigned k = 0; k < kind.face_nodes[f]; ++k)
            faces[f].push_back(connectM(kind.face_rows[f][k], e));
    return faces;
}

inline unsigned sum(const std::vector<unsigned>& nodes)
{
    unsigned s = 0;
    for (const unsigned node : nodes) s += node;
    return s;
}

inline bool has_four_slots(element_type type)
{
    return type == ET_PYRA5 || type == ET_PENTA6 || type == ET_HEXA8 || type == ET_SOLID_MIX;
}

inline face_key key_of(std::vector<unsigned> nodes, element_type type)
{
    if (has_four_slots(type)) nodes.resize(4, NO_NODE);
    const auto [low, high] = std::minmax_element(nodes.begin(), nodes.end());
    face_key key{nodes, *low, *high, sum(nodes)};
    if (nodes.size() == 2) key.sum = *low + *high;
    return key;
}

inline std::size_t first_smallest(const std::vector<unsigned>& cycle, std::size_t n)
{
    std::size_t i = 0;
    for (std::size_t k = 1; k < n; ++k)
        if (cycle[k] < cycle[i]) i = k;
    return i;
}

inline int same_cycle_4(const std::vector<unsigned>& a, const std::vector<unsigned>& b)
{
    const std::size_t i = first_smallest(a, 4);
    const std::size_t j = first_smallest(b, 4);
    bool forward = true;
    bool backward = true;
    for (std::size_t k = 0; k < 4; ++k) {
        forward = forward && a[(i + k) % 4] == b[(j + k) % 4];
        backward = backward && a[(i + k) % 4] == b[(j + 4 - k) % 4];
    }
    return forward ? 1 : backward ? -1 : 0;
}

inline int same_cycle_3(const std::vector<unsigned>& a, const std::vector<unsigned>& b)
{
    const std::size_t i = first_smallest(a, 3);
    const std::size_t j = first_smallest(b, 3);
    if (a[i] != b[j]) return 0;
    if (a[(i + 1) % 3] == b[(j + 1) % 3] && a[(i + 2) % 3] == b[(j + 2) % 3]) return 1;
    if (a[(i + 1) % 3] == b[(j + 2) % 3] && a[(i + 2) % 3] == b[(j + 1) % 3]) return -1;
    return 0;
}

inline bool equal_faces(const face_key& a, const face_key& b, element_type type)
{
    if (a.smallest != b.smallest || a.largest != b.largest || a.sum != b.sum) return false;
    if (!has_four_slots(type)) return true;
    if (type == ET_HEXA8) return same_cycle_4(a.slots, b.slots) != 0;
    const bool short_a = a.slots[3] == NO_NODE;
    const bool short_b = b.slots[3] == NO_NODE;
    if (short_a != short_b) return false;
    return short_a ? same_cycle_3(a.slots, b.slots) != 0 : same_cycle_4(a.slots, b.slots) != 0;
}

inline void match_bucket(std::vector<face_ref>& bucket, const dense2D<unsigned>& connectM,
                         element_type type, bool link_non_manifold, dense2D<unsigned>& neighbors)
{
    const auto key = [&](const face_ref& ref) {
        return key_of(faces_of(connectM, type, ref.element)[ref.face], type);
    };
    for (std::size_t i = 0; i < bucket.size(); ++i) {
        if (bucket[i].element == 0xFFFFFFFF) continue;
        const face_ref a = bucket[i];
        const face_key a_key = key(a);
        std::vector<face_ref> collected;
        for (std::size_t j = i + 1; j < bucket.size(); ++j) {
            if (bucket[j].element == 0xFFFFFFFF) continue;
            if (!equal_faces(a_key, key(bucket[j]), type)) continue;
            collected.push_back(bucket[j]);
            bucket[j].element = 0xFFFFFFFF;
        }
        if (collected.empty()) continue;
        neighbors(a.face, a.element) = 0xFFFFFFFF;
        for (const face_ref& ref : collected) neighbors(ref.face, ref.element) = 0xFFFFFFFF;
        if (collected.size() >= 2 && !link_non_manifold) continue;
        const face_ref b = collected[0];
        neighbors(a.face, a.element) = b.element;
        neighbors(b.face, b.element) = a.element;
    }
}

inline int get_neighbors(const dense2D<unsigned>& connectM, element_type type,
                         bool link_non_manifold, dense2D<unsigned>& neighbors)
{
    neighbors = dense2D<unsigned>();
    if (connectM.rows * connectM.cols == 0) return 0;
    if (connectM.rows == 3 && type == ET_FACE_MIX) type = ET_TRIA3;
    if (!check_IDs(connectM, type, 0xFFFFFFFF)) return -1;
    const type_row* row = find_type_row(type);
    if (row == nullptr) return -2;
    const std::uint32_t p = bucket_count(connectM.cols, row->face_multiplier);
    if (connectM.rows != row->rows) return -1;
    neighbors = dense2D<unsigned>(row->face_rows, connectM.cols, 0xFFFFFFFF);

    std::vector<std::vector<face_ref>> table(p);
    for (std::size_t e = 0; e < connectM.cols; ++e) {
        const auto faces = faces_of(connectM, type, e);
        for (unsigned f = 0; f < faces.size(); ++f) {
            const unsigned s = sum(faces[f]);
            if (row->skips_full_sum && s == 0xFFFFFFFF) continue;
            table[s % p].push_back({unsigned(e), f});
        }
    }
    for (auto& bucket : table) match_bucket(bucket, connectM, type, link_non_manifold, neighbors);
    return 0;
}

} // namespace plain
