#include "platform/Cancellation.h"

#include <condition_variable>
#include <mutex>

namespace peekmend {

void sleepFor(std::chrono::nanoseconds duration, const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any wake;
    std::unique_lock lock(mutex);
    wake.wait_for(lock, stop, duration, [] { return false; });
}

} // namespace peekmend
