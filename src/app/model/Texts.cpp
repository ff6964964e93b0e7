#include "app/model/Texts.h"

#include "platform/Text.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace peekmend {

namespace {

constexpr std::string_view emDash = "\u2014";

} // namespace

std::string_view stateBadge(QLRegistrationState state) {
    switch (state) {
    case QLRegistrationState::enabled:
        return "+";
    case QLRegistrationState::ignored:
        return "\u2212";
    case QLRegistrationState::unmarked:
        return "\u00B7";
    }
    std::unreachable();
}

std::string inventoryErrorText(std::string_view fetchError) {
    return "Couldn't read the Quick Look extension inventory: " + std::string(fetchError);
}

std::optional<ServingLine> servingLine(const QLDiagnosisReport& report) {
    if (!report.activeHandler) {
        return std::nullopt;
    }
    if (!report.activeHandler->invokedPreview) {
        return ServingLine{"Serving preview: probe invocation failed. Open the Spacebar preview "
                           "yourself, then Refresh.",
                           false};
    }
    if (report.activeHandler->bundleIDs.empty()) {
        return ServingLine{
            "Serving preview: no extension process seen (system fallback or probe missed).", false};
    }
    return ServingLine{"Serving preview: " + joined(report.activeHandler->bundleIDs, ", "), true};
}

std::string versionText(const QLExtensionRecord& record) {
    return record.version.value_or(std::string(emDash));
}

std::optional<std::string_view> staleText(const QLExtensionRecord& record) {
    if (record.path && isStaleLocation(*record.path)) {
        return "Stale path \u2014 reinstall to /Applications?";
    }
    return std::nullopt;
}

std::string alsoPreviewsText(const QLClaimant& claimant) {
    std::vector<std::string_view> others;
    for (const std::string& type : claimant.allClaimedUTIs) {
        if (std::ranges::find(claimant.matchedUTIs, type) == claimant.matchedUTIs.end()) {
            others.emplace_back(type);
        }
    }
    return others.empty() ? std::string(emDash) : joined(others, ", ");
}

} // namespace peekmend
