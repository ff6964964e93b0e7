#pragma once

#include <chrono>
#include <functional>

namespace peekmend {

/// Runs blocks on the interface thread, where all state of the views lives.
class MainQueue {
public:
    using Block = std::function<void()>;

    MainQueue() = default;
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;
    virtual ~MainQueue() = default;

    /// Runs `block` soon, after those posted before. Usable from any thread. At the end of the
    /// program, what has not run is dropped.
    virtual void post(Block block) = 0;

    /// Runs `block` when `delay` has gone by. Interface thread only.
    virtual void postAfter(std::chrono::milliseconds delay, Block block) = 0;
};

} // namespace peekmend
