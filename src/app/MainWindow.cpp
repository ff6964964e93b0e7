#include "app/MainWindow.h"

#include "app/BuildConfig.h"
#include "app/ContentView.h"
#include "app/ExtensionsView.h"
#include "app/RepairView.h"
#include "app/Sheet.h"
#include "app/Style.h"

#include <QApplication>
#include <QCloseEvent>
#include <QEvent>
#include <QKeySequence>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>

#include <utility>

namespace peekmend {

namespace {

constexpr QSize defaultSize(760, 560);
constexpr QSize leastSize(640, 520);

/// Copies what is selected in the widget that has the focus, or in what it is part of.
void copySelection() {
    for (QWidget* widget = QApplication::focusWidget(); widget != nullptr;
         widget = widget->parentWidget()) {
        if (widget->metaObject()->indexOfMethod("copy()") >= 0) {
            QMetaObject::invokeMethod(widget, "copy");
            return;
        }
    }
}

} // namespace

MainWindow::MainWindow(const Services& services, Commands commands)
    : m_commands(std::move(commands)), m_content(new ContentView(services)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle("Peekmend");
    setContextMenuPolicy(Qt::NoContextMenu);
    addMenus();
    setCentralWidget(m_content);
    resize(defaultSize);
}

bool MainWindow::event(QEvent* event) {
    const bool isHandled = QMainWindow::event(event);
    handOnRoleChange(*this, *event);
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Polish) {
        // With a large font, the buttons need more.
        setMinimumSize(layout()->totalMinimumSize().expandedTo(leastSize));
    }
    return isHandled;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    if (event->isAccepted()) {
        // From now on, nobody sees what these would show.
        m_content->repairView().model().detach();
        m_content->extensionsView().model().detach();
    }
}

void MainWindow::addMenus() {
    // Not "Help", as a tab has that name.
    QMenu* const application = menuBar()->addMenu("Pee&kmend");
    application->addAction("&About Peekmend", this, [this] { showAbout(); });
    application->addAction("Check for &Updates\u2026", this,
                           [this] { m_commands.checkForUpdates(); });
    application->addSeparator();
    application->addAction("&Quit", QKeySequence::Quit, this, [this] { m_commands.quit(); });

    QMenu* const file = menuBar()->addMenu("&File");
    file->addAction("&New Window", QKeySequence::New, this, [this] { m_commands.openWindow(); });
    file->addAction("&Close", QKeySequence::Close, this, [this] { close(); });

    QMenu* const edit = menuBar()->addMenu("&Edit");
    edit->addAction("&Copy", QKeySequence::Copy, this, copySelection);
}

void MainWindow::showAbout() {
    auto* const about =
        new Alert(this, QString("Peekmend ") + buildConfig::version,
                  "Shows which Quick Look preview extension produces the Spacebar preview of a "
                  "file, and why, and repairs conflicts.\n\nFree software under the MIT licence.");
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->addRejectButton("OK");
    about->open();
}

} // namespace peekmend
