#include "diagnosis/DiagnosticReportWriter.h"

#include "platform/Text.h"

#include <cstddef>
#include <utility>

namespace peekmend::DiagnosticReportWriter {

namespace {

constexpr std::size_t underlineLength = 36;

char stateMarker(QLRegistrationState state) {
    switch (state) {
    case QLRegistrationState::enabled:
        return '+';
    case QLRegistrationState::ignored:
        return '-';
    case QLRegistrationState::unmarked:
        return '?';
    }
    std::unreachable();
}

std::string rawSection(const QLDiagnosisReport& report) {
    if (report.fetchError) {
        return "(fetch failed: " + *report.fetchError + ")";
    }
    if (report.rawPluginkit.empty()) {
        return "(empty)";
    }
    return std::string(trimNewlines(report.rawPluginkit));
}

} // namespace

std::string reportText(const QLDiagnosisReport& report) {
    std::vector<std::string> lines{"Peekmend Diagnostic Report", std::string(underlineLength, '=')};
    const auto append = [&](const std::vector<std::string>& more) {
        lines.insert(lines.end(), more.begin(), more.end());
    };

    if (report.fileURL) {
        lines.push_back("File: " + report.fileURL->path());
    }
    if (!report.typeTree.empty()) {
        lines.push_back("Type tree: " + joined(report.typeTree, " -> "));
    }
    append({"", "Verdict:", report.verdict.empty() ? "(no verdict)" : report.verdict, ""});
    if (report.claimants.empty()) {
        lines.emplace_back("Claimants: none");
    } else {
        lines.emplace_back("Claimants:");
        for (const QLClaimant& claimant : report.claimants) {
            append(claimantLines(claimant));
        }
    }
    append({"", "Active handler probe:"});
    append(probeLines(report.activeHandler));
    append({"", "Raw pluginkit output:", rawSection(report)});
    return joined(lines, "\n");
}

std::vector<std::string> claimantLines(const QLClaimant& claimant) {
    const QLExtensionRecord& record = claimant.record;
    std::vector<std::string> lines{std::string("  [") + stateMarker(record.state) + "] " +
                                   record.bundleID};
    if (record.version) {
        lines.front() += " (" + *record.version + ")";
    }
    if (record.path) {
        lines.push_back("      path: " + *record.path +
                        (isStaleLocation(*record.path) ? " [stale]" : ""));
    }
    if (!claimant.allClaimedUTIs.empty()) {
        lines.push_back("      other types: " + joined(claimant.allClaimedUTIs, ", "));
    }
    if (const auto note = extensionNote(record.bundleID)) {
        lines.push_back("      note: " + std::string(*note));
    }
    return lines;
}

std::vector<std::string> probeLines(const std::optional<ActiveHandlerProbeResult>& activeHandler) {
    if (!activeHandler) {
        return {"  Not probed (no file selected)."};
    }
    if (!activeHandler->invokedPreview) {
        return {"  Probe invocation failed."};
    }
    if (!activeHandler->bundleIDs.empty()) {
        return {"  Serving preview: " + joined(activeHandler->bundleIDs, ", ")};
    }
    return {"  No extension process seen (system fallback or probe missed)."};
}

} // namespace peekmend::DiagnosticReportWriter
