// Draws the window in its states into files, without a display: how the views are looked at. Not
// installed.

#include "app/ContentView.h"
#include "app/ExtensionsView.h"
#include "app/MainWindow.h"
#include "app/PeekmendApp.h"
#include "app/QtMainQueue.h"
#include "app/RepairView.h"
#include "platform/ProcessSetup.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QStyle>
#include <QtCore/qtestsupport_core.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace peekmend;

using Done = std::expected<void, QString>;
using enum QLRegistrationState;

constexpr int longestWait = 30'000;

constexpr const char* file = "/home/ada/Documents/Meeting notes.md";
constexpr const char* markdownID = "org.peekmend.MarkdownPreview";
constexpr const char* textID = "org.peekmend.TextPreview";

enum Tab : std::uint8_t { repairTab, extensionsTab, helpTab };

/// One state of the window, and what stands there for the system.
struct Scene {
    QString name;
    Tab tab = repairTab;
    /// What every diagnosis gives. Its file, if there is one, is diagnosed first.
    QLDiagnosisReport report = {};
    /// A diagnosis stays under way.
    bool isBusy = false;
    bool hasUndo = false;
    /// What the user does then.
    std::function<void(ContentView& content)> act = nullptr;
    bool opensDialog = false;
};

/// Stored values that never change.
class CannedDefaults final : public UserDefaults {
public:
    explicit CannedDefaults(bool hasUndo) : m_hasUndo(hasUndo) {}

    [[nodiscard]] std::optional<std::string> dataForKey(const std::string& /*key*/) const override {
        return m_hasUndo ? encodeRepairSnapshot({.states = {{textID, unmarked}}}) : std::nullopt;
    }

    void setDataForKey(const std::string& /*key*/, const std::string& /*data*/) override {}

    void removeObjectForKey(const std::string& /*key*/) override {}

private:
    bool m_hasUndo;
};

Services cannedServices(const Scene& scene, const std::shared_ptr<QtMainQueue>& mainQueue) {
    const StartInBackground start =
        [isBusy = scene.isBusy](BackgroundPool::Job job) -> std::expected<void, Error> {
        if (!isBusy) {
            job();
        }
        return {};
    };
    const auto failingTool = [](const auto&, const auto&) -> std::expected<std::string, Error> {
        return std::unexpected(
            Error{"pluginkit", 1, "pluginkit: Cannot write the elections: Permission denied\n"});
    };
    return {
        .mainQueue = mainQueue,
        .diagnoses = std::make_shared<DiagnosisRunner>(
            mainQueue, start, [report = scene.report](const auto&, const auto&) { return report; }),
        .repairs = std::make_shared<RepairQueue>(mainQueue, start),
        .applicator = RepairApplicator(failingTool),
        .defaults = std::make_shared<CannedDefaults>(scene.hasUndo),
        .copyText = [](const auto&) {},
        .openURL = [](const auto&) { return false; },
        .launchApplication = [](const auto&) { return false; },
        .tellWithoutWindow = [](const auto&) {},
    };
}

QLClaimant claimant(QLRegistrationState state, const char* bundleID, const char* version,
                    const std::string& path, const std::vector<std::string>& types) {
    return {.record = {bundleID, state, version, path},
            .matchedUTIs = {types.front()},
            .allClaimedUTIs = types};
}

QLDiagnosisReport diagnosed(std::vector<QLClaimant> claimants,
                            const std::vector<std::string>& serving) {
    QLDiagnosisReport report;
    report.fileURL = FileURL(file);
    report.verdict = composeVerdict(claimants, serving);
    report.claimants = std::move(claimants);
    report.activeHandler = {.bundleIDs = serving, .rawPaths = {}, .invokedPreview = true};
    return report;
}

