#pragma once

#include "app/model/Services.h"

#include <QMainWindow>

#include <functional>

namespace peekmend {

class ContentView;

/// The one kind of window that the program has.
class MainWindow : public QMainWindow {
public:
    /// What the menus ask of the application.
    struct Commands {
        std::function<void()> checkForUpdates;
        std::function<void()> openWindow;
        std::function<void()> quit;
    };

    MainWindow(const Services& services, Commands commands);

    [[nodiscard]] ContentView& content() { return *m_content; }

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void addMenus();
    void showAbout();

    Commands m_commands;
    ContentView* m_content;
};

} // namespace peekmend
