#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "formats/print_number.h"

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
        char* first = room(print_room);
        return field(first, print_integer(first, value), width);
    }

    /// "%e", "%.8e" or "%12.5e"
    block_writer& scientific(double value, int decimals = 6, std::size_t width = 0)
    {
        char* first = room(print_room);
        return field(first, print_decimals(first, value, decimals), width);
    }

    /// "%E": as scientific, in upper case
    block_writer& upper_scientific(double value)
    {
        return print(print_room, [=](char* to) { return print_scientific<6>(to, value, 'E'); });
    }

    /// "%f"
    block_writer& fixed(double value)
    {
        return print(print_room, [=](char* to) { return print_fixed(to, value); });
    }

    /// "%g"
    block_writer& general(double value)
    {
        return print(print_room, [=](char* to) { return print_general(to, value); });
    }

    /// What `body` prints straight into the block. It gets the place to begin at, where it may use up to
    /// `most` characters, less than a block, and returns the end of what it printed. This is how lines
    /// are put together that come a million times: no count is kept in memory between their numbers.
    template <typename Body>
    block_writer& print(std::size_t most, Body body)
    {
        used = std::size_t(body(room(most)) - block.data());
        return *this;
    }

private:
    static constexpr std::size_t block_size = 1 << 16;
    static constexpr std::size_t widest_field = 24;

    // Room for n characters, n below the size of a block.
    char* room(std::size_t n)
    {
        assert(n <= block.size());
        if (n > block.size() - used) flush();
        return block.data() + used;
    }

    static char* print_decimals(char* to, double value, int decimals)
    {
        if (decimals == 5) return print_scientific<5>(to, value);
        if (decimals == 6) return print_scientific<6>(to, value);
        assert(decimals == 8);
        return print_scientific<8>(to, value);
    }

    // Takes in [first, last), which stands at the end of what is used, flush right in its field.
    block_writer& field(char* first, char* last, std::size_t width)
    {
        const auto n = std::size_t(last - first);
        if (n < width) {
            assert(width <= widest_field);
            std::copy_backward(first, last, first + width);
            std::fill_n(first, width - n, ' ');
        }
        used += std::max(n, width);
        return *this;
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
