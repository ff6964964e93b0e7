#include "app/model/RepairingViewModel.h"

#include <utility>

namespace peekmend {

bool canUndo(const RepairingViewState& state) {
    return state.undoSnapshot.has_value();
}

void RepairingViewModel::undoLastRepair() {
    if (!repairingState().undoSnapshot) {
        return;
    }
    repair("Couldn't undo repair: ", [this]() -> RepairQueue::Work {
        const auto& snapshot = repairingState().undoSnapshot;
        if (!snapshot) {
            // An undo that was asked for before has already done it.
            return {};
        }
        return [applicator = m_services.applicator, defaults = m_services.defaults,
                snapshot = *snapshot]() -> RepairQueue::Outcome {
            if (auto done = applicator.undo(snapshot, *defaults); !done) {
                return std::unexpected(std::move(done.error()));
            }
            return std::nullopt;
        };
    });
}

void RepairingViewModel::dismissError() {
    repairingState().errorMessage.reset();
    changed();
}

void RepairingViewModel::detach() {
    onChange = nullptr;
    m_end.request_stop();
}

std::optional<QLRepairSnapshot> RepairingViewModel::storedSnapshot() const {
    return loadLastRepairSnapshot(*m_services.defaults);
}

void RepairingViewModel::repair(std::string failurePrefix,
                                std::function<RepairQueue::Work()> begin) {
    auto finish = [self = shared_from_this(),
                   prefix = std::move(failurePrefix)](RepairQueue::Outcome outcome) {
        --self->repairingState().repairsUnderWay;
        if (outcome) {
            self->repairingState().undoSnapshot = *std::move(outcome);
            self->changed();
            self->readAgain();
        } else if (const std::string message = prefix + outcome.error().message;
                   self->isDetached()) {
            self->m_services.tellWithoutWindow(message);
        } else {
            self->repairingState().errorMessage = message;
            self->changed();
        }
    };
    auto beginOrEnd = [self = shared_from_this(), begin = std::move(begin)] {
        RepairQueue::Work work = begin();
        if (!work) {
            --self->repairingState().repairsUnderWay;
            self->changed();
        }
        return work;
    };
    ++repairingState().repairsUnderWay;
    changed();
    m_services.repairs->add({std::move(beginOrEnd), std::move(finish)});
}

void RepairingViewModel::changed() const {
    if (onChange) {
        onChange();
    }
}

} // namespace peekmend