std::vector<Scene> scenes() {
    const std::string previews = "/Applications/Peekmend Previews.app/Contents/PlugIns/";
    const auto markdown = [&](QLRegistrationState state) {
        return claimant(state, markdownID, "1.0", previews + "Markdown.appex",
                        {"net.daringfireball.markdown"});
    };
    const auto text = [&](QLRegistrationState state) {
        return claimant(state, textID, "1.0", previews + "Text.appex",
                        {"public.plain-text", "public.json", "public.xml", "public.shell-script",
                         "public.source-code"});
    };
    const QLClaimant nova =
        claimant(unmarked, "com.panic.Nova.NovaQuickLookPreview", "12.3",
                 "/Applications/Nova.app/Contents/PlugIns/NovaQuickLookPreview.appex",
                 {"public.text", "public.source-code", "public.css", "public.php-script"});
    const QLClaimant highland =
        claimant(ignored, "com.quoteunquoteapps.highland2.qlplugin", "2.1.6",
                 "/Applications/Highland 2.app/Contents/PlugIns/HighlandQL.appex",
                 {"net.daringfireball.markdown", "com.quoteunquoteapps.fountain"});
    const QLClaimant stale =
        claimant(unmarked, markdownID, "0.9-dev",
                 "/home/ada/Projects/Previews/DerivedData/Build/Previews.app/Contents/PlugIns/"
                 "Markdown.appex",
                 {"net.daringfireball.markdown"});

    const QLDiagnosisReport conflict =
        diagnosed({markdown(enabled), text(unmarked), nova, highland}, {markdownID});
    QLDiagnosisReport unread = diagnosed({}, {});
    unread.fetchError = "pluginkit: The extensions cannot be listed: Permission denied";
    unread.activeHandler->invokedPreview = false;
    QLDiagnosisReport inventory;
    inventory.records = {
        markdown(enabled).record,
        text(unmarked).record,
        {"org.peekmend.ImagePreview", unmarked, "1.0", previews + "Image.appex"},
        nova.record,
        highland.record,
        {"org.example.diagrams.desktop.quicklook-preview-extension", enabled, "2024.11.3 (4711)",
         "/Applications/Diagrams.app/Contents/PlugIns/Diagrams Quick Look Preview.appex"},
        stale.record,
        {"org.example.archives.Preview", ignored, std::nullopt, std::nullopt},
    };

    using View = ContentView&;
    const auto select = [](View view) { view.repairView().model().select(markdownID); };
    const auto prefer = [select](View view) {
        select(view);
        view.repairView().model().openPreferSheet();
    };
    const auto undo = [](View view) { view.repairView().model().undoLastRepair(); };
    const auto ignore = [nova](View view) {
        view.extensionsView().model().elect(nova.record, "ignore");
    };
    constexpr Tab list = extensionsTab;
    return {
        {.name = "empty"},
        {.name = "diagnosing", .report = conflict, .isBusy = true},
        {.name = "conflict", .report = conflict, .hasUndo = true, .act = select},
        {.name = "all-ignored", .report = diagnosed({markdown(ignored), text(ignored)}, {})},
        {.name = "stale", .report = diagnosed({text(enabled), stale}, {textID})},
        {.name = "fetch-error", .report = unread},
        {.name = "prefer-sheet", .report = conflict, .act = prefer, .opensDialog = true},
        {.name = "alert", .report = conflict, .hasUndo = true, .act = undo, .opensDialog = true},
        {.name = "extensions-loading", .tab = list, .isBusy = true},
        {.name = "extensions-empty", .tab = list},
        {.name = "extensions", .tab = list, .report = inventory, .hasUndo = true},
        {.name = "ignore-confirmation",
         .tab = list,
         .report = inventory,
         .act = ignore,
         .opensDialog = true},
        {.name = "help", .tab = helpTab},
    };
}

/// Runs the event loop until the condition holds, and then until all is laid out.
Done waitUntil(const QString& what, const std::function<bool()>& condition) {
    if (!QTest::qWaitFor(condition, longestWait)) {
        return std::unexpected("Waited too long for " + what + ".");
    }
    QCoreApplication::processEvents();
    return {};
}

/// The window, and over its middle the dialog, if there is one.
QPixmap picture(QWidget& window, QWidget* dialog) {
    constexpr QColor veil(0, 0, 0, 90);
    QPixmap behind = window.grab();
    if (dialog == nullptr) {
        return behind;
    }
    QRect frame(QPoint(), dialog->size());
    frame.moveCenter(window.rect().center());
    // A dialog may be higher than its window.
    const QRect all = window.rect() | frame;
    QPixmap result(all.size() * behind.devicePixelRatio());
    result.setDevicePixelRatio(behind.devicePixelRatio());
    result.fill(window.palette().color(QPalette::Shadow));
    QPainter painter(&result);
    painter.translate(-all.topLeft());
    painter.drawPixmap(QPoint(), behind);
    painter.fillRect(window.rect(), veil);
    painter.drawPixmap(frame.topLeft(), dialog->grab());
    return result;
}

Done save(const QPixmap& pixmap, const QString& path) {
    if (!pixmap.save(path, "PNG")) {
        return std::unexpected("Couldn't write " + path + ".");
    }
    return {};
}

