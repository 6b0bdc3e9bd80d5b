#pragma once

namespace kz3::lattiq::detail {

/// Asks for the memory at this address, which need not be valid, so that a read soon after does not
/// wait. Nothing where the compiler knows no such hint.
inline void prefetch([[maybe_unused]] const void* address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#endif
}

} // namespace kz3::lattiq::detail
