#pragma once

#include <span>

#include <kz3/dense2D.h>

#include "cleaning/representatives.h"

namespace kz3::lattiq::detail {

/// Merges the nodes of one list, in which all may absorb and be absorbed. The first in the list is
/// scanned first.
///
/// @param pos    2 or 3 rows
/// @param nodes  distinct, without NO_NODE; the order is lost
/// @param tol    at or above 0
/// @param map    every node stands
void merge_one_list(const dense2D<double>& pos, std::span<unsigned> nodes, double tol,
                    representatives& map);

/// Lets the nodes of one list absorb those of another; a node may be in both. Each list is distinct
/// and without NO_NODE.
void merge_two_lists(const dense2D<double>& pos, std::span<const unsigned> absorbed,
                     std::span<const unsigned> scanned, double tol, representatives& map);

} // namespace kz3::lattiq::detail
