#pragma once

#include <chrono>
#include <stop_token>

namespace peekmend {

/// Blocks the calling thread for `duration`; only until a stop is requested, when that is earlier
/// or was before.
void sleepFor(std::chrono::nanoseconds duration, const std::stop_token& stop);

} // namespace peekmend
