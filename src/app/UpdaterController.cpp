#include "app/UpdaterController.h"

#include "app/Appcast.h"
#include "app/BuildConfig.h"
#include "app/Sheet.h"
#include "app/Style.h"
#include "platform/SystemTools.h"

#include <QProcess>
#include <QPushButton>

#include <utility>

namespace peekmend {

namespace {

constexpr auto failure = "The check for updates failed";

} // namespace

UpdaterController::UpdaterController(QUrl feed,
                                     std::function<bool(const std::string& address)> openURL)
    : m_feed(std::move(feed)), m_openURL(std::move(openURL)) {}

UpdaterController::~UpdaterController() {
    stop();
}

void UpdaterController::checkForUpdates() {
    if (m_dialog) {
        m_dialog->raise();
        m_dialog->activateWindow();
        return;
    }
    if (m_feed.isEmpty()) {
        showMessage("This copy has no update address",
                    QString("This copy of Peekmend %1 is updated by %2.")
                        .arg(buildConfig::version, displayText(buildConfig::updatedBy)),
                    "OK");
        return;
    }
    showMessage("Checking for updates\u2026", "Asking " + m_feed.host() + ".", "Cancel");
    m_fetch = new QProcess(this);
    m_fetch->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(m_fetch, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            finished();
        }
    });
    connect(m_fetch, &QProcess::finished, this, &UpdaterController::finished);
    m_fetch->start(
        QString::fromStdString(ownTool("fetch")),
        {m_feed.toString(QUrl::FullyEncoded), QString("Peekmend/") + buildConfig::version},
        QIODevice::ReadOnly);
}

void UpdaterController::stop() {
    if (QProcess* const fetch = std::exchange(m_fetch, nullptr)) {
        fetch->disconnect(this);
        fetch->kill();
        fetch->waitForFinished();
        fetch->deleteLater();
    }
    dismiss(m_dialog);
}

void UpdaterController::showMessage(const QString& title, const QString& message,
                                    const QString& endButton) {
    dismiss(m_dialog);
    m_dialog = new Alert(nullptr, title, message);
    connect(m_dialog, &QDialog::rejected, this, &UpdaterController::stop);
    connect(m_dialog, &QDialog::accepted, this, &UpdaterController::stop);
    m_dialog->addRejectButton(endButton);
    m_dialog->show();
}

void UpdaterController::finished() {
    QProcess* const fetch = std::exchange(m_fetch, nullptr);
    fetch->deleteLater();
    const QByteArray said = fetch->readAllStandardOutput();
    const bool hasEnded =
        fetch->error() == QProcess::UnknownError && fetch->exitStatus() == QProcess::NormalExit;
    if (hasEnded && fetch->exitCode() == 0) {
        showNewest(said);
    } else {
        showMessage(failure,
                    hasEnded && !said.isEmpty() ? displayText(said.toStdString())
                                                : "The program that asks for it could not be run.",
                    "OK");
    }
}

void UpdaterController::showNewest(const QByteArray& appcast) {
    const auto newest = newestAppcastItem(appcast);
    if (!newest) {
        showMessage(failure, "The answer is not an appcast that names a version.", "OK");
        return;
    }
    if (newest->version <= QVersionNumber::fromString(buildConfig::version)) {
        showMessage("Peekmend is up to date",
                    QString("Version %1 is the newest one.").arg(buildConfig::version), "OK");
        return;
    }
    showMessage("A newer version is available",
                QString("Peekmend %1 is available; this is version %2.")
                    .arg(newest->versionText, buildConfig::version),
                "Later");
    if (!newest->page.isEmpty()) {
        QPushButton& open = m_dialog->addAcceptButton("Show Page\u2026");
        connect(&open, &QPushButton::clicked, this,
                [this, address = newest->page.toString(QUrl::FullyEncoded).toStdString()] {
                    static_cast<void>(m_openURL(address));
                });
    }
}

} // namespace peekmend
