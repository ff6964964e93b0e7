#include "app/model/RepairViewModel.h"

#include "diagnosis/DiagnosticReportWriter.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace peekmend {

namespace {

constexpr std::chrono::milliseconds copiedFeedbackTime(1500);

} // namespace

const QLClaimant* selectedClaimant(const RepairViewState& state) {
    if (!state.report || !state.selectedClaimantID) {
        return nullptr;
    }
    const auto& claimants = state.report->claimants;
    const auto found = std::ranges::find_if(claimants, [&](const QLClaimant& claimant) {
        return claimant.record.bundleID == *state.selectedClaimantID;
    });
    return found == claimants.end() ? nullptr : &*found;
}

std::vector<QLExtensionRecord> peersToIgnore(const RepairViewState& state) {
    std::vector<QLExtensionRecord> peers;
    if (const QLClaimant* const selected = selectedClaimant(state)) {
        for (const QLClaimant& claimant : state.report->claimants) {
            if (claimant.record.bundleID != selected->record.bundleID) {
                peers.push_back(claimant.record);
            }
        }
    }
    return peers;
}

RepairViewModel::RepairViewModel(Services services) : RepairingViewModel(std::move(services)) {
    m_state.undoSnapshot = storedSnapshot();
}

void RepairViewModel::chooseFile(const FileURL& chosen) {
    m_state.fileURL = chosen;
    m_state.selectedClaimantID.reset();
    startDiagnosis(chosen);
}

bool RepairViewModel::handleDrop(const std::vector<std::optional<FileURL>>& items) {
    if (items.empty()) {
        return false;
    }
    services().mainQueue->post([weak = weak_from_this(), first = items.front()] {
        const auto self = std::static_pointer_cast<RepairViewModel>(weak.lock());
        if (self && first) {
            self->chooseFile(*first);
        }
    });
    return true;
}

void RepairViewModel::setDropTargeted(bool isDropTargeted) {
    m_state.isDropTargeted = isDropTargeted;
    changed();
}

void RepairViewModel::select(std::optional<std::string> claimantID) {
    m_state.selectedClaimantID = std::move(claimantID);
    changed();
}

void RepairViewModel::startDiagnosis(const FileURL& url) {
    if (isDetached()) {
        return;
    }
    m_state.isDiagnosing = true;
    m_state.errorMessage.reset();
    services().diagnoses->start(
        url, stopToken(),
        [weak = weak_from_this()](std::shared_ptr<const QLDiagnosisReport> report) {
            if (const auto self = std::static_pointer_cast<RepairViewModel>(weak.lock())) {
                self->m_state.report = std::move(report);
                self->m_state.isDiagnosing = false;
                self->changed();
            }
        });
    changed();
}

void RepairViewModel::refresh() {
    if (m_state.fileURL) {
        startDiagnosis(*m_state.fileURL);
    }
}

void RepairViewModel::openPreferSheet() {
    m_state.showPreferSheet = true;
    changed();
}

void RepairViewModel::confirmPrefer(const QLExtensionRecord& chosen) {
    m_state.showPreferSheet = false;
    auto work = [applicator = services().applicator, defaults = services().defaults, chosen,
                 peers = peersToIgnore(m_state),
                 allRecords =
                     m_state.report ? m_state.report->records : std::vector<QLExtensionRecord>()] {
        return RepairQueue::Outcome(applicator.prefer(chosen, peers, allRecords, *defaults));
    };
    repair("Couldn't apply repair: ", [work = std::move(work)] { return work; });
}

void RepairViewModel::cancelPrefer() {
    m_state.showPreferSheet = false;
    changed();
}

void RepairViewModel::copyReport() {
    if (!m_state.report) {
        return;
    }
    services().copyText(DiagnosticReportWriter::reportText(*m_state.report));
    m_state.copiedFeedback = true;
    services().mainQueue->postAfter(copiedFeedbackTime, [weak = weak_from_this()] {
        if (const auto self = std::static_pointer_cast<RepairViewModel>(weak.lock())) {
            self->m_state.copiedFeedback = false;
            self->changed();
        }
    });
    changed();
}

void RepairViewModel::openExtensionSettings() {
    static_cast<void>(
        services().openURL("x-apple.systempreferences:com.apple.ExtensionsPreferences") ||
        services().openURL("x-apple.systempreferences:com.apple.preference.extensions") ||
        services().launchApplication("System Settings") ||
        services().launchApplication("System Preferences"));
}

} // namespace peekmend
