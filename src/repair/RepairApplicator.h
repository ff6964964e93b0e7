#pragma once

#include "inventory/PlugInKitInventory.h"
#include "platform/Error.h"
#include "platform/UserDefaults.h"
#include "repair/RepairSnapshot.h"

#include <expected>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend {

/// The domain of the error that stands for a tool that ended with a non-zero status.
inline constexpr std::string_view repairToolErrorDomain = "RepairApplicator";

/// The election that brings a registration state back.
[[nodiscard]] std::string_view electionFor(QLRegistrationState state);

/// Runs a tool to its end and returns what it wrote to standard output; empty when that is not
/// UTF-8. Fails with the launch error, or with a "RepairApplicator" error that carries the tool's
/// own message and status. Blocks the calling thread.
[[nodiscard]] std::expected<std::string, Error> runTool(const std::string& executablePath,
                                                        const std::vector<std::string>& arguments);

/// Carries out every change of the system's registrations. Keeps nothing between calls and takes no
/// locks: callers see to it that no two changes overlap. All operations block while tools run.
class RepairApplicator {
public:
    /// How tools are run.
    using ToolRunner = std::function<std::expected<std::string, Error>(
        const std::string& executablePath, const std::vector<std::string>& arguments)>;

    explicit RepairApplicator(ToolRunner toolRunner = runTool) : m_runTool(std::move(toolRunner)) {}

    /// Sets one extension's election: "use", "ignore" or "default".
    [[nodiscard]] std::expected<void, Error> setElection(std::string_view election,
                                                         const std::string& bundleID) const;

    /// Restarts the system's preview processes. Failures are dropped.
    void restartQuickLook() const;

    /// Ignores every peer, then uses the chosen extension, then restarts the previews and stores
    /// the snapshot that undoes it, which is returned. At the first failure it stops: what was
    /// changed until then stays, and nothing is stored. `allRecords` is the inventory that the
    /// states before the change are taken from.
    [[nodiscard]] std::expected<QLRepairSnapshot, Error>
    prefer(const QLExtensionRecord& chosen, const std::vector<QLExtensionRecord>& peersToIgnore,
           const std::vector<QLExtensionRecord>& allRecords, UserDefaults& defaults) const;

    /// Brings the snapshot's states back, restarts the previews and removes the stored snapshot. At
    /// the first failure it stops, and the stored snapshot stays for another try.
    [[nodiscard]] std::expected<void, Error> undo(const QLRepairSnapshot& snapshot,
                                                  UserDefaults& defaults) const;

    /// Sets the election of one extension, restarts the previews and stores the snapshot that
    /// undoes it, which is returned. On failure nothing is stored.
    [[nodiscard]] std::expected<QLRepairSnapshot, Error>
    applySingleChange(const QLExtensionRecord& record, std::string_view election,
                      UserDefaults& defaults) const;

private:
    ToolRunner m_runTool;
};

} // namespace peekmend
