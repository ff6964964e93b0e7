#include "app/PeekmendApp.h"

#include "app/BuildConfig.h"
#include "app/MainWindow.h"
#include "app/Sheet.h"
#include "app/Style.h"
#include "app/Workspace.h"
#include "platform/linux/StandardUserDefaults.h"

#include <QApplication>
#include <QClipboard>
#include <QPushButton>
#include <QTimer>

#include <utility>

namespace peekmend {

namespace {

/// How long a repair may take before the user is told that it is waited for, and how long after
/// that the way out appears.
constexpr std::chrono::milliseconds quietWait(300);
constexpr std::chrono::seconds waitBeforeWayOut(5);

/// Diagnoses are stopped and end by themselves in less; only one whose tool hangs is left behind.
constexpr std::chrono::seconds longestWaitForDiagnoses(6);

Services makeServices(const std::shared_ptr<QtMainQueue>& mainQueue) {
    const StartInBackground startInBackground = [](BackgroundPool::Job job) {
        return BackgroundPool::shared().submit(std::move(job));
    };
    return {
        .mainQueue = mainQueue,
        .diagnoses = std::make_shared<DiagnosisRunner>(
            mainQueue, startInBackground,
            [engine = DiagnosisEngine()](const std::optional<FileURL>& fileURL,
                                         const std::stop_token& stop) {
                return engine.diagnose(fileURL, stop);
            }),
        .repairs = std::make_shared<RepairQueue>(mainQueue, startInBackground),
        .applicator = RepairApplicator(),
        .defaults = std::make_shared<StandardUserDefaults>(),
        .copyText =
            [](const std::string& text) {
                QApplication::clipboard()->setText(QString::fromStdString(text));
            },
        .openURL = workspace::openURL,
        .launchApplication = workspace::launchApplication,
        .tellWithoutWindow = {},
    };
}

} // namespace

PeekmendApp::PeekmendApp()
    : m_mainQueue(std::make_shared<QtMainQueue>()), m_services(makeServices(m_mainQueue)),
      m_updater(QUrl(displayText(buildConfig::updateFeed)), m_services.openURL) {
    // The end is not that of the last window: a repair may be under way.
    QApplication::setQuitOnLastWindowClosed(false);
    m_services.tellWithoutWindow = [this](const std::string& message) { tell(message); };
    m_services.repairs->onIdle = [this] { endWhenDone(); };
    m_services.diagnoses->onIdle = [this] { endWhenDone(); };
}

PeekmendApp::~PeekmendApp() {
    m_mainQueue->close();
    for (const QPointer<MainWindow>& window : m_windows) {
        delete window;
    }
}

MainWindow& PeekmendApp::openWindow() {
    auto* const window = new MainWindow(
        m_services, {.checkForUpdates = [this] { m_updater.controller().checkForUpdates(); },
                     .openWindow = [this] { openWindow(); },
                     .quit = [this] { quit(); }});
    connect(window, &QObject::destroyed, this, [this] { endWhenDone(); }, Qt::QueuedConnection);
    std::erase(m_windows, nullptr);
    m_windows.emplace_back(window);
    window->show();
    return *window;
}

void PeekmendApp::quit() {
    for (const QPointer<MainWindow>& window : std::vector(m_windows)) {
        if (window) {
            window->close();
        }
    }
    endWhenDone();
}

void PeekmendApp::tell(const std::string& message) {
    auto* const notice = new Alert(nullptr, "Peekmend", displayText(message));
    notice->setAttribute(Qt::WA_DeleteOnClose);
    notice->addRejectButton("OK");
    connect(notice, &QObject::destroyed, this, [this] { endWhenDone(); }, Qt::QueuedConnection);
    m_notices.emplace_back(notice);
    notice->show();
}

void PeekmendApp::endWhenDone() {
    std::erase(m_windows, nullptr);
    std::erase(m_notices, nullptr);
    if (m_services.repairs->isIdle()) {
        delete m_repairUnderWay;
    }
    if (!m_windows.empty()) {
        return;
    }
    m_updater.controller().stop();
    if (!m_services.repairs->isIdle()) {
        QTimer::singleShot(quietWait, this, [this] { showRepairUnderWay(); });
        return;
    }
    if (!m_notices.empty()) {
        return;
    }
    if (!m_services.diagnoses->isIdle()) {
        if (!std::exchange(m_isWaitingForDiagnoses, true)) {
            QTimer::singleShot(longestWaitForDiagnoses, this, [] { QApplication::exit(); });
        }
        return;
    }
    QApplication::exit();
}

void PeekmendApp::showRepairUnderWay() {
    if (m_services.repairs->isIdle() || m_repairUnderWay) {
        return;
    }
    m_repairUnderWay = new Alert(nullptr, "Finishing a repair\u2026",
                                 "Peekmend quits when the repair is complete.");
    // As long as the repair runs, something has to be seen of the program.
    connect(m_repairUnderWay, &QDialog::rejected, m_repairUnderWay, &QWidget::show,
            Qt::QueuedConnection);
    m_repairUnderWay->show();
    QTimer::singleShot(waitBeforeWayOut, m_repairUnderWay, [this] {
        m_repairUnderWay->setMessage("The repair takes unusually long. Quitting now may leave it "
                                     "half done.");
        m_repairUnderWay->addAcceptButton("Quit Now").setAutoDefault(false);
        connect(m_repairUnderWay, &QDialog::accepted, this, [] { QApplication::exit(); });
    });
}

} // namespace peekmend
