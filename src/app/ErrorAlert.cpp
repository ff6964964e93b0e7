#include "app/ErrorAlert.h"

#include "app/Sheet.h"
#include "app/Style.h"

#include <QPushButton>

#include <utility>

namespace peekmend {

ErrorAlert::ErrorAlert(QWidget& view, std::function<void()> onDismiss)
    : m_view(&view), m_onDismiss(std::move(onDismiss)) {}

void ErrorAlert::render(const std::optional<std::string>& message) {
    if (message && m_alert) {
        m_alert->setMessage(displayText(*message));
    } else if (message) {
        m_alert = new Alert(m_view->window(), "Peekmend", displayText(*message));
        m_alert->addRejectButton("OK");
        QObject::connect(m_alert, &QDialog::finished, m_alert, [this] {
            // Forgotten first, so that a message that comes while this one goes gets an alert of
            // its own.
            std::exchange(m_alert, nullptr)->deleteLater();
            m_onDismiss();
        });
        m_alert->open();
    } else {
        dismiss(m_alert);
    }
}

} // namespace peekmend
