#include "app/RepairView.h"

#include "app/ClaimantTable.h"
#include "app/DropZone.h"
#include "app/PreferConfirmationSheet.h"
#include "app/Style.h"
#include "app/Widgets.h"
#include "app/model/Texts.h"

#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

#include <utility>

namespace peekmend {

RepairView::RepairView(const Services& services)
    : m_model(std::make_shared<RepairViewModel>(services)),
      m_alert(*this, [this] { m_model->dismissError(); }), m_dropZone(new DropZone),
      m_progress(makeProgress("Diagnosing\u2026")), m_report(makeReport()) {
    m_dropZone->onChoose = [this] { openFilePanel(); };
    m_dropZone->onTargeted = [this](bool isTargeted) { m_model->setDropTargeted(isTargeted); };
    m_dropZone->onDrop = [this](const auto& items) { return m_model->handleDrop(items); };

    auto* const placeholder = new Label("Drop a file above (or choose one) to see which Quick Look "
                                        "extensions can preview it.",
                                        TextRole::body, ColourRole::secondary);
    placeholder->setWordWrap(true);
    m_placeholder = placeholder;
    auto* const page = new QWidget;
    auto* const column = makeLayout<QVBoxLayout>(page, spacing::page, spacing::section);
    column->addWidget(m_dropZone);
    column->addWidget(m_placeholder, 0, Qt::AlignTop);
    column->addWidget(m_report, 1);
    column->addWidget(m_progress, 1, Qt::AlignCenter);
    column->addStretch();

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

    connect(new QShortcut(QKeySequence::Open, this), &QShortcut::activated, this,
            &RepairView::openFilePanel);
    connect(new QShortcut(QKeySequence::Refresh, this), &QShortcut::activated, m_refresh,
            &QPushButton::click);

    m_model->onChange = [this] { render(); };
    render();
}

RepairView::~RepairView() {
    m_model->detach();
}

QWidget* RepairView::makeReport() {
    m_fetchError = new TextBlock(TextRole::body, ColourRole::red);
    m_verdict = new TextBlock(TextRole::body);
    m_servingLine = new TextBlock(TextRole::callout);
    m_table = new ClaimantTable;
    m_table->onSelect = [this](std::optional<std::string> claimantID) {
        m_model->select(std::move(claimantID));
    };
    m_noClaimants = new Label("No registered preview extensions claim this file's type.",
                              TextRole::body, ColourRole::secondary);

    auto* const report = new QWidget;
    auto* const column = makeLayout<QVBoxLayout>(report, 0, spacing::group);
    column->addWidget(m_fetchError);
    column->addWidget(m_verdict);
    column->addWidget(m_servingLine);
    column->addWidget(m_table, 1);
    column->addWidget(m_noClaimants);
    column->addStretch();
    return report;
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
    m_report->setVisible(state.report != nullptr);
    if (state.report) {
        if (std::exchange(m_shownReport, state.report) != state.report) {
            renderReport(*state.report);
        }
        m_table->select(state.selectedClaimantID);
    }
    m_prefer->setEnabled(canPrefer(state));
    m_undo->setEnabled(canUndo(state));
    m_refresh->setEnabled(canRefresh(state));
    m_copy->setEnabled(canCopy(state));
    m_copy->setText(state.copiedFeedback ? "&Copied!" : "&Copy report");
    renderSheet(state);
    m_alert.render(state.errorMessage);
}

void RepairView::renderReport(const QLDiagnosisReport& report) {
    const auto renderText = [](TextBlock& block, const std::string& text) {
        block.setText(displayText(text));
        block.setVisible(!text.empty());
    };
    renderText(*m_fetchError,
               report.fetchError ? inventoryErrorText(*report.fetchError) : std::string());
    renderText(*m_verdict, report.verdict);
    const ServingLine serving = servingLine(report).value_or(ServingLine());
    if (serving.namesExtensions) {
        m_servingLine->setRoles(TextRole::calloutMedium);
    } else {
        m_servingLine->setRoles(TextRole::callout, ColourRole::secondary);
    }
    renderText(*m_servingLine, serving.text);
    m_table->setClaimants(report.claimants);
    m_table->setVisible(!report.claimants.empty());
    m_noClaimants->setVisible(report.claimants.empty());
    announce(*this, displayText(report.verdict));
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
