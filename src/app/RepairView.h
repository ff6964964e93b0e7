#pragma once

#include "app/ErrorAlert.h"
#include "app/model/RepairViewModel.h"

#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

class QLabel;
class QVBoxLayout;

namespace peekmend {

class ActionButton;
class DropZone;
class ReportView;

/// The diagnose view: draws the state of its view-model and hands on what the user does.
class RepairView : public QWidget {
public:
    explicit RepairView(const Services& services);
    ~RepairView() override;

    [[nodiscard]] RepairViewModel& model() { return *m_model; }

private:
    QWidget* makeBar();
    void render();
    void renderSheet(const RepairViewState& state);
    void openFilePanel();

    std::shared_ptr<RepairViewModel> m_model;
    ErrorAlert m_alert;

    DropZone* m_dropZone;
    QLabel* m_placeholder;
    QWidget* m_progress;
    QVBoxLayout* m_column;
    ActionButton* m_prefer = nullptr;
    ActionButton* m_undo = nullptr;
    ActionButton* m_refresh = nullptr;
    ActionButton* m_copy = nullptr;

    /// Made for the first report.
    ReportView* m_report = nullptr;
    std::shared_ptr<const QLDiagnosisReport> m_shownReport;
    QPointer<QDialog> m_sheet;
    /// What the open sheet was built with: the chosen record, then its peers; empty for a sheet
    /// without content.
    std::vector<QLExtensionRecord> m_sheetRecords;
};

} // namespace peekmend
