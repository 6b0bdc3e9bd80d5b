#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

#include "core/column.h"
#include "core/prefetch.h"
#include "formats/append_column.h"
#include "formats/stl_facet.h"
#include "formats/stl_points.h"

namespace kz3::lattiq::detail {

/// Appends columns of three to an empty matrix as append_column does, with the same growth, but
/// leaves the number of columns behind until finish(). Columns may be counted without being stored.
template <typename T>
class column_list {
public:
    explicit column_list(dense2D<T>& m) : matrix_(m) {}

    /// Where memory is exhausted the column is left out.
    void append(const T* values)
    {
        if (room_ == 0) {
            finish();
            append_column(matrix_, values, 3);
            follow();
            return;
        }
        store(values);
    }

    /// Makes room for one more column; false where memory is exhausted.
    bool make_room() { return room_ != 0 || grow(); }

    /// Takes room that was made, to store a column or for one that is only counted.
    void store(const T* values)
    {
        next_ = std::copy_n(values, 3, next_);
        --room_;
    }
    void count()
    {
        --room_;
        ++counted_;
    }

    const T* operator[](size_t j) const { return matrix_.vec->data + matrix_.offset + 3 * j; }

    void finish()
    {
        if (next_ != nullptr) matrix_.resize(3, capacity() - room_ - counted_);
    }

    /// Goes on behind the columns that the matrix has.
    void follow()
    {
        counted_ = 0;
        room_ = matrix_.empty() ? 0 : capacity() - matrix_.cols;
        next_ = room_ == 0 ? nullptr : column(matrix_, matrix_.cols);
    }

    /// Makes at once the room that appending so many columns to the empty matrix would come to make.
    void expect(size_t columns)
    {
        size_t room = std::max<size_t>(capacity(), 4);
        while (room < columns) room *= 2;
        if (columns != 0) matrix_.reserve(3, room);
    }

private:
    size_t capacity() const { return (matrix_.vec->capacity - matrix_.offset) / 3; }

    bool grow()
    {
        finish();
        const size_t held = matrix_.empty() ? 0 : matrix_.cols;
        if (!matrix_.reserve(3, std::max<size_t>(2 * (held + counted_), 4))) return false;
        next_ = matrix_.vec->data + matrix_.offset + 3 * held;
        room_ = capacity() - held - counted_;
        return true;
    }

    dense2D<T>& matrix_;
    T* next_ = nullptr;
    size_t room_ = 0;
    size_t counted_ = 0; // but not stored
};

/// The mesh under construction, each facet with three nodes of its own, as far as can be told from
/// outside.
///
/// Corners with the same bits are one node meanwhile, the first of them: then most of the nodes need
/// no memory, nor welding later. What each facet would have had can be had back from that with
/// separate(), since the bits are the same and room for all corners is made as they come. So the
/// matrices grow and have room as if all corners were stored.
///
/// Where memory is exhausted, all is separated first. Columns that then find no room are left out
/// without a word, so from then on a facet may name nodes that pos does not hold. Heights are
/// therefore taken from the values read, never from pos; welding refuses such a mesh.
class facet_list {
public:
    facet_list(dense2D<double>& pos, dense2D<unsigned>& connectM)
        : pos_(pos), connectM_(connectM), nodes_(pos), facets_(connectM)
    {
        points_.emplace();
    }

    void expect(size_t nodes, size_t facets)
    {
        nodes_.expect(nodes);
        facets_.expect(facets);
        // A closed surface has a sixth as many nodes as corners.
        if (!points_->make_room(facets / 2)) points_.reset();
    }

    void add_facet(const stl_facet& corners)
    {
        batch_[waiting_++] = corners;
        if (waiting_ == batch_size) flush();
    }

    /// A corner of a facet that is not whole; only others follow.
    void add_loose(const stl_point& x)
    {
        flush();
        if (points_ && !nodes_.make_room()) separate();
        if (!points_) return nodes_.append(x.data());
        nodes_.count();
        loose_[loose_nodes_++] = x;
    }

    /// The matrices hold all that was added, if distinct() without the corners that came before and
    /// those of no facet.
    void finish()
    {
        flush();
        nodes_.finish();
        facets_.finish();
    }

    /// Whether corners with the same bits are one node, and all nodes belong to facets.
    bool distinct() const { return points_.has_value(); }

    /// What finding the same corners took is given back.
    void release_points() { points_.emplace(); }

