#pragma once

#include <cstdlib>

namespace kz3::lattiq::detail {

/// Ends the process: for the few caller's errors that are documented to do so, where going on would
/// reach past the end of an array.
[[noreturn]] inline void stop()
{
    std::abort();
}

} // namespace kz3::lattiq::detail
