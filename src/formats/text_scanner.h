#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

#include "formats/c_locale.h"
#include "formats/plain_number.h"

namespace kz3::lattiq::detail {

/// Takes a text apart as fgets and fscanf of the C runtime do under the "C" locale, out of a block of
/// its own.
///
/// It reads past the stream's buffer, so nothing else may read from the stream meanwhile, and takes
/// what is there without waiting for a full block: a text that comes through a pipe is scanned as it
/// comes. The end, once met, stays.
class text_scanner {
public:
    explicit text_scanner(std::FILE* in) : descriptor(fileno(in)) {}
    text_scanner(const text_scanner&) = delete;
    text_scanner& operator=(const text_scanner&) = delete;

    /// Passes the rest of a line, at most 255 characters, as fgets with a buffer of 256.
    ///
    /// @return false where nothing is left, or reading failed
    bool skip_line()
    {
        std::size_t left = 255;
        while (left > 0 && peek() != end_of_text) {
            const std::size_t n = std::min(left, std::size_t(last - at));
            const void* line_end = std::memchr(at, '\n', n);
            if (line_end != nullptr) {
                at = static_cast<const char*>(line_end) + 1;
                return true;
            }
            at += n;
            left -= n;
        }
        return left < 255 && !failed;
    }

    /// Passes any run of white space, also none: a blank in a template of fscanf.
    void skip_space()
    {
        while (is_space(peek())) ++at;
    }

    /// Passes this word; false at the first character that differs.
    bool match(std::string_view word)
    {
        for (const char c : word) {
            if (peek() != static_cast<unsigned char>(c)) return false;
            ++at;
        }
        return true;
    }

    /// Reads a number behind white space: "%lg".
    bool number(double& value)
    {
        skip_space();
        return plain_number(value) || any_number(value);
    }

    /// What stands in the block already. A part of it that is plain may be read there and passed.
    std::string_view ahead() const { return {at, std::size_t(last - at)}; }
    void pass_to(const char* next) { at = next; }

private:
    static constexpr int end_of_text = -1;

    static bool is_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    static bool is_digit(int c) { return c >= '0' && c <= '9'; }
    static int lower(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }

    int peek()
    {
        if (at == last && !refill()) return end_of_text;
        return static_cast<unsigned char>(*at);
    }

    bool refill()
    {
        if (ended) return false;
        const auto n = ::read(descriptor, block.data(), block.size());
        failed = n < 0;
        ended = n <= 0;
        at = block.data();
        last = at + (ended ? 0 : n);
        return !ended;
    }

    // A number of decimal digits with white space behind it, all within the block: nearly every one.
    // Otherwise nothing is passed.
    bool plain_number(double& value)
    {
        const char* next = pass_plain_number(at, last, value);
        if (next == nullptr) return false;
        at = next;
        return true;
    }

    // The rest: what is hexadecimal, out of range, no number at all, followed by something else.
    bool any_number(double& value)
    {
        std::string token;
        if (!collect(token)) return false;
        const c_locale pinned;
        char* end = nullptr;
        value = std::strtod(token.c_str(), &end);
        return end != token.c_str();
    }

    // Passes what the runtime's scanner passes for a number. That is more than a number at times: of
    // "1e" the value is 1, and the letter goes with it.
    bool collect(std::string& token)
    {
        if (peek() == '-' || peek() == '+') take(token);
        const std::size_t sign = token.size();
        if (lower(peek()) == 'n') return take_word("nan", token);
        if (lower(peek()) == 'i')
            return take_word("inf", token) && (lower(peek()) != 'i' || take_word("inity", token));

        bool hexadecimal = false;
        if (peek() == '0') {
            take(token);
            hexadecimal = lower(peek()) == 'x';
            if (hexadecimal) take(token);
        }
        collect_digits(hexadecimal, token);
        return token.size() > (hexadecimal ? sign + 2 : sign);
    }

    void collect_digits(bool hexadecimal, std::string& token)
    {
        const char exponent_mark = hexadecimal ? 'p' : 'e';
        bool digit = !hexadecimal && !token.empty() && token.back() == '0';
        bool point = false;
        bool exponent = false;
        for (;; take(token)) {
            const int c = lower(peek());
            if (is_digit(c) || (hexadecimal && !exponent && c >= 'a' && c <= 'f')) {
                digit = true;
            } else if (exponent && token.back() == exponent_mark && (c == '-' || c == '+')) {
                continue;
            } else if (digit && !exponent && c == exponent_mark) {
                exponent = point = true;
            } else if (!point && c == '.') {
                point = true;
            } else {
                return;
            }
        }
    }

    // The character that peek() shows.
    void take(std::string& token) { token.push_back(static_cast<char>(lower(*at++))); }

    bool take_word(std::string_view word, std::string& token)
    {
        for (const char c : word) {
            if (lower(peek()) != c) return false;
            take(token);
        }
        return true;
    }

    int descriptor;
    bool ended = false;
    bool failed = false;
    const char* at = nullptr;
    const char* last = nullptr;
    std::array<char, 1 << 16> block;
};

} // namespace kz3::lattiq::detail
