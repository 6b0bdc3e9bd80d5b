#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

namespace kz3::lattiq::detail {

/// Reads a text line by line, as std::getline does, out of a block of its own.
///
/// It reads past the stream's buffer, so nothing else may read from the stream meanwhile, and takes
/// what is there without waiting for a full block. A line may be of any length and hold any bytes.
/// Only a line that does not lie within one block is copied.
class line_reader {
public:
    explicit line_reader(std::FILE* in) : descriptor(fileno(in)) {}
    line_reader(const line_reader&) = delete;
    line_reader& operator=(const line_reader&) = delete;

    /// Reads the next line, without its line end; it stays valid until the next call.
    ///
    /// @return false where no character is left, or reading failed
    bool next(std::string_view& line)
    {
        if (take_line(line)) return true;
        joined.assign(at, last);
        at = last;
        while (refill()) {
            const bool whole = take_line(line);
            joined.append(whole ? line : std::string_view(at, std::size_t(last - at)));
            if (!whole) at = last;
            line = joined;
            if (whole) return true;
        }
        line = joined;
        return !failed && !joined.empty();
    }

    /// Whether the end of the text was met: the last line had no line end behind it.
    bool at_end() const { return ended; }

private:
    // The next line, if all of it lies in the block.
    bool take_line(std::string_view& line)
    {
        const void* line_end = std::memchr(at, '\n', std::size_t(last - at));
        if (line_end == nullptr) return false;
        const auto* end = static_cast<const char*>(line_end);
        line = std::string_view(at, std::size_t(end - at));
        at = end + 1;
        return true;
    }

    bool refill()
    {
        if (ended) return false;
        auto n = ::read(descriptor, block.data(), block.size());
        while (n < 0 && errno == EINTR) n = ::read(descriptor, block.data(), block.size());
        failed = n < 0;
        ended = n <= 0;
        at = block.data();
        last = at + (ended ? 0 : n);
        return !ended;
    }

    int descriptor;
    bool ended = false;
    bool failed = false;
    std::array<char, 1 << 16> block;
    const char* at = block.data();
    const char* last = block.data();
    std::string joined;
};

} // namespace kz3::lattiq::detail
