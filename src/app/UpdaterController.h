#pragma once

#include "platform/ChildProcess.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <string>

namespace peekmend {

class Alert;

/// Looks for a newer version of the program when asked, and says what it found in a dialog of its
/// own. It asks for nothing but the appcast, through the program `fetch`, and runs nothing of what
/// it finds.
class UpdaterController : public QObject {
public:
    /// `feed`: the appcast's address; empty when this copy is updated in another way. Only https,
    /// and http on this machine itself, are asked.
    UpdaterController(QUrl feed, std::function<bool(const std::string& address)> openURL);
    ~UpdaterController() override;

    /// Starts a check at once. A second one while one is under way, or while its result is shown,
    /// only brings its dialog to the front.
    void checkForUpdates();

    /// Ends a check that is under way and closes its dialog.
    void stop();

private:
    void showMessage(const QString& title, const QString& message, const QString& endButton);
    std::expected<void, Error> startFetch();
    void read();
    void showNewest(const QByteArray& appcast);

    QUrl m_feed;
    std::function<bool(const std::string& address)> m_openURL;
    struct Fetch;
    std::unique_ptr<Fetch> m_fetch; ///< The check under way.
    QPointer<Alert> m_dialog;
};

} // namespace peekmend
