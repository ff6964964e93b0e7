#include "Preview.h"

#include <QApplication>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

#include <cstdio>
#include <cstdlib>

#include <sysexits.h>

namespace peekmend {

namespace {

void choosePlatform() {
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        return;
    }
    // Without a display that can be opened, the preview still runs, so that it can be seen which
    // one it is. The toolkit tries these in turn.
    QByteArray platforms = "offscreen";
    if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
        platforms.prepend("xcb;");
    }
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        platforms.prepend("wayland;");
    }
    qputenv("QT_QPA_PLATFORM", platforms);
}

} // namespace

int runPreview(int argc, char** argv, const PreviewContent& content) {
    if (argc != 2 || argv[1][0] != '/') {
        std::fputs("A preview is started with the absolute path of one file.\n", stderr);
        return EX_USAGE;
    }
    // Taken before the toolkit reads the arguments, and as the bytes that they are.
    const std::string path(argv[1]);
    choosePlatform();
    const QApplication application(argc, argv);
    QApplication::setApplicationDisplayName(QString());

    QWidget window;
    window.setAttribute(Qt::WA_ShowWithoutActivating);
    window.setWindowFlag(Qt::WindowDoesNotAcceptFocus);
    // The toolkit has a mark of its own in titles.
    window.setWindowTitle(displayName(path).replace("[*]", "[*][*]"));
    auto* const layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content(path).release());
    window.resize(window.sizeHint().expandedTo({640, 480}));
    window.show();
    return QApplication::exec();
}

QString displayName(const std::string& path) {
    return QString::fromStdString(path.substr(path.rfind('/') + 1));
}

std::unique_ptr<QWidget> messageContent(const QString& sentence) {
    auto label = std::make_unique<QLabel>(sentence);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignCenter);
    label->setMargin(label->fontMetrics().height());
    return label;
}

} // namespace peekmend
