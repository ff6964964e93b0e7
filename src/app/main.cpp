#include "app/BuildConfig.h"
#include "app/PeekmendApp.h"
#include "platform/ProcessSetup.h"

#include <QApplication>

int main(int argc, char** argv) {
    peekmend::prepareProcess();
    const QApplication application(argc, argv);
    QApplication::setApplicationName("peekmend");
    QApplication::setApplicationDisplayName("Peekmend");
    QApplication::setApplicationVersion(peekmend::buildConfig::version);
    QApplication::setDesktopFileName("org.peekmend.Peekmend");
    peekmend::PeekmendApp peekmendApp;
    peekmendApp.openWindow();
    return QApplication::exec();
}
