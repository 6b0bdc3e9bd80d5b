#pragma once

#include <cstddef>
#include <vector>

namespace kz3::lattiq::detail {

/// A stack for walking trees of any depth: its first N items stand in the object itself, deeper ones
/// on the heap.
///
/// A shuffled tree of millions of entries stays within N, so that its queries do not allocate; a
/// tree that has degenerated into a chain does not, and push may then throw std::bad_alloc.
template <typename T, std::size_t N>
class pending_stack {
public:
    bool empty() const { return size_ == 0; }

    void push(const T& item)
    {
        if (size_ < N)
            near_[size_] = item;
        else
            deep_.push_back(item);
        ++size_;
    }

    /// Pushes an item whose value is still to be set, and returns it.
    T& push()
    {
        if (size_ < N) return near_[size_++];
        deep_.emplace_back();
        ++size_;
        return deep_.back();
    }

    /// Removes the last item and returns it; the stack must not be empty.
    T pop()
    {
        --size_;
        if (size_ < N) return near_[size_];
        const T item = deep_.back();
        deep_.pop_back();
        return item;
    }

private:
    std::size_t size_ = 0;
    T near_[N];
    std::vector<T> deep_;
};

} // namespace kz3::lattiq::detail
