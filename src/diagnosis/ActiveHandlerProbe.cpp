#include "diagnosis/ActiveHandlerProbe.h"

#include "inventory/ProcessRunner.h"
#include "platform/Cancellation.h"
#include "platform/SystemTools.h"
#include "platform/Text.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <unordered_set>
#include <utility>

namespace peekmend::ActiveHandlerProbe {

namespace {

using namespace std::chrono_literals;

constexpr auto settleDelay = 800ms;
constexpr auto secondListingDelay = 400ms;
constexpr auto exitPollInterval = 25ms;
constexpr auto politeStopTimeout = 500ms;
constexpr auto interruptTimeout = 500ms;
constexpr auto killTimeout = 1000ms;

/// White space between the columns of a process listing.
constexpr std::string_view blanks = " \t";

/// `line` without its first `count` columns; empty when it has no more than these.
std::string_view withoutColumns(std::string_view line, std::size_t count) {
    for (std::size_t column = 0; column < count; ++column) {
        const std::size_t begin = std::min(line.find_first_not_of(blanks), line.size());
        const std::size_t end = std::min(line.find_first_of(blanks, begin), line.size());
        line.remove_prefix(end);
    }
    return line;
}

/// How many columns stand before the command in a listing whose first line is `firstLine`: 0 where
/// that is no header.
std::size_t columnsBeforeCommand(std::string_view firstLine) {
    std::size_t count = 0;
    std::string_view column;
    for (std::string_view rest = trimSpaces(firstLine); !rest.empty(); ++count) {
        const std::size_t end = std::min(rest.find_first_of(blanks), rest.size());
        column = rest.substr(0, end);
        rest.remove_prefix(std::min(rest.find_first_not_of(blanks, end), rest.size()));
    }
    return column == "COMMAND" ? count - 1 : 0;
}

/// The part of a listing's line that holds the command. A line without columns is taken whole.
std::string_view commandColumn(std::string_view line, std::size_t columnCount) {
    if (trimSpaces(line).starts_with('/')) {
        return line;
    }
    const std::string_view command = withoutColumns(line, columnCount);
    return command.empty() ? line : command;
}

std::vector<std::string> scanExtensionProcesses() {
    const auto result =
        ProcessRunner::run(SystemTools::current().ps, {"auxww"}, /*discardStandardOutput=*/false);
    return result ? parseExtensionPaths(decodeUtf8(result->stdoutBytes))
                  : std::vector<std::string>();
}

} // namespace

ActiveHandlerProbeResult probe(const FileURL& fileURL,
                               const std::vector<QLExtensionRecord>& records,
                               const std::stop_token& stop) {
    auto preview = ChildProcess::launch({
        .executablePath = SystemTools::current().qlmanage,
        .arguments = {"-p", fileURL.path()},
        .standardOutput = {},
        .standardError = {},
    });
    if (!preview) {
        return {};
    }

    ActiveHandlerProbeResult result;
    result.invokedPreview = true;
    sleepFor(settleDelay, stop);
    result.rawPaths = scanExtensionProcesses();
    if (result.rawPaths.empty()) {
        sleepFor(secondListingDelay, stop);
        result.rawPaths = scanExtensionProcesses();
    }

    if (preview->isRunning()) {
        preview->send(SIGKILL);
    }
    stopProcess(*preview, politeStopTimeout, exitPollInterval, stop);
    if (preview->send(0)) {
        preview->send(SIGKILL);
    }

    result.bundleIDs = bundleIDsForPaths(result.rawPaths, records);
    return result;
}

std::vector<std::string> parseExtensionPaths(std::string_view listing) {
    listing.remove_prefix(std::min(listing.find_first_not_of('\n'), listing.size()));
    const std::size_t columnCount = columnsBeforeCommand(listing.substr(0, listing.find('\n')));
    std::vector<std::string> paths;
    std::unordered_set<std::string_view> seen;
    while (!listing.empty()) {
        const std::size_t end = std::min(listing.find('\n'), listing.size());
        const std::string_view line = listing.substr(0, end);
        listing.remove_prefix(std::min(end + 1, listing.size()));
        if (!line.contains(".appex")) {
            continue;
        }
        const std::string_view command = commandColumn(line, columnCount);
        const std::size_t slash = command.find('/');
        if (slash == std::string_view::npos) {
            continue;
        }
        const std::string_view candidate = trimSpaces(command.substr(slash));
        if (seen.insert(candidate).second) {
            paths.emplace_back(candidate);
        }
    }
    return paths;
}

std::vector<std::string> bundleIDsForPaths(const std::vector<std::string>& paths,
                                           const std::vector<QLExtensionRecord>& records) {
    std::vector<std::string> bundleIDs;
    for (const QLExtensionRecord& record : records) {
        if (record.path && !record.path->empty() &&
            std::ranges::any_of(
                paths, [&](const std::string& path) { return path.contains(*record.path); })) {
            bundleIDs.push_back(record.bundleID);
        }
    }
    return bundleIDs;
}

bool waitForExit(ChildProcess& process, std::chrono::nanoseconds timeout,
                 std::chrono::nanoseconds pollInterval, const std::stop_token& stop) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (process.isRunning()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        sleepFor(pollInterval, stop);
    }
    return true;
}

void stopProcess(ChildProcess& process, std::chrono::nanoseconds timeout,
                 std::chrono::nanoseconds pollInterval, const std::stop_token& stop) {
    const std::pair<int, std::chrono::nanoseconds> steps[] = {
        {SIGTERM, timeout},
        {SIGINT, interruptTimeout},
        {SIGKILL, killTimeout},
    };
    for (const auto& [signal, wait] : steps) {
        if (!process.isRunning()) {
            return;
        }
        process.send(signal);
        if (waitForExit(process, wait, pollInterval, stop)) {
            return;
        }
    }
}

} // namespace peekmend::ActiveHandlerProbe
