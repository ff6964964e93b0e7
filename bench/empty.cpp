// A window with three empty tabs: the least that Peekmend's window could be.

#include <QApplication>
#include <QMainWindow>
#include <QTabWidget>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    auto* const tabs = new QTabWidget;
    for (const char* const title : {"Repair", "Extensions", "Help"}) {
        tabs->addTab(new QWidget, title);
    }
    window.setCentralWidget(tabs);
    window.resize(760, 560);
    window.show();
    return QApplication::exec();
}
