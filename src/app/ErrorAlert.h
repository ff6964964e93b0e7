#pragma once

#include <QPointer>

#include <functional>
#include <optional>
#include <string>

class QWidget;

namespace peekmend {

class Alert;

/// The error alert of a view: open exactly while there is a message.
class ErrorAlert {
public:
    /// `onDismiss`: the user has dismissed it, in whatever way.
    ErrorAlert(QWidget& view, std::function<void()> onDismiss);

    void render(const std::optional<std::string>& message);

private:
    QWidget* m_view;
    std::function<void()> m_onDismiss;
    QPointer<Alert> m_alert;
};

} // namespace peekmend
