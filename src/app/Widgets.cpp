#include "app/Widgets.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QProgressBar>
#include <QScrollBar>
#include <QShortcut>
#include <QStyle>
#include <QTextCursor>
#include <QTextDocument>
#include <QToolTip>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace peekmend {

void openCopyMenu(QWidget& widget, const QPoint& position, const QString& text,
                  const std::optional<std::string>& path) {
    auto* const menu = new QMenu(&widget);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto addCommand = [menu](const QString& name, const QString& copied) {
        menu->addAction(name, [copied] { QApplication::clipboard()->setText(copied); });
    };
    addCommand("&Copy", text);
    if (path) {
        // Whole and as it is, since it is to be found by it.
        addCommand("Copy &Path", QString::fromStdString(*path));
    }
    menu->popup(position);
}

void Label::contextMenuEvent(QContextMenuEvent* event) {
    openCopyMenu(*this, event->globalPos(), wholeText());
}

void ElidedLabel::setWholeText(const QString& text) {
    if (text != m_wholeText) {
        m_wholeText = text;
        setText(singleLine(text));
    }
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth(), Label::minimumSizeHint().height()};
}

QString ElidedLabel::elided() const {
    return fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && elided() != text()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(m_wholeText),
                           this);
        return true;
    }
    return Label::event(event);
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const auto flags = static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment()));
    painter.setPen(palette().color(foregroundRole()));
    // In a mirrored window too, a path begins with its slash.
    painter.setLayoutDirection(Qt::LeftToRight);
    painter.drawText(contentsRect(), flags | Qt::TextSingleLine, elided());
}

TextBlock::TextBlock(TextRole textRole, ColourRole colourRole) {
    setAccessibleRole(*this, QAccessible::StaticText);
    setFrameShape(QFrame::NoFrame);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setFocusPolicy(Qt::StrongFocus);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizeAdjustPolicy(QAbstractScrollArea::AdjustIgnored);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    viewport()->setAutoFillBackground(false);
    viewport()->setCursor(Qt::IBeamCursor);
    document()->setDocumentMargin(1);
    setRoles(textRole, colourRole);
}

void TextBlock::setText(const QString& text) {
    // Not compared with the document's own text, in which some characters are others.
    if (std::exchange(m_text, text) != text) {
        setPlainText(text);
        documentChanged();
    }
}

void TextBlock::setInlineMarkdown(const QString& text) {
    document()->setMarkdown(text, QTextDocument::MarkdownNoHTML);
    documentChanged();
}

void TextBlock::setHeightLimit(int height) {
    m_heightLimit = height;
    updateGeometry();
}

void TextBlock::documentChanged() {
    setAccessibleName(toPlainText());
    m_heights.clear();
    updateScrollBar();
    updateGeometry();
}

QSize TextBlock::sizeHint() const {
    constexpr int comfortableWidth = 400;
    return {comfortableWidth, heightForWidth(comfortableWidth)};
}

QSize TextBlock::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 10, fontMetrics().height()};
}

int TextBlock::heightForWidth(int width) const {
    return std::min(wholeHeight(width), m_heightLimit);
}

int TextBlock::wholeHeight(int width) const {
    if (const auto known = m_heights.find(width); known != m_heights.end()) {
        return known->second;
    }
    // The document on screen has the width that it is shown with.
    const std::unique_ptr<QTextDocument> copy(document()->clone());
    copy->setTextWidth(width);
    const int height = static_cast<int>(std::ceil(copy->size().height()));
    m_heights.emplace(width, height);
    return height;
}

void TextBlock::updateScrollBar() {
    // Left to itself, a scroll bar that comes while the layout settles makes the text higher and
    // so stays.
    const bool isLimited = m_heightLimit < QWIDGETSIZE_MAX && wholeHeight(width()) > m_heightLimit;
    setVerticalScrollBarPolicy(isLimited ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
}

void TextBlock::changeEvent(QEvent* event) {
    Styled::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        m_heights.clear();
        updateGeometry();
    }
}

void TextBlock::keyPressEvent(QKeyEvent* event) {
    const bool scrollsItself = verticalScrollBar()->maximum() > 0;
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        // Without a selection to extend, these scroll the page around.
        if (!scrollsItself && event->modifiers() == Qt::NoModifier) {
            event->ignore();
            return;
        }
        break;
    default:
        break;
    }
    QTextEdit::keyPressEvent(event);
}

void TextBlock::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier) {
        // A press on selected text would drag it, in a loop of its own in which the dialog around
        // the text may be closed and deleted.
        QTextCursor cursor = textCursor();
        cursor.clearSelection();
        setTextCursor(cursor);
    }
    QTextEdit::mousePressEvent(event);
}

void TextBlock::wheelEvent(QWheelEvent* event) {
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        // It would zoom this one text.
        event->ignore();
    } else {
        QTextEdit::wheelEvent(event);
    }
}

void TextBlock::resizeEvent(QResizeEvent* event) {
    updateScrollBar();
    QTextEdit::resizeEvent(event);
}

void TextBlock::paintEvent(QPaintEvent* event) {
    QTextEdit::paintEvent(event);
    if (hasFocus()) {
        drawFocusFrame(*viewport());
    }
}

ActionButton::ActionButton(const QString& text) : QPushButton(text) {
    setAutoDefault(false);
}

void ActionButton::setKey(QKeySequence::StandardKey key, QWidget& view) {
    connect(new QShortcut(key, &view), &QShortcut::activated, this, &QPushButton::click);
    setToolTip(QKeySequence(key).toString(QKeySequence::NativeText));
}

bool ActionButton::focusNextPrevChild(bool next) {
    // Asked for by the toolkit when the button is being disabled.
    return !isEnabled() || QPushButton::focusNextPrevChild(next);
}

void ActionButton::mouseMoveEvent(QMouseEvent* event) {
    // A press that has been called off, or moved off the button, is not taken up again.
    if (isDown()) {
        QPushButton::mouseMoveEvent(event);
    }
}

void setBusy(QWidget& view, bool isBusy) {
    if (!isBusy) {
        view.unsetCursor();
    } else if (view.cursor().shape() != Qt::BusyCursor) {
        view.setCursor(Qt::BusyCursor);
    }
}

QWidget* makeDivider() {
    auto* const line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    setAccessibleRole(*line, QAccessible::Separator);
    return line;
}

QWidget* makeProgress(const QString& text) {
    constexpr int leastWidth = 160;
    auto* const bar = new QProgressBar;
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setAccessibleName(text);
    bar->setMinimumWidth(leastWidth);
    auto* const progress = new QWidget;
    auto* const column = makeLayout<QVBoxLayout>(progress, 0, spacing::item);
    column->addWidget(new Label(text, TextRole::body));
    column->addWidget(bar);
    return progress;
}

} // namespace peekmend
