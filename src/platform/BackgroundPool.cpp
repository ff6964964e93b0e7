#include "platform/BackgroundPool.h"

#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace peekmend {

/// One thread. Each waits on a condition of its own: where several wait on one, whoever wakes a
/// second one may have to wait until the first has run.
struct BackgroundPool::Worker {
    std::condition_variable jobOrEnd;
    Job job;
};

struct BackgroundPool::State {
    std::chrono::milliseconds idleTime{};
    std::mutex mutex;
    /// The one that was busy last comes last and is taken first, so that those that are not needed
    /// go away. Shared with whoever wakes one: it may have run and gone by then.
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
    // Outlives the lock: the end of a job that gets no thread may submit another one.
    std::shared_ptr<Worker> worker;
    std::unique_lock lock(m_state->mutex);
    if (m_state->idleWorkers.empty()) {
        worker = std::make_shared<Worker>();
        worker->job = std::move(job);
        try {
            std::thread(work, m_state, worker).detach();
        } catch (const std::system_error& error) {
            return std::unexpected(
                posixError(error.code().value(), "Couldn't start a background thread"));
        }
        ++m_state->threads;
        return {};
    }
    worker = std::move(m_state->idleWorkers.back());
    m_state->idleWorkers.pop_back();
    worker->job = std::move(job);
    lock.unlock();
    // Who is woken while the lock is held has to wait again.
    worker->jobOrEnd.notify_one();
    return {};
}

void BackgroundPool::work(const std::shared_ptr<State>& state,
                          const std::shared_ptr<Worker>& self) {
    while (true) {
        Job job = std::exchange(self->job, nullptr);
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
