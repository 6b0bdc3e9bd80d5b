#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <new>

#include <kz3/vector_num.h>

namespace kz3 {

/// A vector: a counted view of elements [offset, offset + size) of a storage that views share.
///
/// Copying and assigning share the elements and cost one atomic addition; copy() duplicates them.
/// Element i is vec->data[offset + i]; no access checks its index. A const vector gives const
/// elements, but a non-const copy of it may still write to what they share.
template <typename T>
class dense1D {
public:
    Ptr<vector_num<T>> vec; ///< the storage, never null
    std::size_t size = 0;   ///< number of elements of the view
    std::size_t offset = 0; ///< place of element 0 in the storage

    /// An empty vector with a storage of its own.
    dense1D() : vec(new vector_num<T>) {}

    /// n elements, not initialised; none if memory is exhausted.
    explicit dense1D(std::size_t n) : dense1D() { resize(n); }

    /// n elements, each v; none if memory is exhausted.
    dense1D(std::size_t n, T v) : vec(new vector_num<T>(n, v)), size(vec->capacity < n ? 0 : n) {}

    /// The elements listed: dense1D<unsigned>{4, 2, 7}. Empty if memory is exhausted.
    dense1D(std::initializer_list<T> elements) : dense1D()
    {
        if (resize(elements.size())) std::copy(elements.begin(), elements.end(), begin());
    }

    /// A view of the same elements.
    dense1D(const dense1D&) = default;
    dense1D& operator=(const dense1D&) = default;
    ~dense1D() = default;

    /// A view of n elements of the caller's own, from `elements` on; they must outlive every view.
    ///
    /// Nothing is copied and the block is never freed. Growth past n, or a copy() into the view,
    /// moves it to storage of its own.
    static dense1D wrap(T* elements, std::size_t n)
    {
        dense1D view;
        view.vec->data = elements;
        view.vec->capacity = n;
        view.vec->not_owned = 1;
        view.size = n;
        return view;
    }

    /// Writes v to every element of the view; size is unchanged. Returns v.
    T operator=(T v) // NOLINT(misc-unconventional-assign-operator)
    {
        std::fill_n(begin(), size, v);
        return v;
    }

    T& operator[](std::size_t i) { return vec->data[offset + i]; }
    const T& operator[](std::size_t i) const { return vec->data[offset + i]; }

    T* begin() { return vec->data + offset; }
    T* end() { return vec->data + offset + size; }
    const T* begin() const { return vec->data + offset; }
    const T* end() const { return vec->data + offset + size; }

    /// Becomes a view of the argument; the storage held before is released.
    void shallow_copy(const dense1D& other) { *this = other; }

    /// A view of n elements from element `first` on. No range check.
    dense1D sub_vector(std::size_t first, std::size_t n)
    {
        dense1D view(*this);
        view.offset += first;
        view.size = n;
        return view;
    }
    const dense1D sub_vector(std::size_t first,
                             std::size_t n) const // NOLINT(readability-const-return-type)
    {
        return const_cast<dense1D*>(this)->sub_vector(first, n);
    }

    /// Takes the argument's size and a copy of its elements, and shares nothing with it afterwards.
    ///
    /// A storage of its own, held alone and large enough, is used again; otherwise the vector gets a
    /// new one.
    /// @return false if memory is exhausted; this vector is then unchanged. O(size).
    bool copy(const dense1D& other)
    {
        // A block of the caller's may stand in this storage, so what wraps one is never written over.
        const bool apart = vec->exclusive() && other.vec->not_owned == 0;
        if (!apart || vec.get() == other.vec.get() || vec->capacity - offset < other.size) {
            const Ptr<vector_num<T>> fresh(new (std::nothrow) vector_num<T>);
            if (!fresh || (other.size != 0 && !fresh->grow(other.size, 0, 1))) return false;
            std::copy_n(other.begin(), other.size, fresh->data);
            vec = fresh;
            offset = 0;
        } else {
            std::copy_n(other.begin(), other.size, begin());
        }
        size = other.size;
        return true;
    }

    /// Makes sure that n elements fit from offset on; size and content stay.
    ///
    /// @param factor  growth factor of the storage when it must grow, not 0
    /// @return false if memory is exhausted; nothing is changed then
    bool reserve(std::size_t n, std::size_t factor)
    {
        if (n > std::numeric_limits<std::size_t>::max() - offset) return false;
        // All slots are kept, since other views may hold what stands behind this one.
        return offset + n <= vec->capacity || vec->grow(offset + n, vec->capacity, factor);
    }

    /// Sets size to n; elements below the old size stay, new ones hold whatever the storage held.
    ///
    /// @return whether size became n. If memory is exhausted, size is what the storage has room for.
    bool resize(std::size_t n)
    {
        if (n > size) reserve(n, 1);
        size = std::min(n, vec->capacity - offset);
        return size == n;
    }

    /// Sets size to n; elements below the old size stay, new ones are v.
    ///
    /// @return false if memory is exhausted; the vector is then unchanged
    bool resize(std::size_t n, T v)
    {
        if (n > size) {
            if (!reserve(n, 1)) return false;
            std::fill_n(begin() + size, n - size, v);
        }
        size = n;
        return true;
    }

    /// Appends v, amortised O(1). There is no copy on write: what stands behind the view is
    /// overwritten, and when the storage grows all views of it move along.
    ///
    /// @return false if memory is exhausted; the vector is then unchanged
    bool push_back(T v)
    {
        const std::size_t pos = offset + size;
        if (vec->capacity <= pos && !vec->grow(pos + 1, vec->capacity, 2)) return false;
        vec->data[pos] = v;
        ++size;
        return true;
    }

    /// Makes the vector empty; storage and capacity stay.
    void clear() { size = 0; }

    /// Makes the vector empty and gives up its memory.
    ///
    /// A storage held alone is freed without allocating anything. Other views keep theirs, and this
    /// one gets the small header of an empty storage; where even that cannot be had, it holds on to
    /// the storage as an empty view.
    void clear_hard()
    {
        size = 0;
        if (vec->count == 1)
            vec->release();
        else if (auto* fresh = new (std::nothrow) vector_num<T>)
            vec = fresh;
        else
            return;
        offset = 0;
    }
};

} // namespace kz3
