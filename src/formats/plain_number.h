#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <system_error>

#include "formats/eight_digits.h"
#include "formats/print_number.h"
#include "formats/text_number.h"

namespace kz3::lattiq::detail {

/// A magnitude as it is written, without its sign: mantissa * 10^exponent.
struct written_number {
    std::uint64_t mantissa = 0;
    int exponent = 0;
};

/// Takes apart up to 19 digits with a point and an exponent of up to three digits, if they have them.
/// Returns the end, or null for anything else.
inline const char* pass_decimal(const char* first, const char* last, written_number& number)
{
    constexpr std::array<std::uint32_t, 9> scale = {1,      10,      100,      1000,     10000,
                                                    100000, 1000000, 10000000, 100000000};
    std::uint32_t digits = 0;
    // Numbers with an exponent have one digit ahead of the point.
    const bool single = last - first > 1 && is_digit(first[0]) && first[1] == '.';
    const char* at = single ? first + 1 : pass_eight_digits(first, last, digits);
    if (single) digits = std::uint32_t(first[0] - '0');
    std::ptrdiff_t n = at - first;
    if (n == 8) return nullptr;
    number.mantissa = digits;
    if (at != last && *at == '.') {
        for (std::ptrdiff_t some = 8; some == 8; n += some) {
            const char* const from = at + (number.exponent == 0);
            at = pass_eight_digits(from, last, digits);
            some = at - from;
            if (n + some > 19) return nullptr;
            number.mantissa = number.mantissa * scale[std::size_t(some)] + digits;
            number.exponent -= int(some);
        }
    }
    if (n == 0) return nullptr;
    if (at == last || (*at != 'e' && *at != 'E')) return at;
    if (++at == last) return nullptr;
    const bool negative = *at == '-';
    at += negative || *at == '+';
    const char* const from = at;
    int exponent = 0;
    for (; at != last && at - from < 4 && is_digit(*at); ++at)
        exponent = exponent * 10 + (*at - '0');
    if (at == from || at - from == 4) return nullptr;
    number.exponent += negative ? -exponent : exponent;
    return at;
}

/// Reads a decimal number as strtod does under the "C" locale, if white space follows it before `last`
/// and a double comes near it: nearly every number. Returns the end, or null for anything else.
///
/// A mantissa up to 2^53 and a power of ten up to 10^22 are doubles, so that one multiplication or
/// division of the two rounds as it should: to the double nearest to the number.
inline const char* pass_plain_number(const char* first, const char* last, double& value)
{
    if (first == last) return nullptr;
    const bool negative = *first == '-';
    first += negative || *first == '+';
    if (first == last || !(is_digit(*first) || *first == '.')) return nullptr;
    written_number number;
    double magnitude = 0;
    const char* end = pass_decimal(first, last, number);
    if (end != nullptr && number.mantissa <= std::uint64_t(1) << 53 && number.exponent >= -22 &&
        number.exponent <= 22) {
        magnitude = number.exponent < 0
                        ? double(number.mantissa) / powers_of_ten[std::size_t(-number.exponent)]
                        : double(number.mantissa) * powers_of_ten[std::size_t(number.exponent)];
    } else {
        const auto [next, error] = std::from_chars(first, last, magnitude);
        if (error != std::errc()) return nullptr;
        end = next;
    }
    if (end == last || !is_space(*end)) return nullptr;
    // No branch: signs follow no pattern.
    value = std::bit_cast<double>(std::bit_cast<std::uint64_t>(magnitude) | std::uint64_t(negative)
                                                                                << 63);
    return end;
}

} // namespace kz3::lattiq::detail
