#pragma once

#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "support/same.h"

/// Seeded node coordinates of several characters, and points to query them with.
namespace clouds {

enum character { scattered, gridded, clustered, coincident, with_nan, with_infinity, enormous };
inline constexpr character all[] = {scattered, gridded,       clustered, coincident,
                                    with_nan,  with_infinity, enormous};

inline std::string name(const testing::TestParamInfo<character>& info)
{
    const char* const names[] = {"Scattered", "Gridded",      "Clustered", "Coincident",
                                 "WithNaN",   "WithInfinity", "Enormous"};
    return names[info.param];
}

/// Whether sums of squares neither overflow nor meet something that is not a number.
inline bool is_finite(character c)
{
    return c == scattered || c == gridded || c == clustered || c == coincident;
}

class source {
public:
    source(character c, std::uint32_t seed) : character_(c), random_(seed) {}

    unsigned below(unsigned n) { return unsigned(random_() % n); }

    double coordinate()
    {
        const double unit = double(random_()) / 4294967296.0;
        switch (character_) {
        case scattered:
            return unit * 20 - 10;
        case gridded:
            return double(below(8));
        case clustered:
            return double(below(3)) * 5 + unit * 1e-3;
        case coincident:
            return double(below(2));
        case with_nan:
            return below(6) == 0 ? std::numeric_limits<double>::quiet_NaN() : double(below(6));
        case with_infinity:
            if (below(6) != 0) return double(below(6));
            return (below(2) == 0 ? 1 : -1) * std::numeric_limits<double>::infinity();
        case enormous:
            // squares of differences overflow, or just do not
            return (unit - 0.5) * (below(2) == 0 ? 4e154 : 1.9e154);
        }
        return 0;
    }

    dense2D<double> matrix(std::size_t rows, std::size_t cols)
    {
        dense2D<double> pos(rows, cols);
        for (std::size_t j = 0; j < cols; ++j)
            for (std::size_t i = 0; i < rows; ++i) pos(i, j) = coordinate();
        return pos;
    }

    /// A column of pos, a point half way between two, or a point of its own.
    template <unsigned Dim>
    vector_fixed<double, Dim> point(const dense2D<double>& pos)
    {
        vector_fixed<double, Dim> p{};
        const unsigned kind = below(3);
        const unsigned a = below(unsigned(pos.cols));
        const unsigned b = below(unsigned(pos.cols));
        for (unsigned d = 0; d < Dim; ++d) {
            p[d] = kind == 0 ? pos(d, a) : (pos(d, a) + pos(d, b)) / 2;
            if (kind == 2) p[d] = coordinate();
        }
        return p;
    }

private:
    character character_;
    std::mt19937 random_;
};

} // namespace clouds
