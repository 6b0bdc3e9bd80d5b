#pragma once

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

namespace kz3::lattiq::detail {

/// What a loop over elements is compiled for.
enum class vectors { of_two, of_four };

/// The longest vectors of doubles that this processor computes with.
vectors longest_vectors();

/// The quality of each hexahedron, to the bit that of hexahedron_quality<3>, whatever the vectors.
/// pos has three rows at least, and all nodes exist. O(elements), no allocation.
void measure_hexahedra(const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                       vectors length, double* quality);

} // namespace kz3::lattiq::detail
