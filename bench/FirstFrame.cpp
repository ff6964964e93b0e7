// Linked to a program with a window, this ends it when its first frame is on the window, and prints
// the memory that it took until then, in bytes.

#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QWidget>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

[[noreturn]] void end() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            std::printf("%ld\n", std::stol(line.substr(6)) * 1024);
        }
    }
    std::fflush(stdout);
    ::_exit(0);
}

class FirstFrame : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* object, QEvent* event) override {
        // The frame is flushed when the whole window has been painted: after this event.
        if (event->type() == QEvent::Paint && qobject_cast<QWidget*>(object) != nullptr &&
            !m_isPainting) {
            m_isPainting = true;
            QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
        }
        return false;
    }

private:
    bool m_isPainting = false;
};

void watch() {
    QCoreApplication::instance()->installEventFilter(new FirstFrame(QCoreApplication::instance()));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)
