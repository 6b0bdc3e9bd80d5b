#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

#include "formats/c_locale.h"
#include "formats/eight_digits.h"

namespace kz3::lattiq::detail {

/// White space of the "C" locale.
inline bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

inline std::string_view skip_space(std::string_view text)
{
    std::size_t n = 0;
    while (n < text.size() && is_space(text[n])) ++n;
    return text.substr(n);
}

/// strtod of the C runtime, for the few texts that std::from_chars does not settle.
inline double runtime_double(std::string_view text)
{
    const std::string terminated(text);
    const c_locale pinned;
    return std::strtod(terminated.c_str(), nullptr);
}

/// atof under the "C" locale: the number at the beginning of the text, 0 where there is none.
inline double text_to_double(std::string_view text)
{
    text = skip_space(text);
    if (text.empty()) return 0;
    const bool negative = text.front() == '-';
    const char* first = text.data() + (negative || text.front() == '+');
    const char* last = text.data() + text.size();
    const bool decimal = first != last && (is_digit(*first) || *first == '.') &&
                         !(last - first > 1 && (first[1] == 'x' || first[1] == 'X'));
    double magnitude = 0;
    if (decimal && std::from_chars(first, last, magnitude).ec == std::errc())
        return negative ? -magnitude : magnitude;
    return runtime_double(text);
}

/// atoi: the whole number at the beginning of the text, 0 where there is none. Of a number that does
/// not fit an int the low 32 bits are taken, of one that does not fit 64 bits those of the nearest
/// that does; so an unsigned number keeps its bits.
inline int text_to_int(std::string_view text)
{
    text = skip_space(text);
    std::uint32_t plain = 0;
    const char* const end = text.data() + text.size();
    const char* const next = pass_eight_digits(text.data(), end, plain);
    if (next == end || (next != text.data() && !is_digit(*next))) return static_cast<int>(plain);

    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') text.remove_prefix(1);
    const std::uint64_t most =
        std::uint64_t(std::numeric_limits<std::int64_t>::max()) + (negative ? 1 : 0);
    std::uint64_t magnitude = 0;
    for (const char c : text) {
        if (!is_digit(c)) break;
        const auto digit = std::uint64_t(c - '0');
        magnitude = magnitude > (most - digit) / 10 ? most : magnitude * 10 + digit;
    }
    return static_cast<int>(static_cast<std::uint32_t>(negative ? 0 - magnitude : magnitude));
}

} // namespace kz3::lattiq::detail
