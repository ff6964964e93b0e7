#pragma once

#include "app/model/Services.h"
#include "repair/RepairSnapshot.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace peekmend {

/// The state that every view has that repairs.
struct RepairingViewState {
    /// What "Undo last repair" of this view would restore.
    std::optional<QLRepairSnapshot> undoSnapshot;
    /// The alert is shown exactly while this is present.
    std::optional<std::string> errorMessage;
    /// Repairs that were asked for and have not ended.
    int repairsUnderWay = 0;
};

[[nodiscard]] bool canUndo(const RepairingViewState& state);

/// The actions that every view has that repairs. A view-model is held by its view and by the
/// repairs that it has in the queue, so a confirmed repair is carried out and a failure is told
/// also when the window is gone. Interface thread only.
class RepairingViewModel : public std::enable_shared_from_this<RepairingViewModel> {
public:
    RepairingViewModel(const RepairingViewModel&) = delete;
    RepairingViewModel& operator=(const RepairingViewModel&) = delete;
    virtual ~RepairingViewModel() = default;

    /// Called after every change of the state.
    std::function<void()> onChange;

    /// Restores what this view's last repair changed; when its turn has come, what that is then.
    void undoLastRepair();

    void dismissError();

    /// The view is gone: nothing is shown or diagnosed any more.
    void detach();

protected:
    explicit RepairingViewModel(Services services) : m_services(std::move(services)) {}

    [[nodiscard]] const Services& services() const { return m_services; }

    [[nodiscard]] std::stop_token stopToken() const { return m_end.get_token(); }

    [[nodiscard]] bool isDetached() const { return m_end.stop_requested(); }

    /// The stored snapshot, for a view that is being created.
    [[nodiscard]] std::optional<QLRepairSnapshot> storedSnapshot() const;

    /// Queues a repair. A failure is told as `failurePrefix` and the error's message; after a
    /// success the view holds the new snapshot and reads the system's state again.
    void repair(std::string failurePrefix, std::function<RepairQueue::Work()> begin);

    void changed() const;

    [[nodiscard]] virtual RepairingViewState& repairingState() = 0;
    /// Reads the system's state again.
    virtual void readAgain() = 0;

private:
    Services m_services;
    std::stop_source m_end;
};

} // namespace peekmend
