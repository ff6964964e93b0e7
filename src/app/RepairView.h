#pragma once

#include "app/ErrorAlert.h"
#include "app/model/RepairViewModel.h"

#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace peekmend {

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
    QPushButton* m_prefer = nullptr;
    QPushButton* m_undo = nullptr;
    QPushButton* m_refresh = nullptr;
    QPushButton* m_copy = nullptr;

    /// Made for the first report.
    ReportView* m_report = nullptr;
    std::shared_ptr<const QLDiagnosisReport> m_shownReport;
    QPointer<QDialog> m_sheet;
    /// What the open sheet was built with: the chosen record, then its peers; empty for a sheet
    /// without content.
    std::vector<QLExtensionRecord> m_sheetRecords;
};

} // namespace peekmend
