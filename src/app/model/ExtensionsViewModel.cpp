#include "app/model/ExtensionsViewModel.h"

#include "app/model/Texts.h"

#include <utility>

namespace peekmend {

bool canElect(const QLExtensionRecord& record, std::string_view election) {
    return electionFor(record.state) != election;
}

std::string ignoreTitle(const ExtensionsViewState& state) {
    return "Ignore " + (state.pendingIgnore ? state.pendingIgnore->bundleID : std::string()) + "?";
}

std::string ignoreMessage(const ExtensionsViewState& state) {
    std::string message = "Quick Look previews will no longer use ";
    message += state.pendingIgnore ? state.pendingIgnore->bundleID : "this extension";
    message += " for any file type it supports.";
    if (const auto note =
            state.pendingIgnore ? extensionNote(state.pendingIgnore->bundleID) : std::nullopt) {
        message.append("\n\n").append(*note);
    }
    return message;
}

ExtensionsViewModel::ExtensionsViewModel(Services services)
    : RepairingViewModel(std::move(services)) {
    m_state.undoSnapshot = storedSnapshot();
}

void ExtensionsViewModel::reload() {
    if (isDetached()) {
        return;
    }
    m_state.isLoading = true;
    services().diagnoses->start(
        std::nullopt, stopToken(),
        [weak = weak_from_this()](const std::shared_ptr<const QLDiagnosisReport>& report) {
            const auto self = std::static_pointer_cast<ExtensionsViewModel>(weak.lock());
            if (!self) {
                return;
            }
            self->m_state.records = report->records;
            self->m_state.isLoading = false;
            if (report->fetchError) {
                self->m_state.errorMessage = inventoryErrorText(*report->fetchError);
            }
            self->changed();
        });
    changed();
}

void ExtensionsViewModel::changeState(const QLExtensionRecord& record, std::string_view election) {
    auto work = [applicator = services().applicator, defaults = services().defaults, record,
                 election = std::string(election)] {
        return RepairQueue::Outcome(applicator.applySingleChange(record, election, *defaults));
    };
    repair("Couldn't update " + record.bundleID + ": ", [work = std::move(work)] { return work; });
}

void ExtensionsViewModel::elect(const QLExtensionRecord& record, std::string_view election) {
    if (election == "ignore") {
        m_state.pendingIgnore = record;
        changed();
    } else {
        changeState(record, election);
    }
}

void ExtensionsViewModel::confirmIgnore() {
    if (const auto record = std::exchange(m_state.pendingIgnore, std::nullopt)) {
        changeState(*record, "ignore");
    }
}

void ExtensionsViewModel::cancelIgnore() {
    m_state.pendingIgnore.reset();
    changed();
}

} // namespace peekmend
