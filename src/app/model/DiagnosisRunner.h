#pragma once

#include "app/model/MainQueue.h"
#include "diagnosis/DiagnosisEngine.h"
#include "platform/BackgroundPool.h"
#include "platform/Error.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace peekmend {

/// How a job gets to a background thread; as `BackgroundPool::submit`.
using StartInBackground = std::function<std::expected<void, Error>(BackgroundPool::Job)>;

/// Runs diagnoses in the background, any number at once. Interface thread only; it must outlive
/// the main queue's last block.
class DiagnosisRunner {
public:
    using Diagnose = std::function<QLDiagnosisReport(const std::optional<FileURL>& fileURL,
                                                     const std::stop_token& stop)>;
    using Finish = std::function<void(std::shared_ptr<const QLDiagnosisReport> report)>;

    DiagnosisRunner(std::shared_ptr<MainQueue> mainQueue, StartInBackground startInBackground,
                    Diagnose diagnose)
        : m_mainQueue(std::move(mainQueue)), m_startInBackground(std::move(startInBackground)),
          m_diagnose(std::move(diagnose)) {}

    /// Diagnoses `fileURL`, or reads the inventory alone, and hands the report to `finish` on the
    /// interface thread. A stop ends the waits early.
    void start(std::optional<FileURL> fileURL, std::stop_token stop, Finish finish);

    [[nodiscard]] bool isIdle() const { return m_running == 0; }

    /// Called when the last running diagnosis has ended.
    std::function<void()> onIdle;

private:
    void ended();

    std::shared_ptr<MainQueue> m_mainQueue;
    StartInBackground m_startInBackground;
    Diagnose m_diagnose;
    std::size_t m_running = 0;
};

} // namespace peekmend
