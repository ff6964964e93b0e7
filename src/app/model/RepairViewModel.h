#pragma once

#include "app/model/RepairingViewModel.h"
#include "diagnosis/DiagnosisEngine.h"
#include "platform/FileURL.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace peekmend {

/// The state of the diagnose view.
struct RepairViewState : RepairingViewState {
    std::optional<FileURL> fileURL;
    /// The last diagnosis that finished; none before the first one.
    std::shared_ptr<const QLDiagnosisReport> report;
    bool isDiagnosing = false;
    bool isDropTargeted = false;
    /// The `bundleID` of the selected row. It stays when the row goes.
    std::optional<std::string> selectedClaimantID;
    bool showPreferSheet = false;
    bool copiedFeedback = false;
};

/// The first claimant with the selected identity; null when there is none.
[[nodiscard]] const QLClaimant* selectedClaimant(const RepairViewState& state);

/// The records of all claimants with another identity than the selected one, in claimant order;
/// empty when none is selected.
[[nodiscard]] std::vector<QLExtensionRecord> peersToIgnore(const RepairViewState& state);

[[nodiscard]] inline bool canPrefer(const RepairViewState& state) {
    return selectedClaimant(state) != nullptr;
}

[[nodiscard]] inline bool canRefresh(const RepairViewState& state) {
    return !state.isDiagnosing;
}

/// Whether something runs that the user waits for.
[[nodiscard]] inline bool isBusy(const RepairViewState& state) {
    return state.isDiagnosing || state.repairsUnderWay > 0;
}

[[nodiscard]] inline bool canCopy(const RepairViewState& state) {
    return state.report != nullptr;
}

/// State and actions of the diagnose view.
class RepairViewModel final : public RepairingViewModel {
public:
    explicit RepairViewModel(Services services);

    [[nodiscard]] const RepairViewState& state() const { return m_state; }

    /// Diagnoses the file that the open panel gave.
    void chooseFile(const FileURL& chosen);

    /// Takes the first of the dropped items, each of which is a file or one that gives none.
    /// Returns whether the drop was handled, before the file is taken over.
    bool handleDrop(const std::vector<std::optional<FileURL>>& items);

    /// A drag that carries a file has come over the drop zone, or has gone.
    void setDropTargeted(bool isDropTargeted);
    /// Selects the claimant of this identity, or none.
    void select(std::optional<std::string> claimantID);
    /// Diagnoses the file again, if there is one.
    void refresh();
    void openPreferSheet();
    /// `chosen` is the record that the sheet was built with.
    void confirmPrefer(const QLExtensionRecord& chosen);
    void cancelPrefer();
    /// Copies the report text, if there is a report, and says so for one and a half seconds.
    void copyReport();
    /// Opens the system's extension settings in the first way that works. Silent when none does.
    void openExtensionSettings();

private:
    [[nodiscard]] RepairingViewState& repairingState() override { return m_state; }

    void readAgain() override { refresh(); }

    void startDiagnosis(const FileURL& url);

    RepairViewState m_state;
};

} // namespace peekmend
