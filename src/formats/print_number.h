#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "formats/eight_digits.h"

/// Numbers as the C runtime prints them in the "C" locale, for text output in bulk.
///
/// Each function prints from `to` on and returns the end of what it printed. It may use up to
/// print_room characters there, or print_integer_room for whole numbers, and more than it returns: what
/// follows is printed over the rest.
namespace kz3::lattiq::detail {

/// "%f" of the largest double has 317 characters.
inline constexpr std::size_t print_room = 352;
inline constexpr std::size_t print_integer_room = 24;

/// Powers of ten that a double holds exactly.
inline constexpr std::array<double, 23> powers_of_ten = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

inline char* print_character(char* to, char c)
{
    *to = c;
    return to + 1;
}

inline char* print_text(char* to, std::string_view text)
{
    return std::copy(text.begin(), text.end(), to);
}

/// Moves what was printed to the right end of a field of this width, unless it is wider.
inline char* flush_right(char* first, char* last, std::size_t width)
{
    char* const end = std::max(last, first + width);
    std::fill(first, std::copy_backward(first, last, end), ' ');
    return end;
}

/// Any whole number, through the standard library.
template <typename Integer>
char* print_any_integer(char* to, Integer value)
{
    return std::to_chars(to, to + print_integer_room, value).ptr;
}

/// "%d", "%u" and the like, by the type of the value.
template <typename Integer>
inline char* print_integer(char* to, Integer value)
{
    if (std::uint64_t(value) >= 100'000'000) return print_any_integer(to, value);
    const std::uint64_t digits = eight_digits(std::uint32_t(value));
    const unsigned leading = leading_zeros(digits);
    put(to, (digits | zeros) >> 8 * leading);
    return to + (8 - leading);
}

/// "%8d": a number of more characters takes the room that it needs.
template <typename Integer>
inline char* print_integer_8(char* to, Integer value)
{
    if (std::uint64_t(value) >= 100'000'000)
        return flush_right(to, print_any_integer(to, value), 8);
    const std::uint64_t digits = eight_digits(std::uint32_t(value));
    const std::uint64_t leading = (std::uint64_t(1) << 8 * leading_zeros(digits)) - 1;
    // A zero differs from a blank in the bit 0x10 alone.
    put(to, digits | (zeros & ~(leading & 0x1010101010101010)));
    return to + 8;
}

/// Any double, through the standard library.
inline char* print_any_double(char* to, double value, std::chars_format format, int precision)
{
    return std::to_chars(to, to + print_room, value, format, precision).ptr;
}

/// The whole number nearest to magnitude * 10^power, of two that are as near the even one, exactly as
/// if the product had not been rounded. It must stay below 2^52, and |power| below 23.
///
/// The rounded product, below 2^52, is a multiple of some 2^-i, i > 0, and off by at most half of that.
/// 1/2 is such a multiple too. If its fraction is above 1/2, it is so by 2^-i or more, and the exact
/// fraction is above 1/2; the same below. Only at 1/2 the side is decided by what rounding took away,
/// whose sign one fused multiplication and addition tells.
inline std::uint64_t round_scaled(double magnitude, int power)
{
    const double factor = powers_of_ten[std::size_t(std::abs(power))];
    const double scaled = power < 0 ? magnitude / factor : magnitude * factor;
    const auto whole = std::int64_t(scaled);
    const double fraction = scaled - double(whole);
    if (fraction != 0.5) return std::uint64_t(whole) + (fraction > 0.5 ? 1 : 0);

    const double error =
        power < 0 ? std::fma(-scaled, factor, magnitude) : std::fma(magnitude, factor, -scaled);
    const bool up = error > 0 || (error == 0 && whole % 2 != 0);
    return std::uint64_t(whole) + (up ? 1 : 0);
}

/// "%f"
inline char* print_fixed(char* to, double value)
{
    const double magnitude = std::abs(value);
    // Above, the millionths come near 2^52. Negated, so that NaN takes this road too.
    if (!(magnitude < 4e9)) return print_any_double(to, value, std::chars_format::fixed, 6);

    *to = '-';
    to += std::signbit(value) ? 1 : 0;
    const std::uint64_t millionths = round_scaled(magnitude, 6);
    to = print_integer(to, std::uint32_t(millionths / 1'000'000));
    *to = '.';
    put(to + 1, (eight_digits(std::uint32_t(millionths % 1'000'000)) | zeros) >> 16);
    return to + 7;
}

/// A number rounded to so many significant digits: digits[0].digits[1]... * 10^exponent.
struct decimal {
    std::uint32_t digits;
    int exponent;
};

/// floor(log10(2^n)) for n from -44 to 73
constexpr int decimal_exponent(int n)
{
    return (n * 78913) >> 18;
}

constexpr bool decimal_exponents_hold()
{
    double power = 1;
    for (int n = 0; n <= 73; ++n, power *= 2) {
        const auto up = std::size_t(decimal_exponent(n));
        const auto down = std::size_t(-decimal_exponent(-n));
        if (powers_of_ten[up] > power || (up < 22 && powers_of_ten[up + 1] <= power)) return false;
        if (n > 44) continue;
        if (powers_of_ten[down] < power || (n > 0 && powers_of_ten[down - 1] >= power))
            return false;
    }
    return true;
}
static_assert(decimal_exponents_hold());

/// Whether round_to_digits takes a magnitude; not NaN.
inline bool has_decimal(double magnitude)
{
    return (magnitude >= 1e-13 && magnitude < 1e22) || magnitude == 0;
}

/// The magnitude rounded to 6 to 9 digits, as if exactly.
///
/// The exponent is first taken from that of the power of two below: it is right or one too low, which
/// shows by a digit too many, and then the scaling is done again. Where just a power of ten with a
/// digit too many comes out, be it by rounding up with the right exponent or nearly exactly with one too
/// low, dropping a zero gives what scaling again would.
template <int Digits>
decimal round_to_digits(double magnitude)
{
    static_assert(Digits >= 6 && Digits <= 9);
    constexpr auto above = std::uint64_t(powers_of_ten[Digits]);
    if (magnitude == 0) return {0, 0};
    int exponent = decimal_exponent(int(std::bit_cast<std::uint64_t>(magnitude) >> 52) - 1023);
    std::uint64_t digits = round_scaled(magnitude, Digits - 1 - exponent);
    if (digits > above) digits = round_scaled(magnitude, Digits - 1 - ++exponent);
    if (digits == above) {
        digits /= 10;
        ++exponent;
    }
    return {std::uint32_t(digits), exponent};
}

/// "e-07", with this letter; the exponent has two digits.
inline char* print_exponent(char* to, int exponent, char letter)
{
    const int magnitude = std::abs(exponent);
    to[0] = letter;
    to[1] = exponent < 0 ? '-' : '+';
    to[2] = char('0' + magnitude / 10);
    to[3] = char('0' + magnitude % 10);
    return to + 4;
}

/// "%.5e" to "%.8e", or "%E" where the letter is upper case.
template <int Decimals>
char* print_scientific(char* to, double value, char letter = 'e')
{
    const double magnitude = std::abs(value);
    if (!has_decimal(magnitude)) {
        char* const last = print_any_double(to, value, std::chars_format::scientific, Decimals);
        const auto raised = [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; };
        if (letter == 'E') std::transform(to, last, to, raised);
        return last;
    }
    constexpr auto one = std::uint32_t(powers_of_ten[Decimals]);
    const decimal d = round_to_digits<Decimals + 1>(magnitude);
    *to = '-';
    to += std::signbit(value) ? 1 : 0;
    to[0] = char('0' + d.digits / one);
    to[1] = '.';
    put(to + 2, (eight_digits(d.digits % one) | zeros) >> 8 * (8 - Decimals));
    return print_exponent(to + 2 + Decimals, d.exponent, letter);
}

/// "%g"
inline char* print_general(char* to, double value)
{
    const double magnitude = std::abs(value);
    if (!has_decimal(magnitude)) return print_any_double(to, value, std::chars_format::general, 6);

    const decimal d = round_to_digits<6>(magnitude);
    const std::uint64_t digits = eight_digits(d.digits) >> 16;
    const std::uint64_t characters = digits | zeros;
    // without the zeros at the end; a zero by itself has one
    const int kept = std::max((int(std::bit_width(digits)) + 7) / 8, 1);
    *to = '-';
    to += std::signbit(value) ? 1 : 0;
    if (d.exponent < 0 && d.exponent >= -4) {
        put(to, zeros);
        to[1] = '.';
        put(to + 1 - d.exponent, characters);
        return to + 1 - d.exponent + kept;
    }
    const bool fixed = d.exponent >= 0 && d.exponent < 6;
    const int whole = fixed ? d.exponent + 1 : 1;
    put(to, characters);
    if (kept > whole) {
        to[whole] = '.';
        put(to + whole + 1, characters >> 8 * whole);
    }
    to += kept > whole ? kept + 1 : whole;
    return fixed ? to : print_exponent(to, d.exponent, 'e');
}

} // namespace kz3::lattiq::detail
