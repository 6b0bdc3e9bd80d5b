#pragma once

#include <string>

#include "support/on_meshes.h"

namespace bench {

/// Registers an operation on fields of tensors of a dimension, 2 or 3, at the sizes given.
/// `prepare(tensors)` runs once and returns the call to be timed.
template <typename Prepare>
void add_on_tensors(const std::string& operation, unsigned dimension, const std::string& who,
                    std::initializer_list<size_t> sizes, Prepare prepare)
{
    for (const size_t n : sizes)
        add(operation, dimension == 2 ? "plane" : "space", n, who,
            [=] { return prepare(tensors_of(dimension, n)); });
}

/// n sizes, all above 0 and different from their neighbours.
inline kz3::dense1D<float> sizes_of(size_t n)
{
    kz3::dense1D<float> sizes(n);
    for (size_t j = 0; j < n; ++j) sizes[j] = 0.001F * float(1 + j % 1000);
    return sizes;
}

/// n planes in space, turned about the third axis by different angles.
inline kz3::dense2D<double> planes_of(size_t n)
{
    kz3::dense2D<double> bases(6, n, 0.0);
    for (size_t j = 0; j < n; ++j) {
        const double slope = double(j % 100) / 100;
        const double length = 1.0 / (1.0 + slope * slope);
        bases(0, j) = (1.0 - slope * slope) * length;
        bases(1, j) = 2.0 * slope * length;
        bases(5, j) = 1.0;
    }
    return bases;
}

} // namespace bench
