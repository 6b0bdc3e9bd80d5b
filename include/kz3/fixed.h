#pragma once

#include <algorithm>
#include <cstddef>

namespace kz3 {

/// N consecutive values. An aggregate: vector_fixed<double, 3> p{1, 2, 3}. No access checks its
/// index.
template <typename T, std::size_t N>
struct vector_fixed {
    T data[N];

    T& operator[](std::size_t i) { return data[i]; }
    const T& operator[](std::size_t i) const { return data[i]; }

    T* begin() { return data; }
    T* end() { return data + N; }
    const T* begin() const { return data; }
    const T* end() const { return data + N; }

    /// Writes v to all N entries; returns v.
    T operator=(T v) // NOLINT(misc-unconventional-assign-operator)
    {
        std::fill_n(data, N, v);
        return v;
    }
};

/// M rows by N columns, stored column by column: column j begins at data[j*M]. An aggregate, listed
/// in that order.
template <typename T, std::size_t M, std::size_t N>
struct matrix_fixed {
    T data[M * N];

    T& operator()(std::size_t i, std::size_t j) { return data[j * M + i]; }
    const T& operator()(std::size_t i, std::size_t j) const { return data[j * M + i]; }

    /// Walks one column. Two words: the matrix it walks and the place in it.
    class segment_iterator {
    public:
        segment_iterator(matrix_fixed* owner, T* place) : owner_(owner), place_(place) {}

        T& operator[](std::size_t i) const { return place_[i]; }
        T& operator*() const { return *place_; }
        segment_iterator& operator++()
        {
            ++place_;
            return *this;
        }
        bool operator==(const segment_iterator& other) const { return place_ == other.place_; }
        bool operator!=(const segment_iterator& other) const { return place_ != other.place_; }
        T* get() const { return place_; }

    private:
        matrix_fixed* owner_;
        T* place_;
    };

    /// An iterator at row 0 of column j.
    segment_iterator col(std::size_t j) { return {this, data + j * M}; }
};

/// The upper triangle of a symmetric N by N matrix, packed column by column, as LAPACK's packed
/// upper form: entry (i, j) with i <= j stands at data[j*(j+1)/2 + i]. For N = 2 that is a00, a01,
/// a11, for N = 3 a00, a01, a11, a02, a12, a22. An aggregate, listed in that order.
template <typename T, std::size_t N>
struct symmetric_fixed {
    static constexpr std::size_t entries = N * (N + 1) / 2;
    T data[entries];

    /// By packed place.
    T& operator[](std::size_t k) { return data[k]; }
    const T& operator[](std::size_t k) const { return data[k]; }

    /// By row and column, in either order.
    T& operator()(std::size_t i, std::size_t j) { return data[place(i, j)]; }
    const T& operator()(std::size_t i, std::size_t j) const { return data[place(i, j)]; }

private:
    static constexpr std::size_t place(std::size_t i, std::size_t j)
    {
        return i <= j ? j * (j + 1) / 2 + i : i * (i + 1) / 2 + j;
    }
};

} // namespace kz3
