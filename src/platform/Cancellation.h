#pragma once

#include <chrono>
#include <stop_token>

namespace peekmend {

/// Blocks the calling thread for `duration`. Returns true when all of it has passed, and false at
/// once when a stop is or was requested.
bool sleepFor(std::chrono::nanoseconds duration, const std::stop_token& stop);

} // namespace peekmend
