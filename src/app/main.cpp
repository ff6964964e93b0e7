#include "app/BuildConfig.h"
#include "app/PeekmendApp.h"
#include "platform/ProcessSetup.h"

#include <QApplication>
#include <QIcon>
#include <QLoggingCategory>

int main(int argc, char** argv) {
    peekmend::prepareProcess();
    const QApplication application(argc, argv);
    QApplication::setApplicationName("peekmend");
    QApplication::setApplicationDisplayName("Peekmend");
    QApplication::setApplicationVersion(peekmend::buildConfig::version);
    QApplication::setDesktopFileName("org.peekmend.Peekmend");
    // No theme has it where the program is not installed or has a prefix of its own.
    QApplication::setWindowIcon(
        QIcon::fromTheme("org.peekmend.Peekmend", QIcon(":/icons/org.peekmend.Peekmend.svg")));
    // Texts that can be selected are labels to a screen reader, and of a label the toolkit does not
    // expect that its caret moves.
    QLoggingCategory::setFilterRules("qt.accessibility.atspi.warning=false");
    peekmend::PeekmendApp peekmendApp;
    peekmendApp.openWindow();
    return QApplication::exec();
}
