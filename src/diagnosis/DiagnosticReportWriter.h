#pragma once

#include "diagnosis/DiagnosisEngine.h"

#include <optional>
#include <string>
#include <vector>

/// Writes a diagnosis as plain text, for people who ask for support. The text's form is stable.
namespace peekmend::DiagnosticReportWriter {

/// The whole report: lines joined with line feeds, none after the last.
[[nodiscard]] std::string reportText(const QLDiagnosisReport& report);

/// One claimant, in one to four lines.
[[nodiscard]] std::vector<std::string> claimantLines(const QLClaimant& claimant);

/// What the probe saw, in one line.
[[nodiscard]] std::vector<std::string>
probeLines(const std::optional<ActiveHandlerProbeResult>& activeHandler);

} // namespace peekmend::DiagnosticReportWriter
