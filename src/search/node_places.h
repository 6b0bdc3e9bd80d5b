#pragma once

#include "core/column.h"

namespace kz3::lattiq::detail {

/// The coordinates of nodes for loops that read them all over: two words that stay in registers, where
/// the matrix itself would be read anew after every store.
class node_places {
public:
    explicit node_places(const dense2D<double>& pos) : first_(column(pos, 0)), stride_(pos.ld) {}

    const double* operator[](size_t node) const { return first_ + node * stride_; }

private:
    const double* first_;
    size_t stride_;
};

} // namespace kz3::lattiq::detail
