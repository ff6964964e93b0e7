#pragma once

#include "diagnosis/DiagnosisEngine.h"

#include <optional>
#include <string>
#include <string_view>

namespace peekmend {

/// The sign that stands for a state, of one character.
[[nodiscard]] std::string_view stateBadge(QLRegistrationState state);

/// How a `fetchError` is told.
[[nodiscard]] std::string inventoryErrorText(std::string_view fetchError);

/// What the probe saw, in one line.
struct ServingLine {
    std::string text;
    /// Whether an extension was seen, which is drawn with more weight.
    bool namesExtensions = false;

    bool operator==(const ServingLine&) const = default;
};

/// None when there was no probe.
[[nodiscard]] std::optional<ServingLine> servingLine(const QLDiagnosisReport& report);

/// The record's version, or a dash.
[[nodiscard]] std::string versionText(const QLExtensionRecord& record);

/// The warning about a stale location; none for a record at a good place, or at none.
[[nodiscard]] std::optional<std::string_view> staleText(const QLExtensionRecord& record);

/// The declared types that the file does not have, or a dash.
[[nodiscard]] std::string alsoPreviewsText(const QLClaimant& claimant);

} // namespace peekmend
