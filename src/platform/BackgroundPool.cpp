#include "platform/BackgroundPool.h"

#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace peekmend {

namespace {

/// One thread. Each waits on a condition of its own: of several threads that wait on one condition,
/// the second to be woken may have to wait until the first runs.
struct Worker {
    std::condition_variable jobOrEnd;
    BackgroundPool::Job job;
};

} // namespace

struct BackgroundPool::State {
    std::chrono::milliseconds idleTime{};
    std::mutex mutex;
    /// The one that was busy last comes last and is taken first, so that those that are not needed
    /// go away.
    std::vector<std::shared_ptr<Worker>> idleWorkers;
    std::condition_variable threadGone;
    std::size_t threads = 0;
    bool ending = false;
};

BackgroundPool::BackgroundPool(std::chrono::milliseconds idleTime)
    : m_state(std::make_shared<State>()) {
    m_state->idleTime = idleTime;
}

BackgroundPool::~BackgroundPool() {
    std::unique_lock lock(m_state->mutex);
    m_state->ending = true;
    for (const auto& worker : m_state->idleWorkers) {
        worker->jobOrEnd.notify_one();
    }
    m_state->threadGone.wait(lock, [this] { return m_state->threads == 0; });
}

BackgroundPool& BackgroundPool::shared() {
    static auto* const pool = new BackgroundPool;
    return *pool;
}

std::expected<void, Error> BackgroundPool::submit(Job job) {
    std::unique_lock lock(m_state->mutex);
    if (m_state->idleWorkers.empty()) {
        try {
            std::thread(work, m_state, std::move(job)).detach();
        } catch (const std::system_error& error) {
            return std::unexpected(
                posixError(error.code().value(), "Couldn't start a background thread"));
        }
        ++m_state->threads;
        return {};
    }
    const auto worker = std::move(m_state->idleWorkers.back());
    m_state->idleWorkers.pop_back();
    worker->job = std::move(job);
    lock.unlock();
    // Who is woken while the lock is held has to wait again.
    worker->jobOrEnd.notify_one();
    return {};
}

void BackgroundPool::work(const std::shared_ptr<State>& state, Job job) {
    const auto self = std::make_shared<Worker>();
    while (true) {
        job();
        job = nullptr;
        std::unique_lock lock(state->mutex);
        state->idleWorkers.push_back(self);
        self->jobOrEnd.wait_for(lock, state->idleTime, [&] { return self->job || state->ending; });
        if (!self->job) {
            std::erase(state->idleWorkers, self);
            --state->threads;
            state->threadGone.notify_all();
            return;
        }
        job = std::exchange(self->job, nullptr);
    }
}

void TaskGroup::enter() {
    const std::scoped_lock lock(m_mutex);
    ++m_count;
}

void TaskGroup::leave() {
    const std::scoped_lock lock(m_mutex);
    if (--m_count == 0) {
        m_empty.notify_all();
    }
}

void TaskGroup::wait() {
    std::unique_lock lock(m_mutex);
    m_empty.wait(lock, [this] { return m_count == 0; });
}

} // namespace peekmend
