// Everything at once: what the windows of a program share, and what it shares with other programs.

#include "app/ContentView.h"
#include "app/ExtensionsView.h"
#include "app/MainWindow.h"
#include "app/PeekmendApp.h"
#include "app/RepairView.h"
#include "app/UpdaterController.h"
#include "faults/Machine.h"

#include <QApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>

namespace peekmend::test {
namespace {

TEST(Concurrency, OverlappingWorkOfTwoWindowsComesToItsEnd) {
    Machine machine;
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    UpdaterController updater(QString("http://127.0.0.1:%1/").arg(server.serverPort()), nullptr);
    {
        PeekmendApp app;
        MainWindow& first = app.openWindow();
        MainWindow& second = app.openWindow();
        updater.checkForUpdates();
        const FileURL file(machine.file);
        for (MainWindow* const window : {&first, &second, &first, &second}) {
            window->content().repairView().model().chooseFile(file);
        }
        ExtensionsViewModel& list = second.content().extensionsView().model();
        list.reload();
        list.changeState({"org.a.A", QLRegistrationState::unmarked, {}, {}}, "use");
        first.content().repairView().model().undoLastRepair();
        second.content().repairView().model().undoLastRepair();

        const auto settled = [&](const std::function<bool()>& condition) {
            return eventually([&] {
                QApplication::processEvents();
                return condition();
            });
        };
        ASSERT_TRUE(settled([&] { return server.hasPendingConnections(); }));
        server.nextPendingConnection()->write("HTTP/1.1 404 No\r\nContent-Length: 0\r\n\r\n");
        ASSERT_TRUE(settled([&] {
            const auto windows = QApplication::topLevelWidgets();
            return std::ranges::any_of(windows, [](const QWidget* window) {
                return window->isVisible() &&
                       window->accessibleName() == "The check for updates failed";
            });
        }));
        ASSERT_TRUE(settled([&] {
            return app.services().repairs->isIdle() && app.services().diagnoses->isIdle();
        }));

        for (MainWindow* const window : {&first, &second}) {
            const RepairViewState& state = window->content().repairView().model().state();
            EXPECT_EQ(state.errorMessage, std::nullopt);
            EXPECT_EQ(state.undoSnapshot, std::nullopt);
            ASSERT_TRUE(state.report);
            EXPECT_EQ(state.report->claimants.size(), 3U);
        }
        EXPECT_EQ(list.state().records.size(), 3U);
        EXPECT_EQ(states(list.state().undoSnapshot),
                  (States{{"org.a.A", QLRegistrationState::unmarked}}));
        // The changes were made in the order in which they were asked for.
        Strings elections;
        for (const std::string& command : machine.takeCommands()) {
            if (command.starts_with("pluginkit -e")) {
                elections.push_back(command.substr(13));
            }
        }
        const Strings undo{"ignore -i org.a.A", "default -i org.b.B", "use -i org.c.C"};
        Strings expected{"use -i org.a.A"};
        expected.insert(expected.end(), undo.begin(), undo.end());
        expected.insert(expected.end(), undo.begin(), undo.end());
        EXPECT_EQ(elections, expected);
        EXPECT_EQ(loadLastRepairSnapshot(machine.defaults), std::nullopt);
    }
}

} // namespace
} // namespace peekmend::test
