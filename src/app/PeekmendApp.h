#pragma once

#include "app/QtMainQueue.h"
#include "app/UpdaterBridge.h"
#include "app/model/Services.h"

#include <QObject>
#include <QPointer>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace peekmend {

class Alert;
class MainWindow;

/// The application: its windows, what they share, and its end. One, on the interface thread, while
/// the toolkit's application exists.
class PeekmendApp : public QObject {
public:
    PeekmendApp();
    ~PeekmendApp() override;

    /// Opens a window of its own state.
    MainWindow& openWindow();

    /// Closes all windows, and ends the program when nothing is under way any more.
    void quit();

    [[nodiscard]] const Services& services() const { return m_services; }

private:
    void tell(const std::string& message);
    void endWhenDone();
    void showRepairUnderWay();

    std::shared_ptr<QtMainQueue> m_mainQueue;
    Services m_services;
    UpdaterBridge m_updater;
    std::vector<QPointer<MainWindow>> m_windows;
    std::vector<QPointer<Alert>> m_notices;
    /// Says that a repair is waited for.
    QPointer<Alert> m_repairUnderWay;
    bool m_isWaitingForDiagnoses = false;
};

} // namespace peekmend
