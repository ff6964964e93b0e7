#pragma once

#include "app/model/DiagnosisRunner.h"
#include "app/model/MainQueue.h"
#include "repair/RepairSnapshot.h"

#include <deque>
#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace peekmend {

/// Carries out all repairs of the program off the interface thread and one after the other: no two
/// overlap, whichever views and windows they come from. Interface thread only; it must outlive the
/// main queue's last block.
class RepairQueue {
public:
    /// The snapshot that undoes the repair, none after an undo; or why it failed.
    using Outcome = std::expected<std::optional<QLRepairSnapshot>, Error>;
    /// The repair itself. Runs on a background thread and holds all that it needs.
    using Work = std::function<Outcome()>;

    struct Repair {
        /// Called when the repair's turn has come, on the interface thread. Without work there is
        /// nothing left to do.
        std::function<Work()> begin;
        /// Called on the interface thread, before the next repair's turn.
        std::function<void(Outcome outcome)> finish;
    };

    RepairQueue(std::shared_ptr<MainQueue> mainQueue, StartInBackground startInBackground)
        : m_mainQueue(std::move(mainQueue)), m_startInBackground(std::move(startInBackground)) {}

    void add(Repair repair);

    [[nodiscard]] bool isIdle() const { return m_repairs.empty(); }

    /// Called when the last repair has ended.
    std::function<void()> onIdle;

private:
    void beginNext();
    void finishFirst(Outcome outcome);

    std::shared_ptr<MainQueue> m_mainQueue;
    StartInBackground m_startInBackground;
    // The first one is under way.
    std::deque<Repair> m_repairs;
};

} // namespace peekmend
