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
    QWidget* makeProgress();
    QWidget* makeBar();
    void render();
    void renderReport(const RepairViewState& state);
    void renderSheet(const RepairViewState& state);
    void openFilePanel();

    std::shared_ptr<RepairViewModel> m_model;
    ErrorAlert m_alert;

    DropZone* m_dropZone;
    QLabel* m_placeholder;
    QWidget* m_progress;
    QWidget* m_report;
    TextBlock* m_fetchError;
    TextBlock* m_verdict;
    TextBlock* m_servingLine;
    ClaimantTable* m_table;
    QLabel* m_noClaimants;
    QPushButton* m_prefer;
    QPushButton* m_undo;
    QPushButton* m_refresh;
    QPushButton* m_copy;

    std::shared_ptr<const QLDiagnosisReport> m_shownReport;
    QPointer<QDialog> m_sheet;
    /// What the open sheet was built with: the chosen record, then its peers; empty for a sheet
    /// without content.
    std::vector<QLExtensionRecord> m_sheetRecords;
};

} // namespace peekmend
