#pragma once

#include "platform/Error.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <mutex>

namespace peekmend {

/// Runs jobs on background threads, at once and all together: a job that finds no idle thread gets
/// a new one, since jobs block on each other and a fixed number of threads would deadlock. A
/// thread that has been idle for a while goes away. Usable from any thread.
class BackgroundPool {
public:
    using Job = std::move_only_function<void()>;

    /// `idleTime`: how long a thread without work stays.
    explicit BackgroundPool(std::chrono::milliseconds idleTime = std::chrono::seconds(2));
    BackgroundPool(const BackgroundPool&) = delete;
    BackgroundPool& operator=(const BackgroundPool&) = delete;
    /// Waits for all jobs.
    ~BackgroundPool();

    /// The pool of the whole program. It is never destroyed, so that the end of the program waits
    /// for no job.
    [[nodiscard]] static BackgroundPool& shared();

    /// Starts `job`, which must not throw. Fails, without having kept the job, when the system
    /// gives no thread for it.
    [[nodiscard]] std::expected<void, Error> submit(Job job);

private:
    struct Worker;
    struct State;

    static void work(const std::shared_ptr<State>& state, const std::shared_ptr<Worker>& self);

    // Shared with the threads: the last of them may still be on its way out when the pool is gone.
    std::shared_ptr<State> m_state;
};

/// Counts jobs under way and waits for them. Usable from any thread.
class TaskGroup {
public:
    void enter();
    void leave();
    /// Blocks until every `enter` has been matched by a `leave`.
    void wait();

private:
    std::mutex m_mutex;
    std::condition_variable m_empty;
    std::size_t m_count = 0;
};

} // namespace peekmend
