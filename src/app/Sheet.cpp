#include "app/Sheet.h"

#include "app/Style.h"
#include "app/Widgets.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace peekmend {

namespace {

constexpr int alertWidth = 420;
constexpr int alertTitleLimit = 80;
constexpr int alertMessageLimit = 240;

} // namespace

Sheet::Sheet(QWidget* window)
    : QDialog(window), m_column(makeLayout<QVBoxLayout>(this, spacing::page, spacing::section)) {
    setWindowTitle("Peekmend");
    if (window != nullptr) {
        setWindowModality(Qt::WindowModal);
    }
}

void Sheet::fit() {
    if (!m_column->hasHeightForWidth()) {
        // There is no text.
        return;
    }
    const int height = m_column->totalHeightForWidth(width());
    setMinimumHeight(height);
    resize(width(), height);
}

bool Sheet::event(QEvent* event) {
    const bool isHandled = QDialog::event(event);
    handOnRoleChange(*this, *event);
    // Before it is shown and whenever something in it has changed.
    if (event->type() == QEvent::Show || event->type() == QEvent::LayoutRequest) {
        fit();
    }
    return isHandled;
}

void Sheet::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    setMinimumHeight(std::max(m_column->totalHeightForWidth(width()), 0));
}

Alert::Alert(QWidget* window, const QString& title, const QString& message)
    : Sheet(window), m_message(new TextBlock(TextRole::body)), m_buttons(new QDialogButtonBox) {
    setAccessibleRole(*this, QAccessible::AlertMessage);
    auto* const heading = new TextBlock(TextRole::headline);
    heading->setHeightLimit(alertTitleLimit);
    heading->setText(title);
    setAccessibleName(title);
    m_message->setHeightLimit(alertMessageLimit);
    column().addWidget(heading);
    column().addWidget(m_message);
    column().addStretch(1);
    column().addWidget(m_buttons);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(widthForFont(alertWidth), 1);
    setMessage(message);
}

void Alert::setMessage(const QString& message) {
    m_message->setText(message);
    setAccessibleDescription(message);
}

QPushButton& Alert::addAcceptButton(const QString& text) {
    return *m_buttons->addButton(text, QDialogButtonBox::AcceptRole);
}

QPushButton& Alert::addRejectButton(const QString& text) {
    QPushButton& button = *m_buttons->addButton(text, QDialogButtonBox::RejectRole);
    button.setDefault(true);
    button.setFocus();
    return button;
}

} // namespace peekmend
