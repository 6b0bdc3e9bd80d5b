#pragma once

// What the examples that print a report share.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <kz3/misc/histogram.h>

namespace report {

/// Returns a result of the library that is 0 or a count, and throws a negative one, which names the
/// argument at fault.
inline int must(int result, const char* call)
{
    if (result < 0) throw std::runtime_error(call + (": " + std::to_string(result)));
    return result;
}

/// The same for containers, which tell by false that they found no memory.
inline void must(bool done, const char* call)
{
    if (!done) throw std::runtime_error(std::string(call) + ": out of memory");
}

/// Runs an example; what it throws becomes one line on standard error and a failing exit.
inline int guarded(const char* name, void (*run)())
{
    try {
        run();
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", name, failure.what());
        return 1;
    }
}

/// The name of a file in the folder of results, which is made if it is missing.
inline std::string in_folder(const std::string& name)
{
    const std::filesystem::path folder = "lattiq-report";
    std::filesystem::create_directories(folder);
    return (folder / name).string();
}

/// Prints a bar for each bin of a histogram.
inline void print(const kz3::misc::histogram& hist)
{
    const kz3::dense1D<double> bounds = hist.boundaries();
    std::uint64_t most = 1;
    for (std::size_t i = 0; i < hist.bins(); ++i) most = std::max(most, hist.count(i));
    for (std::size_t i = 0; i < hist.bins(); ++i)
        std::printf("    %.2f to %.2f %9zu %s\n", bounds[i], bounds[i + 1],
                    std::size_t(hist.count(i)),
                    std::string(50 * hist.count(i) / most, '#').c_str());
}

} // namespace report
