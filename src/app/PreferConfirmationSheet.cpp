#include "app/PreferConfirmationSheet.h"

#include "app/Style.h"
#include "app/Widgets.h"
#include "diagnosis/DiagnosisEngine.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QTextCursor>

#include <algorithm>
#include <utility>

namespace peekmend {

namespace {

constexpr int leastWidth = 420;
constexpr int idealWidth = 460;
constexpr int greatestWidth = 520;
constexpr int peerListLimit = 220;
constexpr int peerSpacing = 10;
// Only identifiers of absurd length reach these.
constexpr int titleLimit = 90;
constexpr int leadLimit = 110;

/// All in one text, so that hundreds of peers are no weight, and plain, whatever they are called.
void writePeers(QTextDocument& document, const std::vector<QLExtensionRecord>& peers) {
    QTextCharFormat identifierFormat;
    identifierFormat.setFont(roleFont(TextRole::bodyMedium));
    QTextCharFormat noteFormat;
    noteFormat.setFont(roleFont(TextRole::callout));
    noteFormat.setForeground(roleColour(ColourRole::secondary));
    QTextCursor cursor(&document);
    for (const QLExtensionRecord& peer : peers) {
        QTextBlockFormat entry;
        entry.setTopMargin(cursor.atStart() ? 0 : peerSpacing);
        if (cursor.atStart()) {
            cursor.setBlockFormat(entry);
        } else {
            cursor.insertBlock(entry);
        }
        cursor.insertText(singleLine(displayText(peer.bundleID)), identifierFormat);
        if (const auto note = extensionNote(peer.bundleID)) {
            QTextBlockFormat below;
            below.setTopMargin(spacing::tight);
            cursor.insertBlock(below);
            cursor.insertText(displayText(*note), noteFormat);
        }
    }
}

} // namespace

PreferConfirmationSheet::PreferConfirmationSheet(
    QWidget* window, const QLExtensionRecord& chosen,
    const std::vector<QLExtensionRecord>& peersToIgnore, std::function<void()> onConfirm,
    std::function<void()> onCancel)
    : Sheet(window), m_onCancel(std::move(onCancel)) {
    const QString chosenID = displayText(chosen.bundleID);
    const auto addText = [this](TextRole role, ColourRole colour, int limit, const QString& text) {
        auto* const block = new TextBlock(role, colour);
        block->setHeightLimit(limit);
        block->setText(text);
        column().addWidget(block);
        return block;
    };
    addText(TextRole::title3, ColourRole::primary, titleLimit, "Prefer " + chosenID + "?");
    addText(TextRole::body, ColourRole::primary, leadLimit,
            "This will set " + chosenID +
                " to Use, and ignore the following extension(s) for Quick Look previews:");
    if (peersToIgnore.empty()) {
        addText(TextRole::body, ColourRole::secondary, peerListLimit,
                "No other claimants need to be ignored.");
    } else {
        auto* const peers = addText(TextRole::body, ColourRole::primary, peerListLimit, QString());
        writePeers(*peers->document(), peersToIgnore);
        peers->documentChanged();
        peers->moveCursor(QTextCursor::Start);
    }
    addText(TextRole::footnote, ColourRole::secondary, QWIDGETSIZE_MAX,
            "Ignoring an extension is all-or-nothing \u2014 it applies to every file type that "
            "extension handles, not just this one. This can be undone with Undo last repair.");

    auto* const cancel = new QPushButton("Cancel");
    auto* const confirm = new QPushButton("Confirm");
    cancel->setAutoDefault(false);
    confirm->setDefault(true);
    connect(cancel, &QPushButton::clicked, this, &PreferConfirmationSheet::reject);
    connect(confirm, &QPushButton::clicked, this, [action = std::move(onConfirm)] { action(); });
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(confirm);
    column().addStretch(1);
    column().addLayout(buttons);

    setMinimumWidth(leastWidth);
    setMaximumWidth(greatestWidth);
    resize(std::min(widthForFont(idealWidth), greatestWidth), 1);
    confirm->setFocus();
}

void PreferConfirmationSheet::reject() {
    m_onCancel();
}

} // namespace peekmend
