#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

/// The content of a file.
inline std::string read_text(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << path;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A name for a file of this test alone; the file is removed at the end, if there is one.
class temporary_file {
public:
    explicit temporary_file(const std::string& content) : temporary_file() { write(content); }

    temporary_file()
    {
        static std::atomic<int> number{0};
        path = testing::TempDir() + "lattiq_" + std::to_string(getpid()) + "_" +
               std::to_string(number++);
    }
    ~temporary_file() { std::remove(path.c_str()); }
    temporary_file(const temporary_file&) = delete;
    temporary_file& operator=(const temporary_file&) = delete;

    const char* name() const { return path.c_str(); }
    bool exists() const { return std::filesystem::exists(path); }

    void write(const std::string& content) const
    {
        std::ofstream out(path, std::ios::binary);
        out << content;
        ASSERT_TRUE(out.flush()) << path;
    }

    std::string read() const { return read_text(path); }

private:
    std::string path;
};

/// Equal texts; a failure shows the first line that differs, from either side.
inline testing::AssertionResult same_text(const std::string& a, const std::string& b)
{
    if (a == b) return testing::AssertionSuccess();
    const auto line_at = [](const std::string& s, std::size_t begin) {
        return begin < s.size() ? s.substr(begin, s.find('\n', begin) - begin) : "the end";
    };
    const auto at = std::size_t(
        std::mismatch(a.begin(), a.begin() + std::ptrdiff_t(std::min(a.size(), b.size())),
                      b.begin())
            .first -
        a.begin());
    const std::size_t begin = at == 0 ? 0 : a.rfind('\n', at - 1) + 1;
    return testing::AssertionFailure()
           << "line " << std::count(a.begin(), a.begin() + std::ptrdiff_t(begin), '\n') + 1
           << ":\n  " << testing::PrintToString(line_at(a, begin)) << "\nagainst\n  "
           << testing::PrintToString(line_at(b, begin)) << "\nsizes " << a.size() << " and "
           << b.size();
}

/// The content of a file of tests/formats/golden.
inline std::string golden(const std::string& name)
{
    std::string path = LATTIQ_SOURCE_DIR "/tests/formats/golden/";
    path += name;
    return read_text(path);
}

/// File descriptors that the process holds open.
inline std::size_t open_descriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::size_t(std::distance(begin(all), end(all)));
}
