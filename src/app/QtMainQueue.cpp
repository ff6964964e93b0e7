#include "app/QtMainQueue.h"

#include <QMetaObject>
#include <QTimer>

#include <utility>

namespace peekmend {

void QtMainQueue::post(Block block) {
    const std::scoped_lock lock(m_mutex);
    if (m_context) {
        QMetaObject::invokeMethod(m_context.get(), std::move(block), Qt::QueuedConnection);
    }
}

void QtMainQueue::postAfter(std::chrono::milliseconds delay, Block block) {
    if (m_context) {
        QTimer::singleShot(delay, m_context.get(), std::move(block));
    }
}

void QtMainQueue::close() {
    const std::unique_ptr<QObject> context = [this] {
        const std::scoped_lock lock(m_mutex);
        return std::move(m_context);
    }();
}

} // namespace peekmend
