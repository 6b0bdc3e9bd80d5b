#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>

#include "connectivity/face_key.h"
#include "connectivity/separate.h"
#include "core/column.h"
#include "core/element_table.h"
#include "core/out_of_memory.h"
#include "core/prefetch.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// Faces that may be equal: all that have one smallest node and the same few bits of the others, or
/// keys of one hash.
template <typename Place>
struct face_run {
    static constexpr Place nowhere = ~Place(0);

    Place size = 0;
    Place missing = 0; ///< faces still to come
    Place start = nowhere;
};

/// Blocks of faces, one after the other; a block given back serves a later run of its size.
///
/// @tparam Face  its `entry` names the next free block while the face is in none
template <typename Face, typename Place>
class block_pool {
    static constexpr Place nowhere = face_run<Place>::nowhere;
    static constexpr size_t sizes = 64; ///< blocks of this many faces or more are not used again

public:
    block_pool() { free_.fill(nowhere); }

    /// Room for as many faces, in blocks of any sizes. False if memory is exhausted.
    bool reserve(size_t faces)
    {
        faces_.reset(new (std::nothrow) Face[faces]);
        return faces_ != nullptr;
    }

    Face* at(Place start) { return &faces_[start]; }

    Place take(Place size)
    {
        if (size < sizes && free_[size] != nowhere)
            return std::exchange(free_[size], Place(faces_[free_[size]].entry));
        return std::exchange(used_, Place(used_ + size));
    }

    void give(Place start, Place size)
    {
        if (size < sizes) faces_[start].entry = std::exchange(free_[size], start);
    }

private:
    std::unique_ptr<Face[]> faces_;
    std::array<Place, sizes> free_;
    Place used_ = 0;
};

/// Finds equal faces and joins the elements that hold them.
///
/// Faces are gathered in runs, and equal ones are always in one run; the result depends on nothing
/// else. A run is matched as soon as its last face is there. Neighbouring faces share their smallest
/// node, so that in a mesh of natural numbering few runs are open at a time and their blocks stay in
/// the cache, one serving run after run. In a mesh numbered at random nothing stays there: faces are
/// taken a batch at a time, and each step asks ahead for the memory that the next one needs.
///
/// @tparam Compact  nodes are few enough to have runs of their own, and 32 bits number all faces
template <element_type Type, bool Compact>
class face_matcher {
    static constexpr unsigned face_rows = find_faced_type(Type)->face_rows;
    static constexpr unsigned implied = Compact ? 1 : 0;   ///< nodes of a key that the run tells
    static constexpr size_t batch = 32;                    ///< elements
    static constexpr std::ptrdiff_t longest_compared = 32; ///< faces of a run, pair by pair

    using key = face_key<Type>;
    using place = std::conditional_t<Compact, std::uint32_t, std::uint64_t>;
    using run = face_run<place>;

    struct face {
        std::array<unsigned, key_nodes<Type> - implied> nodes;
        place entry; ///< element * face_rows + local face: where the result stands
    };

    struct arrival {
        key nodes;
        place entry;
        place run;
        place to;
    };
    using arrivals = std::array<arrival, batch * face_rows>;

public:
    face_matcher(const dense2D<unsigned>& connectM, bool link_non_manifold,
                 dense2D<unsigned>& neighbors)
        : connectM_(connectM),
          link_non_manifold_(link_non_manifold),
          neighbor_(column(neighbors, 0))
    {
    }

    /// False if memory is exhausted.
    bool match(size_t node_bound)
    {
        runs_.reset(new (std::nothrow) run[size_runs(node_bound)]);
        if (!runs_) return false;
        if (!pool_.reserve(count_faces())) return false;
        const size_t n = connectM_.cols;
        for (size_t e = 0; e < n; e += batch) take_in(e, std::min(e + batch, n));
        return true;
    }

private:
    /// Sets how runs are told, about four to eight faces in each, and returns how many there are.
    size_t size_runs(size_t node_bound)
    {
        const size_t wanted = connectM_.cols * face_rows / 4;
        const size_t first = Compact ? node_bound : 1;
        while (first << (bits_ + 1) <= wanted) ++bits_;
        return first << bits_;
    }

    size_t run_of(const key& nodes) const
    {
        if (Compact && bits_ == 0) return nodes[0];
        std::uint64_t hash = Compact ? 0 : nodes[0];
        for (unsigned k = 1; k < nodes.size(); ++k) hash = (hash + nodes[k]) * 0x9E3779B97F4A7C15;
        const size_t spread = size_t((hash >> 32 << bits_) >> 32);
        return Compact ? (size_t(nodes[0]) << bits_) + spread : spread;
    }

    /// Lists the faces of the elements [first, last), in order, and returns the end of the list.
    arrival* list_faces(size_t first, size_t last, arrival* to) const
    {
        for (size_t e = first; e < last; ++e) {
            const unsigned* node = column(connectM_, e);
            with_column_kind<Type>(node, [&](auto kind) {
                for_each_face<kind>([&](auto f) { add_face<kind, f>(node, e, to); });
            });
        }
        return to;
    }

