#pragma once

namespace kz3::lattiq::detail {

/// The one result with a name: a container could not be sized.
inline constexpr int out_of_memory = -199;

} // namespace kz3::lattiq::detail