Done draw(const Scene& scene, bool isLeast, const QString& path) {
    MainWindow window(cannedServices(scene, std::make_shared<QtMainQueue>()), {});
    ContentView& content = window.content();
    content.setCurrentIndex(scene.tab);
    window.show();
    if (isLeast) {
        window.resize(window.minimumSize());
    }
    if (scene.report.fileURL) {
        content.repairView().model().chooseFile(*scene.report.fileURL);
    }
    const auto hasArrived = [&] {
        return scene.isBusy || (!content.repairView().model().state().isDiagnosing &&
                                !content.extensionsView().model().state().isLoading);
    };
    if (auto done = waitUntil("the report of " + scene.name, hasArrived); !done) {
        return done;
    }
    if (scene.act) {
        scene.act(content);
    }
    const auto front = [&]() -> QWidget* {
        return scene.opensDialog ? QApplication::activeModalWidget() : &window;
    };
    const auto isInFront = [&] { return front() != nullptr && front()->isActiveWindow(); };
    if (auto done = waitUntil("the window of " + scene.name, isInFront); !done) {
        return done;
    }
    return save(picture(window, QApplication::activeModalWidget()), path);
}

QPalette highContrastPalette() {
    QPalette palette(Qt::white, Qt::black, Qt::white, Qt::darkGray, Qt::gray, Qt::white, Qt::white,
                     Qt::black, Qt::black);
    palette.setColor(QPalette::AlternateBase, Qt::black);
    palette.setColor(QPalette::Highlight, Qt::yellow);
    palette.setColor(QPalette::HighlightedText, Qt::black);
    palette.setColor(QPalette::Link, Qt::yellow);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, Qt::green);
    }
    return palette;
}

QPalette darkPalette() {
    QPalette palette(QColor(0x3a3a3c), QColor(0x2a2a2c));
    palette.setColor(QPalette::Base, QColor(0x1e1e20));
    palette.setColor(QPalette::AlternateBase, QColor(0x252527));
    palette.setColor(QPalette::Highlight, QColor(0x2f6db5));
    palette.setColor(QPalette::Link, QColor(0x78b4ff));
    return palette;
}

Done drawAll(const QString& folder, bool isLeast) {
    if (!QDir().mkpath(folder)) {
        return std::unexpected("Couldn't create " + folder + ".");
    }
    const std::pair<QString, QPalette> appearances[] = {
        {"light", QApplication::style()->standardPalette()},
        {"dark", darkPalette()},
        {"high-contrast", highContrastPalette()}};
    for (const auto& [appearance, palette] : appearances) {
        QApplication::setPalette(palette);
        for (const Scene& scene : scenes()) {
            const QString name = scene.name + "-" + appearance + ".png";
            if (auto done = draw(scene, isLeast, QDir(folder).filePath(name)); !done) {
                return done;
            }
        }
    }
    return {};
}

/// The window with the real diagnosis of a file.
Done drawDiagnosis(const QString& fileName, const QString& path) {
    PeekmendApp peekmendApp;
    MainWindow& window = peekmendApp.openWindow();
    RepairViewModel& model = window.content().repairView().model();
    model.chooseFile(FileURL(QFile::encodeName(fileName).toStdString()));
    const auto hasArrived = [&] { return model.state().report && window.isActiveWindow(); };
    if (auto done = waitUntil("the diagnosis of " + fileName, hasArrived); !done) {
        return done;
    }
    return save(picture(window, nullptr), path);
}

int usage() {
    std::fputs("Usage: peekmend-screenshots FOLDER [--minimum] [--large-font]\n"
               "       peekmend-screenshots --diagnose FILE PICTURE\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    // The same picture with and without a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
        // This platform says of every window that it cannot tell a window manager its sizes.
        if (!message.contains("propagateSizeHints")) {
            std::fputs(qUtf8Printable(message + "\n"), stderr);
        }
    });
    const QApplication application(argc, argv);
    QApplication::setStyle("fusion");

    QStringList arguments = QApplication::arguments().mid(1);
    Done done;
    if (arguments.size() == 3 && arguments.front() == "--diagnose") {
        done = drawDiagnosis(arguments[1], arguments[2]);
    } else {
        const bool isLeast = arguments.removeAll("--minimum") > 0;
        if (arguments.removeAll("--large-font") > 0) {
            QFont font = QApplication::font();
            font.setPointSizeF(font.pointSizeF() * 1.5);
            QApplication::setFont(font);
        }
        if (arguments.size() != 1 || arguments.front().startsWith('-')) {
            return usage();
        }
        done = drawAll(arguments.front(), isLeast);
    }
    if (!done) {
        std::fputs(qUtf8Printable("peekmend-screenshots: " + done.error() + "\n"), stderr);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
