#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <tuple>
#include <utility>

#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>

#include "connectivity/separate.h"
#include "core/column.h"
#include "core/element_table.h"
#include "core/out_of_memory.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

constexpr std::uint32_t hash_primes[] = {
    53,        97,        193,       389,       769,        1543,       3079,
    6151,      12289,     24593,     49157,     98317,      196613,     393241,
    786433,    1572869,   3145739,   6291469,   12582917,   25165843,   50331653,
    100663319, 201326611, 402653189, 805306457, 1610612741, 3221225473, 4294967291};

struct face_ref {
    unsigned element;
    unsigned face;
};

/// The nodes of a face in an order that depends neither on where its cycle starts nor on its
/// direction, filled up with NO_NODE. Two faces are the same if and only if their keys are equal.
using face_key = std::array<unsigned, 4>;

struct keyed_face {
    face_key key;
    face_ref ref;
};

bool operator<(const keyed_face& a, const keyed_face& b)
{
    return std::tie(a.key, a.ref.element, a.ref.face) < std::tie(b.key, b.ref.element, b.ref.face);
}

/// All faces by bucket: those of bucket b are refs[ends[b - 1]] to refs[ends[b] - 1], in rising order
/// of element, then local face.
///
/// The bucket is the sum of the nodes modulo a prime. It keeps faces of near elements near to each
/// other and spreads the faces around one node, which a key of the smallest node alone would not.
struct face_table {
    std::uint32_t buckets = 0;
    size_t longest = 0; ///< faces in the fullest bucket
    std::unique_ptr<size_t[]> ends;
    std::unique_ptr<face_ref[]> refs;
};

std::uint32_t bucket_count(size_t elements, double face_multiplier)
{
    const auto wanted =
        static_cast<std::uint32_t>(static_cast<std::uint64_t>(double(elements) * face_multiplier));
    const auto* prime = std::lower_bound(std::begin(hash_primes), std::end(hash_primes), wanted);
    return prime == std::end(hash_primes) ? hash_primes[std::size(hash_primes) - 1] : *prime;
}

unsigned face_sum(const element_kind& kind, unsigned f, const unsigned* node)
{
    unsigned sum = 0;
    for (unsigned k = 0; k < kind.face_nodes[f]; ++k) sum += node[kind.face_rows[f][k]];
    return sum;
}

/// Calls visit(ref, bucket) for all faces to be matched, in order.
template <element_type Type, typename Visitor>
void visit_faces(const dense2D<unsigned>& connectM, std::uint32_t buckets, Visitor visit)
{
    constexpr bool skips_full_sum = find_faced_type(Type)->skips_full_sum;
    for (size_t e = 0; e < connectM.cols; ++e) {
        const unsigned* node = column(connectM, e);
        const element_kind& kind = column_kind<Type>(node);
        for (unsigned f = 0; f < kind.faces; ++f) {
            const unsigned sum = face_sum(kind, f, node);
            if (skips_full_sum && sum == 0xFFFFFFFF) continue;
            visit(face_ref{unsigned(e), f}, sum % buckets);
        }
    }
}

/// False if memory is exhausted.
template <element_type Type>
bool fill_table(const dense2D<unsigned>& connectM, face_table& table)
{
    table.buckets = bucket_count(connectM.cols, find_faced_type(Type)->face_multiplier);
    table.ends.reset(new (std::nothrow) size_t[table.buckets]());
    if (!table.ends) return false;
    size_t* ends = table.ends.get();
    visit_faces<Type>(connectM, table.buckets, [&](face_ref, std::uint32_t b) { ++ends[b]; });

    size_t total = 0;
    for (std::uint32_t b = 0; b < table.buckets; ++b) {
        const size_t faces = ends[b];
        table.longest = std::max(table.longest, faces);
        ends[b] = total;
        total += faces;
    }
    table.refs.reset(new (std::nothrow) face_ref[total]);
    if (!table.refs) return false;
    // The start of each bucket moves up to its end while the bucket fills.
    visit_faces<Type>(connectM, table.buckets,
                      [&](face_ref ref, std::uint32_t b) { table.refs[ends[b]++] = ref; });
    return true;
}

