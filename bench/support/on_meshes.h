#pragma once

#include <initializer_list>
#include <string>

#include "support/bench.h"
#include "support/inputs.h"

namespace bench {

/// Sizes at which costs are shown: beside peers and in both numberings at the first two, and how the
/// cost of lattiq alone grows at the last.
inline constexpr size_t small_size = 100'000;
inline constexpr size_t usual_size = 500'000;
inline constexpr size_t large_size = 10'000'000;

/// Registers an operation of a peer, or its conversion, on meshes of a kind, in the given numberings.
/// `prepare(mesh)` runs once and returns the call to be timed.
template <typename Prepare>
void add_peer_on_meshes(const std::string& operation, const std::string& kind,
                        const std::string& who, Prepare prepare,
                        std::initializer_list<numbering> orders = {numbering::natural,
                                                                   numbering::shuffled})
{
    for (const size_t n : {small_size, usual_size})
        for (const numbering order : orders)
            add(operation, input_name(kind, order), mesh_size(kind, n), who,
                [=] { return prepare(mesh_of(kind, n, order)); });
}

/// The same for lattiq, which shows the growth of its cost too.
template <typename Prepare>
void add_on_meshes(const std::string& operation, const std::string& kind, Prepare prepare)
{
    add_peer_on_meshes(operation, kind, "lattiq", prepare);
    add(operation, kind, mesh_size(kind, large_size), "lattiq",
        [=] { return prepare(mesh_of(kind, large_size)); });
}

} // namespace bench
