#include "app/model/DiagnosisRunner.h"

#include <utility>

namespace peekmend {

void DiagnosisRunner::start(std::optional<FileURL> fileURL, std::stop_token stop, Finish finish) {
    ++m_running;
    const auto deliver = [this, queue = m_mainQueue, finish = std::move(finish)](
                             std::shared_ptr<const QLDiagnosisReport> report) {
        queue->post([this, finish, report = std::move(report)] {
            finish(report);
            ended();
        });
    };
    // The job may outlive the program's end, so it holds all that it needs.
    auto started =
        m_startInBackground([diagnose = m_diagnose, fileURL, stop = std::move(stop), deliver] {
            deliver(std::make_shared<const QLDiagnosisReport>(diagnose(fileURL, stop)));
        });
    if (!started) {
        QLDiagnosisReport report;
        report.fileURL = std::move(fileURL);
        report.verdict = composeVerdict({}, {});
        report.fetchError = std::move(started.error().message);
        deliver(std::make_shared<const QLDiagnosisReport>(std::move(report)));
    }
}

void DiagnosisRunner::ended() {
    if (--m_running == 0 && onIdle) {
        onIdle();
    }
}

} // namespace peekmend
