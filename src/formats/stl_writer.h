#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include <kz3/dense2D.h>

#include "core/column.h"
#include "core/prefetch.h"
#include "formats/file.h"
#include "formats/print_number.h"
#include "formats/stl_facet.h"

namespace kz3::lattiq::detail {

/// Nodes of two rows lie at z = 0.
inline stl_facet corners_of(const dense2D<double>& pos, const unsigned* node)
{
    stl_facet corners;
    for (size_t k = 0; k < 3; ++k) {
        const double* x = column(pos, node[k]);
        corners[k] = {x[0], x[1], pos.rows == 3 ? x[2] : 0.0};
    }
    return corners;
}

/// Prints all facets. Where nodes lie in no order, they are asked for ahead. A facet costs little, so
/// `print` is to be a lambda, not the address of a function.
template <typename Print>
void write_facets(block_writer& to, const dense2D<double>& pos, const dense2D<unsigned>& connectM,
                  size_t facets, Print print)
{
    constexpr size_t ahead = 8;
    for (size_t e = 0; e < facets && to.ok(); ++e) {
        if (e + ahead < facets) prefetch_columns<3>(pos, column(connectM, e + ahead));
        to.print([&](char* at) { return print(at, corners_of(pos, column(connectM, e))); });
    }
}

// ---- text ----

inline char* print_point(char* to, const stl_point& x)
{
    to = print_character(print_scientific<6>(to, x[0]), ' ');
    to = print_character(print_scientific<6>(to, x[1]), ' ');
    return print_character(print_scientific<6>(to, x[2]), '\n');
}

inline char* print_facet(char* to, const stl_facet& corners)
{
    to = print_point(print_text(to, "   facet normal "), facet_unit_normal(corners));
    to = print_text(to, "      outer loop\n");
    for (const stl_point& x : corners) to = print_point(print_text(to, "         vertex "), x);
    return print_text(to, "      endloop\n   endfacet\n");
}

inline void write_stl_text(block_writer& to, const dense2D<double>& pos,
                           const dense2D<unsigned>& connectM, size_t facets)
{
    to.text("solid KZ3\n");
    write_facets(to, pos, connectM, facets,
                 [](char* at, const stl_facet& corners) { return print_facet(at, corners); });
    to.text("endsolid KZ3\n");
}

// ---- binary ----

inline char* store(std::uint32_t value, char* bytes)
{
    for (int k = 0; k < 4; ++k) bytes[k] = static_cast<char>(value >> (8 * k));
    return bytes + 4;
}

inline char* store(const stl_point& x, char* bytes)
{
    for (const double value : x) bytes = store(std::bit_cast<std::uint32_t>(float(value)), bytes);
    return bytes;
}

inline char* store_facet(char* bytes, const stl_facet& corners)
{
    bytes = store(facet_unit_normal(corners), bytes);
    for (const stl_point& x : corners) bytes = store(x, bytes);
    bytes[0] = bytes[1] = 0; // attribute
    return bytes + 2;
}

inline void write_stl_binary(block_writer& to, const dense2D<double>& pos,
                             const dense2D<unsigned>& connectM, size_t facets)
{
    constexpr size_t header_size = 80;
    std::array<char, header_size + 4> head{'K', 'Z', '3', ' ', 'S', 'T', 'L',
                                           ' ', 'B', 'i', 'n', 'a', 'r', 'y'};
    store(static_cast<std::uint32_t>(facets), head.data() + header_size);
    to.bytes(head.data(), head.size());
    write_facets(to, pos, connectM, facets,
                 [](char* at, const stl_facet& corners) { return store_facet(at, corners); });
}

} // namespace kz3::lattiq::detail
