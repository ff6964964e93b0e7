#include "app/model/RepairQueue.h"

#include <utility>

namespace peekmend {

void RepairQueue::add(Repair repair) {
    m_repairs.push_back(std::move(repair));
    if (m_repairs.size() == 1) {
        beginNext();
    }
}

void RepairQueue::beginNext() {
    while (!m_repairs.empty()) {
        if (Work work = m_repairs.front().begin()) {
            const auto deliver = [this, queue = m_mainQueue](Outcome outcome) {
                queue->post([this, outcome = std::move(outcome)] { finishFirst(outcome); });
            };
            auto started =
                m_startInBackground([work = std::move(work), deliver] { deliver(work()); });
            if (!started) {
                deliver(std::unexpected(std::move(started.error())));
            }
            return;
        }
        m_repairs.pop_front();
    }
    if (onIdle) {
        onIdle();
    }
}

void RepairQueue::finishFirst(Outcome outcome) {
    // It counts as under way until its effects are complete.
    const auto finish = std::move(m_repairs.front().finish);
    finish(std::move(outcome));
    m_repairs.pop_front();
    beginNext();
}

} // namespace peekmend
