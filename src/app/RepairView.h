#pragma once

#include "app/ErrorAlert.h"
#include "app/model/RepairViewModel.h"

#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

class QLabel;
class QPushButton;

namespace peekmend {

class ClaimantTable;
class DropZone;
class PreferConfirmationSheet;
class TextBlock;

/// The diagnose view: draws the state of its view-model and hands on what the user does.
class RepairView : public QWidget {
public:
    explicit RepairView(const Services& services);
    ~RepairView() override;

    [[nodiscard]] RepairViewModel& model() { return *m_model; }

private:
    QWidget* makeReport();
    QWidget* makeBar();
    void render();
    void renderReport(const QLDiagnosisReport& report);
    void renderSheet(const RepairViewState& state);
    void openFilePanel();

    std::shared_ptr<RepairViewModel> m_model;
    ErrorAlert m_alert;

    DropZone* m_dropZone;
    QLabel* m_placeholder;
    QWidget* m_progress;
    QPushButton* m_prefer = nullptr;
    QPushButton* m_undo = nullptr;
    QPushButton* m_refresh = nullptr;
    QPushButton* m_copy = nullptr;

    // The report, and what is in it.
    TextBlock* m_fetchError = nullptr;
    TextBlock* m_verdict = nullptr;
    TextBlock* m_servingLine = nullptr;
    ClaimantTable* m_table = nullptr;
    QLabel* m_noClaimants = nullptr;
    QWidget* m_report;

    std::shared_ptr<const QLDiagnosisReport> m_shownReport;
    QPointer<QDialog> m_sheet;
    /// What the open sheet was built with: the chosen record, then its peers; empty for a sheet
    /// without content.
    std::vector<QLExtensionRecord> m_sheetRecords;
};

} // namespace peekmend
