#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Digits in eights, one to a byte of a word, the first in the lowest: what makes the difference where
/// texts hold millions of numbers. Lanes of a word are worked on at once.
namespace kz3::lattiq::detail {

/// Eight zeros, as characters.
inline constexpr std::uint64_t zeros = 0x3030303030303030;

/// The digits of a number below 10^8.
///
/// Halves, quarters and single digits are split off in turn. A multiplication by a slightly larger
/// reciprocal takes the place of the division, which is exact for numbers this small.
constexpr std::uint64_t eight_digits(std::uint32_t n)
{
    const std::uint64_t halves = n / 10000 | std::uint64_t(n % 10000) << 32;
    const std::uint64_t hundreds = (halves * 10486 >> 20) & 0x0000007f0000007f;
    const std::uint64_t pairs = hundreds | (halves - 100 * hundreds) << 16;
    const std::uint64_t tens = (pairs * 103 >> 10) & 0x000f000f000f000f;
    return tens | (pairs - 10 * tens) << 8;
}

/// The number below 10^8 that digits make: pairs, fours and then all are put together.
constexpr std::uint32_t number_of_digits(std::uint64_t digits)
{
    const std::uint64_t pairs = (digits * 10 + (digits >> 8)) & 0x00ff00ff00ff00ff;
    const std::uint64_t fours = (pairs * 100 + (pairs >> 16)) & 0x0000ffff0000ffff;
    return std::uint32_t(fours * 10000 + (fours >> 32));
}

/// Zeros ahead of the first other of eight digits, of which the last counts as one.
constexpr unsigned leading_zeros(std::uint64_t digits)
{
    return unsigned(std::countr_zero(digits | std::uint64_t(1) << 56)) / 8;
}

/// How many of eight characters, from the first one on, are digits.
///
/// The upper bit of a byte comes out set where it is above '9' or below '0'. What a byte carries into
/// the next one matters behind the first that is no digit only, as a digit carries nothing.
constexpr unsigned count_digits(std::uint64_t characters)
{
    const std::uint64_t others = (characters + 0x4646464646464646) | (characters - zeros);
    return unsigned(std::countr_zero(others & 0x8080808080808080)) / 8;
}

/// Writes eight characters.
inline void put(char* to, std::uint64_t characters)
{
    for (unsigned i = 0; i < 8; ++i) to[i] = char(characters >> 8 * i);
}

/// Reads eight characters.
inline std::uint64_t get(const char* from)
{
    std::uint64_t characters = 0;
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(&characters, from, sizeof characters);
        return characters;
    }
    for (unsigned i = 0; i < 8; ++i)
        characters |= std::uint64_t(static_cast<unsigned char>(from[i])) << 8 * i;
    return characters;
}

/// Passes up to eight digits, of which `number` gets the value: 0 where there are none.
inline const char* pass_eight_digits(const char* first, const char* last, std::uint32_t& number)
{
    if (last - first >= 8) {
        const std::uint64_t characters = get(first);
        const unsigned n = count_digits(characters);
        number = n == 0 ? 0 : number_of_digits((characters & 0x0f0f0f0f0f0f0f0f) << (64 - 8 * n));
        return first + n;
    }
    number = 0;
    for (; first != last && *first >= '0' && *first <= '9'; ++first)
        number = number * 10 + std::uint32_t(*first - '0');
    return first;
}

} // namespace kz3::lattiq::detail
