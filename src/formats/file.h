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
///     block_writer to(out);
///     to.text("node ").integer(j, 8).scientific(x, 5, 12).text("\n");  // "node %8d%12.5e\n"
///     if (!to.flush() || !out.close()) return -1;
class block_writer {
public:
    explicit block_writer(std::FILE* to) : stream(to) {}

    /// For a file that nothing was written to yet. Its stream stops buffering, as that would break each
    /// block into a small and a large write.
    explicit block_writer(const file& to) : stream(to.get())
    {
        std::setvbuf(stream, nullptr, _IONBF, 0);
    }

    ~block_writer() { flush(); }
    block_writer(const block_writer&) = delete;
    block_writer& operator=(const block_writer&) = delete;

    /// Whether no write has failed so far.
    bool ok() const { return !failed; }

    /// Hands all to the stream, which may hold it back, if it buffers, until it is flushed or closed.
    ///
    /// @return ok()
    bool flush()
    {
        write(block.data(), std::size_t(at - block.data()));
        at = block.data();
        return ok();
    }

    block_writer& bytes(const void* data, std::size_t n)
    {
        if (n > room) {
            flush();
            write(data, n);
            return *this;
        }
        return print([=](char* to) {
            return n == 0 ? to : std::copy_n(static_cast<const char*>(data), n, to);
        });
    }

    block_writer& text(std::string_view s) { return bytes(s.data(), s.size()); }

    /// The text so many times over; it is neither empty nor longer than room.
    block_writer& repeat(std::string_view s, std::size_t times)
    {
        std::array<char, room> several;
        const std::size_t fit = std::min(times, room / s.size());
        char* end = several.data();
        for (std::size_t i = 0; i < fit; ++i) end = print_text(end, s);
        for (; times > fit; times -= fit) bytes(several.data(), fit * s.size());
        return bytes(several.data(), times * s.size());
    }

    block_writer& character(char c)
    {
        return print([=](char* to) { return print_character(to, c); });
    }

    /// "%d" or "%8d", by the type of the value: pass int(n) where a negative number is meant.
    template <typename Integer>
    block_writer& integer(Integer value, std::size_t width = 0)
    {
        return print([=](char* to) { return flush_right(to, print_integer(to, value), width); });
    }

    /// "%e", "%.8e" or "%12.5e"
    block_writer& scientific(double value, int decimals = 6, std::size_t width = 0)
    {
        return print(
            [=](char* to) { return flush_right(to, print_decimals(to, value, decimals), width); });
    }

    /// "%E": as scientific, in upper case
    block_writer& upper_scientific(double value)
    {
        return print([=](char* to) { return print_scientific<6>(to, value, 'E'); });
    }

    /// "%f"
    block_writer& fixed(double value)
    {
        return print([=](char* to) { return print_fixed(to, value); });
    }

    /// "%g"
    block_writer& general(double value)
    {
        return print([=](char* to) { return print_general(to, value); });
    }

    /// What `body` prints straight into the block: it gets the place to begin at, where it may use up
    /// to `room` characters, and returns the end of what it printed. Lines that come a million times
    /// are put together so, without a count kept in memory between their numbers.
    template <typename Body>
    block_writer& print(Body body)
    {
        at = body(at);
        if (at >= block.data() + block_size) write_block();
        return *this;
    }

    /// Of characters, for what print() is given.
    static constexpr std::size_t room = 1 << 12;

private:
    static constexpr std::size_t block_size = 1 << 16;

    static char* print_decimals(char* to, double value, int decimals)
    {
        if (decimals == 5) return print_scientific<5>(to, value);
        if (decimals == 6) return print_scientific<6>(to, value);
        assert(decimals == 8);
        return print_scientific<8>(to, value);
    }

    // Always a whole block, so that the system gets whole pages.
    void write_block()
    {
        write(block.data(), block_size);
        at = std::copy(block.data() + block_size, at, block.data());
    }

    void write(const void* data, std::size_t n)
    {
        if (!failed && n != 0) failed = std::fwrite(data, 1, n, stream) != n;
    }

    std::FILE* stream;
    bool failed = false;
    std::array<char, block_size + room> block;
    char* at = block.data();
};

} // namespace kz3::lattiq::detail