/// Two quadrangles are the same if they agree in the node that comes first of the smallest ones, in
/// the node opposite to it, and in the two between, whatever their order: that order is the direction
/// of the cycle.
face_key quadrangle_key(const face_key& cycle)
{
    const auto first = size_t(std::min_element(cycle.begin(), cycle.end()) - cycle.begin());
    const auto [low, high] = std::minmax(cycle[(first + 1) % 4], cycle[(first + 3) % 4]);
    return {cycle[first], low, cycle[(first + 2) % 4], high};
}

/// Up to three nodes make a cycle in any order, so that it is enough to sort them.
face_key key_of(const element_kind& kind, unsigned f, const unsigned* node)
{
    face_key key{NO_NODE, NO_NODE, NO_NODE, NO_NODE};
    const unsigned nodes = kind.face_nodes[f];
    for (unsigned k = 0; k < nodes; ++k) key[k] = node[kind.face_rows[f][k]];
    if (nodes == 4) return quadrangle_key(key);
    if (key[0] > key[1]) std::swap(key[0], key[1]);
    if (key[1] > key[2]) std::swap(key[1], key[2]);
    if (key[0] > key[1]) std::swap(key[0], key[1]);
    return key;
}

/// Joins the first two of a run of equal faces, in order. The others stay without a neighbour, and so
/// do all where three or more must not be linked.
void link(const keyed_face* first, const keyed_face* last, bool link_non_manifold,
          dense2D<unsigned>& neighbors)
{
    if (last - first < 2 || (last - first > 2 && !link_non_manifold)) return;
    const face_ref a = first[0].ref;
    const face_ref b = first[1].ref;
    column(neighbors, a.element)[a.face] = b.element;
    column(neighbors, b.element)[b.face] = a.element;
}

void match_bucket(keyed_face* first, keyed_face* last, bool link_non_manifold,
                  dense2D<unsigned>& neighbors)
{
    std::sort(first, last);
    while (first != last) {
        const keyed_face* run = first++;
        while (first != last && first->key == run->key) ++first;
        link(run, first, link_non_manifold, neighbors);
    }
}

/// False if memory is exhausted.
template <element_type Type>
bool match(const dense2D<unsigned>& connectM, const face_table& table, bool link_non_manifold,
           dense2D<unsigned>& neighbors)
{
    const std::unique_ptr<keyed_face[]> bucket(new (std::nothrow) keyed_face[table.longest]);
    if (!bucket) return false;
    size_t i = 0;
    for (std::uint32_t b = 0; b < table.buckets; ++b) {
        keyed_face* last = bucket.get();
        for (; i < table.ends[b]; ++i) {
            const face_ref ref = table.refs[i];
            const unsigned* node = column(connectM, ref.element);
            *last++ = {key_of(column_kind<Type>(node), ref.face, node), ref};
        }
        if (last - bucket.get() > 1) match_bucket(bucket.get(), last, link_non_manifold, neighbors);
    }
    return true;
}

} // namespace

int get_neighbors(const dense2D<unsigned>& connectM, element_type type, bool link_non_manifold,
                  dense2D<unsigned>& neighbors)
{
    neighbors.clear();
    if (connectM.empty()) return 0;
    if (connectM.rows == 3 && type == ET_FACE_MIX) type = ET_TRIA3;
    if (!in_node_table(type) || !check_IDs(connectM, type, NO_NODE)) return -1; // connectM
    const faced_type* faced = find_faced_type(type);
    if (!faced) return -2;                       // type
    if (connectM.rows != faced->rows) return -1; // connectM: solids of 4, 5 or 6 rows
    if (!separate(neighbors, connectM)) return out_of_memory;
    if (!neighbors.resize(faced->face_rows, connectM.cols, NO_NODE)) return out_of_memory;

    bool done = false;
    with_faced_type(type, [&](auto constant) {
        face_table table;
        done = fill_table<constant>(connectM, table) &&
               match<constant>(connectM, table, link_non_manifold, neighbors);
    });
    if (!done) neighbors.clear();
    return done ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
