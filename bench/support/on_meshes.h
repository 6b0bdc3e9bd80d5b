#pragma once

#include <string>

#include "support/bench.h"
#include "support/inputs.h"

namespace bench {

/// Sizes at which costs are shown: beside peers and in both numberings at the first two, and how the
/// cost of lattiq alone grows at the last.
inline constexpr size_t small_size = 100'000;
inline constexpr size_t usual_size = 1'000'000;
inline constexpr size_t large_size = 10'000'000;

/// Registers an operation of lattiq on meshes of a kind, at all sizes. `prepare(mesh)` runs once and
/// returns the call to be timed.
template <typename Prepare>
void add_on_meshes(const std::string& operation, const std::string& kind, Prepare prepare)
{
    const auto add_one = [&](size_t n, numbering order) {
        add(operation, input_name(kind, order), mesh_size(kind, n), "lattiq",
            [=] { return prepare(mesh_of(kind, n, order)); });
    };
    for (const size_t n : {small_size, usual_size}) {
        add_one(n, numbering::natural);
        add_one(n, numbering::shuffled);
    }
    add_one(large_size, numbering::natural);
}

} // namespace bench
