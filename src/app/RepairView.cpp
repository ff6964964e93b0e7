#include "app/RepairView.h"

#include "app/DropZone.h"
#include "app/PreferConfirmationSheet.h"
#include "app/ReportView.h"
#include "app/Style.h"
#include "app/Widgets.h"

#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <utility>

namespace peekmend {

RepairView::RepairView(const Services& services)
    : m_model(std::make_shared<RepairViewModel>(services)),
      m_alert(*this, [this] { m_model->dismissError(); }), m_dropZone(new DropZone),
      m_progress(makeProgress("Diagnosing\u2026")) {
    m_dropZone->onChoose = [this] { openFilePanel(); };
    m_dropZone->onTargeted = [this](bool isTargeted) { m_model->setDropTargeted(isTargeted); };
    m_dropZone->onDrop = [this](const auto& items) { return m_model->handleDrop(items); };

    auto* const placeholder = new Label("Drop a file above (or choose one) to see which Quick Look "
                                        "extensions can preview it.",
                                        TextRole::body, ColourRole::secondary);
    placeholder->setWordWrap(true);
    m_placeholder = placeholder;
    auto* const page = new QWidget;
    m_column = makeLayout<QVBoxLayout>(page, spacing::page, spacing::section);
    m_column->addWidget(m_dropZone);
    m_column->addWidget(m_placeholder, 0, Qt::AlignTop);
    m_column->addWidget(m_progress, 1, Qt::AlignCenter);
    m_column->addStretch();

    auto* const scroll = new QScrollArea;
    scroll->setWidget(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto* const layout = makeLayout<QVBoxLayout>(this, 0, 0);
    layout->addWidget(scroll, 1);
    layout->addWidget(makeDivider());
    layout->addWidget(makeBar());

    m_dropZone->chooseButton().setKey(QKeySequence::Open, *this);
    m_undo->setKey(QKeySequence::Undo, *this);
    m_refresh->setKey(QKeySequence::Refresh, *this);

    m_model->onChange = [this] { render(); };
    render();
}

RepairView::~RepairView() {
    m_model->detach();
}

QWidget* RepairView::makeBar() {
    constexpr int barPadding = 12;
    auto* const bar = new QWidget;
    auto* const row = new QHBoxLayout(bar);
    row->setContentsMargins(spacing::page, barPadding, spacing::page, barPadding);
    row->setSpacing(spacing::item);
    const auto addButton = [this, row](const QString& text, auto action) {
        auto* const button = new ActionButton(text);
        connect(button, &QPushButton::clicked, this, action);
        row->addWidget(button);
        return button;
    };
    m_prefer = addButton("&Prefer this handler\u2026", [this] { m_model->openPreferSheet(); });
    m_undo = addButton("&Undo last repair", [this] { m_model->undoLastRepair(); });
    m_refresh = addButton("&Refresh", [this] { m_model->refresh(); });
    row->addStretch(1);
    addButton("Open &System Settings\u2026", [this] { m_model->openExtensionSettings(); });
    m_copy = addButton("&Copy report", [this] { m_model->copyReport(); });
    return bar;
}

void RepairView::render() {
    const RepairViewState& state = m_model->state();
    m_dropZone->render(state.fileURL, state.isDropTargeted);
    m_placeholder->setVisible(!state.report && !state.isDiagnosing);
    m_progress->setVisible(!state.report && state.isDiagnosing);
    if (state.report) {
        if (!m_report) {
            // A window that has just opened is there sooner without it.
            m_report = new ReportView;
            m_report->onSelect = [this](std::optional<std::string> claimantID) {
                m_model->select(std::move(claimantID));
            };
            m_column->insertWidget(m_column->indexOf(m_progress), m_report, 1);
            m_report->followInTabOrder(m_dropZone->chooseButton());
        }
        if (std::exchange(m_shownReport, state.report) != state.report) {
            m_report->render(*state.report);
            announce(*this, displayText(state.report->verdict));
        }
        m_report->select(state.selectedClaimantID);
    }
    m_prefer->setEnabled(canPrefer(state));
    m_undo->setEnabled(canUndo(state));
    m_refresh->setEnabled(canRefresh(state));
    m_copy->setEnabled(canCopy(state));
    setBusy(*this, isBusy(state));
    m_copy->setText(state.copiedFeedback ? "&Copied!" : "&Copy report");
    renderSheet(state);
    m_alert.render(state.errorMessage);
}

void RepairView::renderSheet(const RepairViewState& state) {
    std::vector<QLExtensionRecord> records;
    if (const QLClaimant* const selected = selectedClaimant(state);
        selected != nullptr && state.showPreferSheet) {
        records = peersToIgnore(state);
        records.insert(records.begin(), selected->record);
    }
    if (state.showPreferSheet && m_sheet && records == m_sheetRecords) {
        return;
    }
    dismiss(m_sheet);
    if (!state.showPreferSheet) {
        return;
    }
    const auto cancel = [this] { m_model->cancelPrefer(); };
    m_sheetRecords = records;
    if (records.empty()) {
        auto* const empty = new Sheet(window());
        connect(empty, &QDialog::rejected, this, cancel);
        m_sheet = empty;
    } else {
        const QLExtensionRecord chosen = records.front();
        m_sheet = new PreferConfirmationSheet(
            window(), chosen, {records.begin() + 1, records.end()},
            [this, chosen] { m_model->confirmPrefer(chosen); }, cancel);
    }
    m_sheet->open();
}

void RepairView::openFilePanel() {
    auto* const panel = new QFileDialog(window());
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setLabelText(QFileDialog::Accept, "Diagnose");
    connect(panel, &QFileDialog::fileSelected, this, [this](const QString& path) {
        m_model->chooseFile(FileURL(QFile::encodeName(path).toStdString()));
    });
    panel->open();
}

} // namespace peekmend
