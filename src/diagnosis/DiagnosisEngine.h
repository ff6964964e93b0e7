#pragma once

#include "diagnosis/ActiveHandlerProbe.h"
#include "inventory/ContentTypes.h"
#include "inventory/PlugInKitInventory.h"
#include "platform/FileURL.h"
#include "platform/UniformType.h"

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend {

/// An extension that can preview the diagnosed file. Its identity is the record's `bundleID`, which
/// is not unique.
struct QLClaimant {
    QLExtensionRecord record;
    /// The claimed entry of the file's type tree that stands first there.
    std::vector<std::string> matchedUTIs;
    /// Every type that the extension declares, in declared order.
    std::vector<std::string> allClaimedUTIs;

    bool operator==(const QLClaimant&) const = default;
};

/// The result of one diagnosis.
struct QLDiagnosisReport {
    /// Absent when the diagnosis ran without a file.
    std::optional<FileURL> fileURL;
    /// The whole inventory, in listing order.
    std::vector<QLExtensionRecord> records;
    /// Enabled ones first, then unmarked, then ignored ones.
    std::vector<QLClaimant> claimants;
    /// The file's type, then its supertypes.
    std::vector<std::string> typeTree;
    std::string verdict;
    /// Absent when the diagnosis ran without a file.
    std::optional<ActiveHandlerProbeResult> activeHandler;
    /// The listing as the tool printed it; empty when it failed.
    std::string rawPluginkit;
    /// Why the inventory could not be read, where it could not.
    std::optional<std::string> fetchError;
};

/// Finds out which extensions claim a file, which one serves it, and why. Keeps nothing between
/// calls; usable from several threads at once.
class DiagnosisEngine {
public:
    /// `inventory` and `types` must live as long as the engine.
    explicit DiagnosisEngine(const PlugInKitExecuting& inventory = systemInventory(),
                             const TypeDatabase& types = systemTypeDatabase())
        : m_inventory(&inventory), m_types(&types) {}

    /// Diagnoses `fileURL`, or without one reads the inventory alone. Never fails: whatever goes
    /// wrong is in the report. Blocks for about a second; a stop ends the waits early.
    [[nodiscard]] QLDiagnosisReport diagnose(const std::optional<FileURL>& fileURL,
                                             const std::stop_token& stop = {}) const;

private:
    [[nodiscard]] static const PlugInKitExecuting& systemInventory();

    const PlugInKitExecuting* m_inventory;
    const TypeDatabase* m_types;
};

/// The records that claim a type of the tree, in the order of their states: enabled, unmarked,
/// ignored; within one state in inventory order.
[[nodiscard]] std::vector<QLClaimant> findClaimants(const std::vector<QLExtensionRecord>& records,
                                                    const std::vector<std::string>& typeTree,
                                                    const ContentTypeMap& contentTypes);

/// What the system will most likely do with the file, and what the user can do, in one paragraph.
/// `activeBundleIDs` are the extensions that the probe saw.
[[nodiscard]] std::string composeVerdict(const std::vector<QLClaimant>& claimants,
                                         const std::vector<std::string>& activeBundleIDs);

/// A caveat about ignoring this extension, for the few that are known to preview much else.
[[nodiscard]] std::optional<std::string_view> extensionNote(std::string_view bundleID);

/// Whether a registration at this path looks like a left-over: inside a build folder, or not under
/// /Applications/.
[[nodiscard]] bool isStaleLocation(std::string_view path);

} // namespace peekmend

template <>
struct std::hash<peekmend::QLClaimant> {
    std::size_t operator()(const peekmend::QLClaimant& claimant) const noexcept;
};