    /// Gives each facet three nodes of its own, if it has not. Takes no memory.
    void separate()
    {
        if (!points_) return;
        points_.reset();
        facets_.finish();
        const size_t corners = connectM_.empty() ? 0 : 3 * connectM_.cols;
        unsigned* node = corners == 0 ? nullptr : column(connectM_, 0);
        if (corners != 0) pos_.resize(3, corners);
        // From the end: what has not been moved yet stands at or before its new place.
        for (size_t k = corners; k-- > 0;) {
            std::copy_n(column(pos_, node[k]), 3, column(pos_, k));
            node[k] = unsigned(k);
        }
        if (corners == 0) pos_.clear();
        nodes_.follow();
        for (size_t k = 0; k < loose_nodes_; ++k) nodes_.append(loose_[k].data());
        nodes_.finish();
    }

    /// The smallest positive height of a facet; 0 where there is none.
    double smallest_height() const { return smallest_height_ < none ? smallest_height_ : 0.0; }

private:
    static constexpr double none = std::numeric_limits<double>::max();
    static constexpr size_t batch_size = 64;

    // The corners of a batch ask for memory all over, but do not wait for each other.
    void flush()
    {
        const size_t n = std::exchange(waiting_, 0);
        if (points_ && (!points_->make_room(3 * n) || points_->exhausted(3 * facets_read_)))
            separate();
        if (points_) look_up(n);
        for (size_t i = 0; i < n; ++i) {
            see_height(batch_[i]);
            if (points_ && !add_distinct(i)) separate();
            if (!points_) add_separate(batch_[i]);
            ++facets_read_;
        }
    }

    void look_up(size_t n)
    {
        for (size_t i = 0; i < n; ++i)
            for (size_t k = 0; k < 3; ++k) {
                hashes_[i][k] = stl_points::hash_of(batch_[i][k]);
                points_->look_up(hashes_[i][k]);
            }
        for (size_t i = 0; i < n; ++i)
            for (size_t k = 0; k < 3; ++k) {
                guesses_[i][k] = points_->guess(hashes_[i][k]);
                if (guesses_[i][k] != NO_NODE) prefetch(nodes_[guesses_[i][k]]);
            }
    }

    void see_height(const stl_facet& corners)
    {
        if (surely_higher(corners, smallest_height_)) return;
        const double height = facet_height(corners);
        if (height > 0.0 && height < smallest_height_) smallest_height_ = height;
    }

    // False where there is no room: then the facet is not added, and the matrices may hold nodes of it.
    bool add_distinct(size_t i)
    {
        if (facets_read_ >= most_facets) return false;
        std::array<unsigned, 3> node;
        for (size_t k = 0; k < 3; ++k) {
            if (!nodes_.make_room()) return false;
            node[k] = node_of(i, k);
            if (node[k] == distinct_) {
                nodes_.store(batch_[i][k].data());
                ++distinct_;
            } else {
                nodes_.count();
            }
        }
        if (!facets_.make_room()) return false;
        facets_.store(node.data());
        return true;
    }

    unsigned node_of(size_t i, size_t k)
    {
        const stl_point& x = batch_[i][k];
        const unsigned guess = guesses_[i][k];
        if (!stl_points::has_place(x)) return distinct_;
        if (guess != NO_NODE && stl_points::same(nodes_[guess], x)) return guess;
        return points_->find(x, hashes_[i][k], distinct_, nodes_[0]);
    }

    void add_separate(const stl_facet& corners)
    {
        for (const stl_point& corner : corners) nodes_.append(corner.data());
        const auto first = unsigned(3 * facets_read_);
        const std::array<unsigned, 3> node = {first, first + 1, first + 2};
        facets_.append(node.data());
    }

    // Numbers of corners beyond are not those of nodes any more.
    static constexpr size_t most_facets = (NO_NODE - 3) / 3;

    dense2D<double>& pos_;
    dense2D<unsigned>& connectM_;
    column_list<double> nodes_;
    column_list<unsigned> facets_;
    std::optional<stl_points> points_; // none once facets are separate
    size_t facets_read_ = 0;
    unsigned distinct_ = 0; // nodes
    double smallest_height_ = none;
    size_t waiting_ = 0;
    std::array<stl_facet, batch_size> batch_;
    std::array<std::array<std::uint32_t, 3>, batch_size> hashes_;
    std::array<std::array<unsigned, 3>, batch_size> guesses_;
    size_t loose_nodes_ = 0;
    std::array<stl_point, 3> loose_;
};

} // namespace kz3::lattiq::detail
