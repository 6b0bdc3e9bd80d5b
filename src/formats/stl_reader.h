#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <sys/stat.h>

#include "formats/plain_number.h"
#include "formats/stl_facet.h"
#include "formats/stl_facet_list.h"
#include "formats/text_scanner.h"

namespace kz3::lattiq::detail {

// ---- text ----

/// Three numbers and the white space behind them, which reaches over line ends.
inline bool read_point(text_scanner& in, stl_point& x)
{
    for (double& value : x)
        if (!in.number(value)) return false;
    in.skip_space();
    return true;
}

/// "facet normal" of fscanf: white space may be anything, also nothing. The normal itself is not used.
inline bool read_facet_head(text_scanner& in)
{
    in.skip_space();
    if (!in.match("facet")) return false;
    in.skip_space();
    stl_point normal;
    return in.match("normal") && read_point(in, normal);
}

inline bool read_corner(text_scanner& in, stl_point& x)
{
    in.skip_space();
    return in.match("vertex") && read_point(in, x);
}

/// A facet that stands in the block as a whole and has nothing but plain numbers: passes what the
/// scanner would pass, without asking before each character whether it is there. Where something else
/// turns up nothing is passed.
class plain_facet {
public:
    explicit plain_facet(std::string_view text) : at_(text.data()), last_(at_ + text.size()) {}

    /// @return the end, or null
    const char* read(stl_facet& corners)
    {
        stl_point normal;
        bool whole = word("facet") && word("normal") && point(normal) && line();
        for (stl_point& corner : corners) whole = whole && word("vertex") && point(corner);
        return whole && line() && line() ? at_ : nullptr;
    }

private:
    // The last character of the block may be part of a longer run.
    bool skip_space()
    {
        while (at_ != last_ && is_space(*at_)) ++at_;
        return at_ != last_;
    }

    bool word(std::string_view s)
    {
        if (!skip_space() || size_t(last_ - at_) < s.size()) return false;
        const bool same = std::memcmp(at_, s.data(), s.size()) == 0;
        at_ += s.size();
        return same;
    }

    bool point(stl_point& x)
    {
        for (double& value : x) {
            if (!skip_space()) return false;
            at_ = pass_plain_number(at_, last_, value);
            if (at_ == nullptr) return false;
        }
        return skip_space();
    }

    bool line()
    {
        const size_t n = std::min<size_t>(255, size_t(last_ - at_));
        const void* end = std::memchr(at_, '\n', n);
        if (end == nullptr) return false;
        at_ = static_cast<const char*>(end) + 1;
        return true;
    }

    const char* at_;
    const char* last_;
};

/// Adds the next facet; false where the text holds no further whole one, of which the corners that
/// are there are added.
inline bool read_text_facet(text_scanner& in, facet_list& list)
{
    stl_facet corners;
    if (const char* end = plain_facet(in.ahead()).read(corners)) {
        in.pass_to(end);
        list.add_facet(corners);
        return true;
    }
    if (!read_facet_head(in)) return false;
    if (!in.skip_line()) return false; // outer loop
    size_t n = 0;
    while (n < 3 && read_corner(in, corners[n])) ++n;
    if (n == 3 && in.skip_line() && in.skip_line()) { // endloop, endfacet
        list.add_facet(corners);
        return true;
    }
    for (size_t k = 0; k < n; ++k) list.add_loose(corners[k]);
    return false;
}

inline bool read_stl_text(std::FILE* stream, facet_list& list)
{
    text_scanner in(stream);
    if (!in.skip_line()) return false;
    while (read_text_facet(in, list)) {}
    return true;
}

// ---- binary ----

/// Bytes of the binary form: the header, and a facet of 12 floats and an attribute of two bytes.
inline constexpr size_t stl_header_size = 80;
inline constexpr size_t stl_node_size = 12;
inline constexpr size_t stl_facet_size = 50;

inline std::uint32_t load_word(const unsigned char* bytes)
{
    std::uint32_t value = 0;
    for (int k = 0; k < 4; ++k) value |= std::uint32_t(bytes[k]) << (8 * k);
    return value;
}

inline stl_point load_point(const unsigned char* bytes)
{
    stl_point x;
    for (size_t d = 0; d < 3; ++d) x[d] = double(std::bit_cast<float>(load_word(bytes + 4 * d)));
    return x;
}

/// Adds the facet of which n bytes, at least one, could be read: of a cut one, the corners that are
/// whole.
inline void add_binary_facet(const unsigned char* bytes, size_t n, facet_list& list)
{
    stl_facet corners;
    for (size_t k = 0; k < 3; ++k) {
        const size_t at = (k + 1) * stl_node_size;
        if (at + stl_node_size <= n) corners[k] = load_point(bytes + at);
    }
    if (n == stl_facet_size) return list.add_facet(corners);
    for (size_t k = 0; (k + 2) * stl_node_size <= n; ++k) list.add_loose(corners[k]);
}

/// Makes room for what a file holds, of at most so many facets. What is no file tells nothing.
inline void expect_facets(std::FILE* in, size_t count, facet_list& list)
{
    struct stat status {};
    constexpr size_t head = stl_header_size + 4;
    if (fstat(fileno(in), &status) != 0 || !S_ISREG(status.st_mode)) return;
    const size_t bytes = status.st_size > off_t(head) ? size_t(status.st_size) - head : 0;
    const size_t whole = std::min(count, bytes / stl_facet_size);
    const size_t rest = whole < count ? bytes % stl_facet_size / stl_node_size : 0;
    list.expect(3 * whole + (rest > 1 ? rest - 1 : 0), whole);
}

inline bool read_stl_binary(std::FILE* in, facet_list& list)
{
    constexpr size_t facets_per_block = 1024;
    std::array<unsigned char, facets_per_block * stl_facet_size> block;
    constexpr size_t head = stl_header_size + 4;
    if (std::fread(block.data(), 1, head, in) != head) return false;

    // The count is believed only as an upper bound: memory grows with what is there.
    const auto count = static_cast<std::int32_t>(load_word(block.data() + stl_header_size));
    size_t left = count > 0 ? size_t(count) : 0;
    expect_facets(in, left, list);
    while (left > 0) {
        const size_t wanted = std::min(left, facets_per_block) * stl_facet_size;
        const size_t got = std::fread(block.data(), 1, wanted, in);
        for (size_t at = 0; at < got; at += stl_facet_size)
            add_binary_facet(block.data() + at, std::min(got - at, stl_facet_size), list);
        if (got < wanted) break;
        left -= wanted / stl_facet_size;
    }
    return true;
}

} // namespace kz3::lattiq::detail
