#pragma once

#include <vector>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

namespace kz3::lattiq::detail {

/// Breaks connectivities into matrices of one kind of element each, without empty ones.
///
/// A matrix of a mixed kind is copied and its copy sorted by sort_elfes; each group of elements with
/// one node count becomes a view on that copy, the largest count first and the elements in falling
/// column order. A count that is no kind of element is left out. Every other matrix is taken as it
/// stands, sharing its elements.
///
/// @param first, last  the matrices, which must have passed check_IDs
/// @param types        one kind per matrix
/// @param matrices     cleared; the matrices of one kind
/// @param kinds        cleared; the element_type of each of them
/// @param origins      cleared; the place in the range that each of them came from
/// @return 0, or out_of_memory: the lists then hold what was split so far
int split_connectivities(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                         const dense1D<int>& types, std::vector<dense2D<unsigned>>& matrices,
                         dense1D<unsigned>& kinds, dense1D<unsigned>& origins);

} // namespace kz3::lattiq::detail
