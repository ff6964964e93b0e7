#include "app/UpdaterController.h"

#include "app/Appcast.h"
#include "app/BuildConfig.h"
#include "app/Sheet.h"
#include "app/Style.h"
#include "platform/SystemTools.h"

#include <QPushButton>
#include <QSocketNotifier>

#include <array>
#include <cstddef>
#include <utility>

namespace peekmend {

namespace {

constexpr auto failure = "The check for updates failed";

/// More than the program that asks has to say, in bytes.
constexpr qsizetype mostSaid = qsizetype{1024} * 1024;

/// A notifier cannot be deleted while it notifies.
struct DeleteLater {
    void operator()(QSocketNotifier* notifier) const {
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
};

} // namespace

struct UpdaterController::Fetch {
    ChildProcess child;
    FileDescriptor output;
    std::unique_ptr<QSocketNotifier, DeleteLater> notifier;
    QByteArray said;
};

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
    if (const auto started = startFetch(); !started) {
        showMessage(failure, displayText(started.error().message), "OK");
    }
}

std::expected<void, Error> UpdaterController::startFetch() {
    auto pipe = makePipe();
    if (!pipe) {
        return std::unexpected(std::move(pipe.error()));
    }
    auto child =
        ChildProcess::launch({.executablePath = ownTool("fetch"),
                              .arguments = {m_feed.toString(QUrl::FullyEncoded).toStdString(),
                                            std::string("Peekmend/") + buildConfig::version},
                              .standardOutput = pipe->writeEnd.get(),
                              .standardError = {}});
    if (!child) {
        return std::unexpected(std::move(child.error()));
    }
    const int output = pipe->readEnd.get();
    m_fetch = std::make_unique<Fetch>(*std::move(child), std::move(pipe->readEnd));
    m_fetch->notifier.reset(new QSocketNotifier(output, QSocketNotifier::Read));
    connect(m_fetch->notifier.get(), &QSocketNotifier::activated, this, &UpdaterController::read);
    return {};
}

void UpdaterController::stop() {
    m_fetch.reset();
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
    std::array<char, 16384> buffer{};
    const ssize_t count = retryInterrupted(
        [&] { return ::read(m_fetch->output.get(), buffer.data(), buffer.size()); });
    if (count > 0 && m_fetch->said.size() + count <= mostSaid) {
        m_fetch->said.append(buffer.data(), count);
        return;
    }
    const auto fetch = std::exchange(m_fetch, nullptr);
    const int status = count == 0 ? fetch->child.waitUntilExit() : -1;
    if (status == 0) {
        showNewest(fetch->said);
    } else if (status == 1 && !fetch->said.isEmpty()) {
        showMessage(failure, displayText(fetch->said.toStdString()), "OK");
    } else {
        showMessage(failure, "The program that asks for updates did not do its work.", "OK");
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
