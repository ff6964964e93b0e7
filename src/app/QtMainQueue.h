#pragma once

#include "app/model/MainQueue.h"

#include <QObject>

#include <memory>
#include <mutex>

namespace peekmend {

/// The event loop of the interface thread. Background jobs hold it, so that it outlives the
/// program's end; from then on it drops what is posted.
class QtMainQueue : public MainQueue {
public:
    QtMainQueue() : m_context(std::make_unique<QObject>()) {}

    void post(Block block) override;
    void postAfter(std::chrono::milliseconds delay, Block block) override;

    /// Drops what has not run and all that is posted from now on. Interface thread only, while the
    /// application still exists.
    void close();

private:
    std::mutex m_mutex;
    // Lives on the interface thread; its events are the blocks.
    std::unique_ptr<QObject> m_context;
};

} // namespace peekmend
