#include "app/ExtensionsView.h"

#include "app/ExtensionList.h"
#include "app/Sheet.h"
#include "app/Style.h"
#include "app/Widgets.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>

#include <utility>

namespace peekmend {

ExtensionsView::ExtensionsView(const Services& services)
    : m_model(std::make_shared<ExtensionsViewModel>(services)),
      m_alert(*this, [this] { m_model->dismissError(); }),
      m_undo(new ActionButton("&Undo last repair")), m_refresh(new ActionButton("&Refresh")),
      m_progress(makeProgress("Loading\u2026")),
      m_empty(new Label("No registered Quick Look preview extensions were found.", TextRole::body,
                        ColourRole::secondary)),
      m_list(new ExtensionList) {
    connect(m_undo, &QPushButton::clicked, this, [this] { m_model->undoLastRepair(); });
    connect(m_refresh, &QPushButton::clicked, this, [this] { m_model->reload(); });
    m_undo->setKey(QKeySequence::Undo, *this);
    m_refresh->setKey(QKeySequence::Refresh, *this);
    m_list->onElect = [this](const QLExtensionRecord& record, std::string_view election) {
        m_model->elect(record, election);
    };

    auto* const header = new QHBoxLayout;
    header->setSpacing(spacing::item);
    header->addWidget(new Label("Quick Look preview extensions", TextRole::headline));
    header->addStretch(1);
    header->addWidget(m_undo);
    header->addWidget(m_refresh);
    auto* const column = makeLayout<QVBoxLayout>(this, spacing::page, spacing::group);
    column->addLayout(header);
    column->addWidget(m_progress);
    column->addWidget(m_empty);
    column->addWidget(m_list, 1);
    column->addStretch();

    m_model->onChange = [this] { render(); };
    render();
}

ExtensionsView::~ExtensionsView() {
    m_model->detach();
}

void ExtensionsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // Coming back from minimised is not appearing.
    if (!event->spontaneous()) {
        m_model->reload();
    }
}

void ExtensionsView::render() {
    const ExtensionsViewState& state = m_model->state();
    const bool isEmpty = state.records.empty();
    m_undo->setEnabled(canUndo(state));
    m_refresh->setEnabled(!state.isLoading);
    setBusy(*this, isBusy(state));
    m_list->setRecords(state.records);
    m_progress->setVisible(state.isLoading && isEmpty);
    m_empty->setVisible(!state.isLoading && isEmpty);
    m_list->setVisible(!isEmpty);
    renderConfirmation(state);
    m_alert.render(state.errorMessage);
}

void ExtensionsView::renderConfirmation(const ExtensionsViewState& state) {
    if (std::exchange(m_shownPendingIgnore, state.pendingIgnore) == state.pendingIgnore) {
        return;
    }
    dismiss(m_confirmation);
    if (!state.pendingIgnore) {
        return;
    }
    m_confirmation =
        new Alert(window(), displayText(ignoreTitle(state)), displayText(ignoreMessage(state)));
    m_confirmation->addAcceptButton("Ignore");
    m_confirmation->addRejectButton("Cancel");
    connect(m_confirmation, &QDialog::accepted, this, [this] { m_model->confirmIgnore(); });
    connect(m_confirmation, &QDialog::rejected, this, [this] { m_model->cancelIgnore(); });
    m_confirmation->open();
}

} // namespace peekmend
