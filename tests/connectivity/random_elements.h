#pragma once

#include <random>
#include <string>
#include <vector>

#include <kz3/dense2D.h>

#include "core/element_table.h"

/// n elements on the span nodes base, base + stride, ..., repeated nodes included. Mixed columns are of
/// any kind; below the first hole of a solid, where nothing is read, stands whatever comes.
inline kz3::dense2D<unsigned> random_elements(kz3::lattiq::element_type type, std::size_t n,
                                              unsigned base, unsigned span, std::mt19937& random,
                                              unsigned stride = 1)
{
    using namespace kz3::lattiq;
    kz3::dense2D<unsigned> m(detail::find_faced_type(type)->rows, n);
    const auto below = [&](unsigned bound) { return unsigned(random() % bound); };
    for (std::size_t e = 0; e < n; ++e) {
        for (std::size_t k = 0; k < m.rows; ++k) m(k, e) = base + stride * below(span);
        if (type == ET_FACE_MIX && below(2) == 0) m(3, e) = NO_NODE;
        if (type == ET_SOLID_MIX)
            if (const unsigned hole = 4 + below(4); hole < 7) {
                m(hole, e) = NO_NODE;
                for (std::size_t k = hole + 1; k < 8; ++k)
                    if (below(2) == 0) m(k, e) = NO_NODE;
            }
    }
    return m;
}

/// The nine types whose elements have faces, for parameterised tests.
inline std::vector<kz3::lattiq::element_type> all_faced_types()
{
    std::vector<kz3::lattiq::element_type> types;
    for (const auto& faced : kz3::lattiq::detail::faced_types) types.push_back(faced.type);
    return types;
}

inline std::string name_of(kz3::lattiq::element_type type)
{
    using namespace kz3::lattiq;
    switch (type) {
    case ET_BAR2:
        return "Bar2";
    case ET_TRIA3:
        return "Tria3";
    case ET_QUAD4:
        return "Quad4";
    case ET_FACE_MIX:
        return "FaceMix";
    case ET_TETRA4:
        return "Tetra4";
    case ET_PYRA5:
        return "Pyra5";
    case ET_PENTA6:
        return "Penta6";
    case ET_HEXA8:
        return "Hexa8";
    case ET_SOLID_MIX:
        return "SolidMix";
    default:
        return "Type" + std::to_string(int(type));
    }
}
