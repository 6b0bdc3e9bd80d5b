#pragma once

#include <new>

#include <kz3/dense2D.h>

namespace kz3::lattiq::detail {

/// Gives an emptied output a storage of its own where it shares one with an input, which would be
/// overwritten otherwise.
///
/// @return false if memory is exhausted; nothing is changed then
inline bool separate(dense2D<unsigned>& output, const dense2D<unsigned>& input)
{
    if (output.vec.get() != input.vec.get()) return true;
    auto* fresh = new (std::nothrow) vector_num<unsigned>;
    if (fresh == nullptr) return false;
    output.vec = fresh;
    output.offset = 0;
    return true;
}

} // namespace kz3::lattiq::detail