    /// Written in any case, and then passed or not: the branch would cost more.
    template <element_type Kind, unsigned F>
    static void add_face(const unsigned* node, size_t e, arrival*& to)
    {
        to->entry = place(e * face_rows + F);
        to += write_key_of<Type, Kind, F>(node, to->nodes.data());
    }

    /// Counts the faces of each run and returns those of all.
    size_t count_faces()
    {
        const size_t n = connectM_.cols;
        size_t faces = 0;
        arrivals list;
        for (size_t e = 0; e < n; e += batch) {
            const arrival* end = list_faces(e, std::min(e + batch, n), list.data());
            for (const arrival* a = list.data(); a != end; ++a) ++runs_[run_of(a->nodes)].size;
            faces += size_t(end - list.data());
        }
        return faces;
    }

    void take_in(size_t first, size_t last)
    {
        arrivals list;
        arrival* end = list_faces(first, last, list.data());
        for (arrival* a = list.data(); a != end; ++a) {
            a->run = place(run_of(a->nodes));
            prefetch(&runs_[a->run]);
        }
        for (arrival* a = list.data(); a != end; ++a) {
            run& r = runs_[a->run];
            if (r.start == run::nowhere) {
                r.start = pool_.take(r.size);
                r.missing = r.size;
            }
            a->to = r.start + (r.size - r.missing--);
            prefetch(pool_.at(a->to));
            if (r.missing == 0) prefetch(pool_.at(r.start));
        }
        for (const arrival* a = list.data(); a != end; ++a) {
            face& to = *pool_.at(a->to);
            std::copy(a->nodes.begin() + implied, a->nodes.end(), to.nodes.begin());
            to.entry = a->entry;
            const run& r = runs_[a->run];
            if (a->to + 1 != r.start + r.size) continue;
            match_run(pool_.at(r.start), pool_.at(r.start) + r.size);
            pool_.give(r.start, r.size);
        }
    }

    void match_run(face* first, face* last)
    {
        if (last - first > longest_compared) {
            match_by_sorting(first, last);
            return;
        }
        for (; last - first > 1; ++first) {
            face* other = nullptr;
            size_t others = 0;
            for (face* f = first + 1; f != last; ++f) {
                const bool equal = same_nodes(f->nodes, first->nodes);
                other = equal ? f : other;
                others += equal;
            }
            if (others == 1) {
                join(first->entry, other->entry);
                *other = *--last;
            } else if (others > 1) {
                match_by_sorting(first, last);
                return;
            }
        }
    }

    /// Joins the first two of equal faces, in order. The others stay without a neighbour, and so do all
    /// where three or more must not be linked.
    void match_by_sorting(face* first, face* last)
    {
        std::sort(first, last, [](const face& a, const face& b) {
            return std::tie(a.nodes, a.entry) < std::tie(b.nodes, b.entry);
        });
        while (first != last) {
            const face* equal = first++;
            while (first != last && same_nodes(first->nodes, equal->nodes)) ++first;
            if (first - equal == 2 || (first - equal > 2 && link_non_manifold_))
                join(equal[0].entry, equal[1].entry);
        }
    }

    void join(place a, place b)
    {
        neighbor_[a] = unsigned(b / face_rows);
        neighbor_[b] = unsigned(a / face_rows);
    }

    const dense2D<unsigned>& connectM_;
    bool link_non_manifold_;
    unsigned* neighbor_; ///< the result, one column behind the other
    unsigned bits_ = 0;
    std::unique_ptr<run[]> runs_;
    block_pool<face, place> pool_;
};

/// False if memory is exhausted.
template <element_type Type>
bool match_faces(const dense2D<unsigned>& connectM, bool link_non_manifold,
                 dense2D<unsigned>& neighbors)
{
    // A run per node takes no more than the faces do as long as there are no more nodes than faces.
    const size_t node_bound = size_t(max_ID(connectM)) + 1;
    const size_t entries = neighbors.rows * neighbors.cols;
    if (node_bound <= entries && entries < NO_NODE)
        return face_matcher<Type, true>(connectM, link_non_manifold, neighbors).match(node_bound);
    return face_matcher<Type, false>(connectM, link_non_manifold, neighbors).match(node_bound);
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
    if (!neighbors.resize(faced->face_rows, connectM.cols)) return out_of_memory;
    std::fill_n(column(neighbors, 0), neighbors.rows * neighbors.cols, NO_NODE);

    bool done = false;
    with_faced_type(type, [&](auto constant) {
        done = match_faces<constant>(connectM, link_non_manifold, neighbors);
    });
    if (!done) neighbors.clear();
    return done ? 0 : out_of_memory;
}

} // namespace kz3::lattiq
