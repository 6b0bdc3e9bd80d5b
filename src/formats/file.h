#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace kz3::lattiq::detail {

/// A stream of the C library, closed on every path.
///
///     file out(name, "wt");
///     if (!out) return -1;
///     ...
///     return out.close() ? 0 : -1;
///
/// A null name opens nothing.
class file {
public:
    file(const char* name, const char* mode)
        : stream(name == nullptr ? nullptr : std::fopen(name, mode))
    {
    }
    ~file() { close(); }
    file(const file&) = delete;
    file& operator=(const file&) = delete;

    explicit operator bool() const { return stream != nullptr; }
    std::FILE* get() const { return stream; }

    /// Whether all that was written reached the file. Only here does a full device show what it held
    /// back. True when there is nothing left to close.
    bool close()
    {
        std::FILE* closing = stream;
        stream = nullptr;
        return closing == nullptr || std::fclose(closing) == 0;
    }

private:
    std::FILE* stream;
};

/// Formats into a block and hands full blocks to a stream of the C library.
///
/// Numbers come out as the C runtime prints them in the "C" locale, whatever the locale of the
/// process. After a failed write all further output is dropped and ok() stays false. What stands in
/// the block when the writer goes is still written; only flush() tells whether that worked. The
/// block is part of the object: nothing is allocated, nothing thrown.
///
///     block_writer to(out.get());
///     to.text("node ").integer(j, 8).scientific(x, 5, 12).text("\n");  // "node %8d%12.5e\n"
///     if (!to.flush() || !out.close()) return -1;
class block_writer {
public:
    explicit block_writer(std::FILE* to) : stream(to) {}
    ~block_writer() { flush(); }
    block_writer(const block_writer&) = delete;
    block_writer& operator=(const block_writer&) = delete;

    /// Whether no write has failed so far.
    bool ok() const { return !failed; }

    /// Hands the block to the stream, which may hold it back until it is flushed or closed itself.
    ///
    /// @return ok()
    bool flush()
    {
        write(block.data(), used);
        used = 0;
        return ok();
    }

    block_writer& bytes(const void* data, std::size_t n)
    {
        if (n > block.size() - used) flush();
        if (n > block.size()) {
            write(data, n);
        } else if (n != 0) {
            std::memcpy(block.data() + used, data, n);
            used += n;
        }
        return *this;
    }

    block_writer& text(std::string_view s) { return bytes(s.data(), s.size()); }

    block_writer& character(char c)
    {
        *room(1) = c;
        ++used;
        return *this;
    }

    /// "%d" or "%8d", by the type of the value: pass int(n) where a negative number is meant.
    template <typename Integer>
    block_writer& integer(Integer value, std::size_t width = 0)
    {
        char* first = room(longest_integer);
        return field(first, std::to_chars(first, first + longest_integer, value).ptr, width);
    }

    /// "%e", "%.8e" or "%12.5e"
    block_writer& scientific(double value, int precision = 6, std::size_t width = 0)
    {
        return number(value, std::chars_format::scientific, precision, width);
    }

    /// "%E": as scientific, in upper case
    block_writer& upper_scientific(double value, int precision = 6, std::size_t width = 0)
    {
        return number(value, std::chars_format::scientific, precision, width, true);
    }

    /// "%f"
    block_writer& fixed(double value, int precision = 6, std::size_t width = 0)
    {
        return number(value, std::chars_format::fixed, precision, width);
    }

    /// "%g"
    block_writer& general(double value, int precision = 6, std::size_t width = 0)
    {
        return number(value, std::chars_format::general, precision, width);
    }

private:
    static constexpr std::size_t block_size = 1 << 16;
    static constexpr std::size_t longest_integer = 24;
    static constexpr int most_decimals = 64;
    static constexpr std::size_t longest_number = 320 + most_decimals; // "%f" of the largest double

    // Room for n characters, n below the size of a block.
    char* room(std::size_t n)
    {
        if (n > block.size() - used) flush();
        return block.data() + used;
    }

    block_writer& number(double value, std::chars_format format, int precision, std::size_t width,
                         bool upper = false)
    {
        assert(precision >= 0 && precision <= most_decimals);
        char* first = room(longest_number);
        char* last = std::to_chars(first, first + longest_number, value, format, precision).ptr;
        if (upper)
            std::transform(first, last, first,
                           [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; });
        return field(first, last, width);
    }

    // Takes in [first, last), which stands at the end of what is used, flush right in its field.
    block_writer& field(char* first, char* last, std::size_t width)
    {
        const auto n = std::size_t(last - first);
        used += n;
        if (n >= width) return *this;
        assert(width <= longest_integer);
        std::array<char, longest_integer> padded;
        padded.fill(' ');
        std::copy(first, last, padded.begin() + std::ptrdiff_t(width - n));
        used -= n;
        return bytes(padded.data(), width);
    }

    void write(const void* data, std::size_t n)
    {
        if (!failed && n != 0) failed = std::fwrite(data, 1, n, stream) != n;
    }

    std::FILE* stream;
    std::size_t used = 0;
    bool failed = false;
    std::array<char, block_size> block;
};

} // namespace kz3::lattiq::detail
