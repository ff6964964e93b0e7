// A window that shows what Peekmend's shows when it opens, put together from the toolkit's own
// widgets and from nothing else: what any program with this window pays.

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStyle>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

QLabel* label(const QString& text, QFont::Weight weight) {
    auto* const label = new QLabel(text);
    QFont font = label->font();
    font.setWeight(weight);
    label->setFont(font);
    return label;
}

QWidget* firstPage() {
    auto* const zone = new QFrame;
    zone->setFrameShape(QFrame::Box);
    auto* const zoneColumn = new QVBoxLayout(zone);
    auto* const symbol = new QLabel;
    symbol->setPixmap(QApplication::style()->standardIcon(QStyle::SP_FileIcon).pixmap(28));
    for (QWidget* const widget :
         std::initializer_list<QWidget*>{symbol, label("Drop a file here", QFont::Bold),
                                         new QPushButton("Choose File\u2026")}) {
        zoneColumn->addWidget(widget, 0, Qt::AlignHCenter);
    }
    auto* const bar = new QHBoxLayout;
    for (const char* const text : {"Prefer this handler\u2026", "Undo last repair", "Refresh",
                                   "Open System Settings\u2026", "Copy report"}) {
        bar->addWidget(new QPushButton(text));
    }
    auto* const page = new QWidget;
    auto* const column = new QVBoxLayout(page);
    column->addWidget(zone);
    column->addWidget(label("Drop a file above (or choose one) to see which Quick Look extensions "
                            "can preview it.",
                            QFont::Normal));
    column->addStretch();
    column->addLayout(bar);
    return page;
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    for (const char* const title : {"Peekmend", "File", "Edit"}) {
        QMenu* const menu = window.menuBar()->addMenu(title);
        menu->addAction("One");
        menu->addAction("Two");
    }
    auto* const tabs = new QTabWidget;
    tabs->setDocumentMode(true);
    const QIcon icon = QApplication::style()->standardIcon(QStyle::SP_FileIcon);
    tabs->addTab(firstPage(), icon, "Repair");
    tabs->addTab(new QWidget, icon, "Extensions");
    tabs->addTab(new QWidget, icon, "Help");
    window.setCentralWidget(tabs);
    window.resize(760, 560);
    window.show();
    return QApplication::exec();
}
