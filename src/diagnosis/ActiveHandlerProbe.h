#pragma once

#include "inventory/PlugInKitInventory.h"
#include "platform/ChildProcess.h"
#include "platform/FileURL.h"

#include <chrono>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend {

/// What one probe saw.
struct ActiveHandlerProbeResult {
    /// The inventory's extensions that were seen running, in inventory order.
    std::vector<std::string> bundleIDs;
    /// The command lines of all app extensions that were seen running, each once, in the order of
    /// the process listing.
    std::vector<std::string> rawPaths;
    /// Whether the preview could be started. Otherwise both lists are empty.
    bool invokedPreview = false;

    bool operator==(const ActiveHandlerProbeResult&) const = default;
};

/// Finds out which extension really serves the preview of a file: opens the system's preview, looks
/// at the running processes and closes the preview again. Stateless; several probes may run at once
/// and then see each other's previews.
namespace ActiveHandlerProbe {

/// Probes. Never fails; takes about a second, and at the longest 3.2 s beside the two process
/// listings. A stop only ends the waits early: the preview is closed on every way out. Blocks the
/// calling thread.
[[nodiscard]] ActiveHandlerProbeResult probe(const FileURL& fileURL,
                                             const std::vector<QLExtensionRecord>& records,
                                             const std::stop_token& stop = {});

/// The command lines of app extensions in a process listing, each once, in order.
[[nodiscard]] std::vector<std::string> parseExtensionPaths(std::string_view listing);

/// The identifiers of the records whose bundle occurs in one of the command lines, in record order.
[[nodiscard]] std::vector<std::string>
bundleIDsForPaths(const std::vector<std::string>& paths,
                  const std::vector<QLExtensionRecord>& records);

/// Waits until the process has exited, looking every `pollInterval`. Returns whether it has. After
/// a stop it polls without pausing until the timeout.
bool waitForExit(ChildProcess& process, std::chrono::nanoseconds timeout,
                 std::chrono::nanoseconds pollInterval, const std::stop_token& stop = {});

/// Ends the process: asks politely, then interrupts it, then kills it, and waits after each step.
/// `timeout` is the first wait.
void stopProcess(ChildProcess& process, std::chrono::nanoseconds timeout,
                 std::chrono::nanoseconds pollInterval, const std::stop_token& stop = {});

} // namespace ActiveHandlerProbe

} // namespace peekmend
