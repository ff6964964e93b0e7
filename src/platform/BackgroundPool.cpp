#include "platform/BackgroundPool.h"

#include <deque>
#include <system_error>
#include <thread>

namespace peekmend {

struct BackgroundPool::State {
    std::chrono::milliseconds idleTime{};
    std::mutex mutex;
    std::condition_variable jobOrEnd;
    std::condition_variable threadGone;
    std::deque<Job> jobs;
    std::size_t threads = 0;
    std::size_t idleThreads = 0;
    bool ending = false;
};

BackgroundPool::BackgroundPool(std::chrono::milliseconds idleTime)
    : m_state(std::make_shared<State>()) {
    m_state->idleTime = idleTime;
}

BackgroundPool::~BackgroundPool() {
    std::unique_lock lock(m_state->mutex);
    m_state->ending = true;
    m_state->jobOrEnd.notify_all();
    m_state->threadGone.wait(lock, [this] { return m_state->threads == 0; });
}

BackgroundPool& BackgroundPool::shared() {
    static auto* const pool = new BackgroundPool;
    return *pool;
}

std::expected<void, Error> BackgroundPool::submit(Job job) {
    std::unique_lock lock(m_state->mutex);
    // An idle thread that has been woken for an earlier job still counts as idle until it runs,
    // and so does that job as waiting.
    if (m_state->jobs.size() >= m_state->idleThreads) {
        try {
            std::thread([state = m_state] { work(state); }).detach();
        } catch (const std::system_error& error) {
            return std::unexpected(
                posixError(error.code().value(), "Couldn't start a background thread"));
        }
        ++m_state->threads;
    }
    m_state->jobs.push_back(std::move(job));
    lock.unlock();
    // Who is woken while the lock is held has to wait again.
    m_state->jobOrEnd.notify_one();
    return {};
}

void BackgroundPool::work(const std::shared_ptr<State>& state) {
    std::unique_lock lock(state->mutex);
    while (true) {
        ++state->idleThreads;
        state->jobOrEnd.wait_for(lock, state->idleTime,
                                 [&] { return !state->jobs.empty() || state->ending; });
        --state->idleThreads;
        if (state->jobs.empty()) {
            break;
        }
        Job job = std::move(state->jobs.front());
        state->jobs.pop_front();
        lock.unlock();
        job();
        job = nullptr;
        lock.lock();
    }
    --state->threads;
    state->threadGone.notify_all();
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
