#include "app/UpdaterController.h"

#include "app/Appcast.h"
#include "app/BuildConfig.h"
#include "app/Sheet.h"
#include "app/Style.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>

#include <chrono>
#include <utility>

namespace peekmend {

namespace {

/// An appcast of many versions; the XML reader takes a time that grows with the square of what one
/// element may hold.
constexpr qint64 documentLimit = qint64{64} * 1024;
constexpr std::chrono::seconds longestSilence(20);
constexpr int mostRedirects = 5;

bool mayBeAsked(const QUrl& feed) {
    return feed.scheme() == QLatin1String("https") ||
           (feed.scheme() == QLatin1String("http") && QHostAddress(feed.host()).isLoopback());
}

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
    if (!mayBeAsked(m_feed)) {
        showMessage("The check for updates failed",
                    "The update address of this copy is not a secure one, so it was not asked.",
                    "OK");
        return;
    }
    showMessage("Checking for updates\u2026", "Asking " + m_feed.host() + ".", "Cancel");
    if (!m_network) {
        m_network = std::make_unique<QNetworkAccessManager>();
        m_network->setTransferTimeout(
            static_cast<int>(std::chrono::milliseconds(longestSilence).count()));
    }
    m_redirectsLeft = mostRedirects;
    ask(m_feed);
}

void UpdaterController::ask(const QUrl& address) {
    QNetworkRequest request(address);
    // Each address is looked at before it is asked.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QString("Peekmend/") + buildConfig::version);
    m_document.clear();
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::readyRead, this, &UpdaterController::read);
    connect(m_reply, &QNetworkReply::finished, this, &UpdaterController::finished);
}

void UpdaterController::stop() {
    if (QNetworkReply* const reply = std::exchange(m_reply, nullptr)) {
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
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

void UpdaterController::read() {
    if (!m_reply->isOpen()) {
        return;
    }
    m_document += m_reply->read(documentLimit + 1 - m_document.size());
    if (m_document.size() > documentLimit) {
        m_reply->abort();
    }
}

void UpdaterController::finished() {
    read();
    QNetworkReply* const reply = std::exchange(m_reply, nullptr);
    reply->deleteLater();
    const QString failure = "The check for updates failed";
    if (m_document.size() > documentLimit) {
        showMessage(failure, "The answer is too long for an appcast.", "OK");
        return;
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError) {
        // The server's own words are not passed on.
        showMessage(failure,
                    status != 0 ? QString("The server answered with the status %1.").arg(status)
                                : displayText(reply->errorString().toStdString()),
                    "OK");
        return;
    }
    if (const QUrl target = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
        !target.isEmpty()) {
        const QUrl next = reply->url().resolved(target);
        if (!mayBeAsked(next)) {
            showMessage(failure,
                        "The update address leads to another one that is not secure, so that one "
                        "was not asked.",
                        "OK");
        } else if (m_redirectsLeft-- == 0) {
            showMessage(failure, "The update address leads to too many others.", "OK");
        } else {
            ask(next);
        }
        return;
    }
    const auto newest = newestAppcastItem(m_document);
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
