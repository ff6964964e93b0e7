#include "repair/RepairApplicator.h"

#include "platform/BackgroundPool.h"
#include "platform/ChildProcess.h"
#include "platform/SystemTools.h"
#include "platform/Text.h"

#include <chrono>
#include <unordered_set>
#include <utility>

namespace peekmend {

std::string_view electionFor(QLRegistrationState state) {
    switch (state) {
    case QLRegistrationState::enabled:
        return "use";
    case QLRegistrationState::ignored:
        return "ignore";
    case QLRegistrationState::unmarked:
        return "default";
    }
    std::unreachable();
}

std::expected<std::string, Error> runTool(const std::string& executablePath,
                                          const std::vector<std::string>& arguments) {
    auto output = makePipe();
    if (!output) {
        return std::unexpected(std::move(output.error()));
    }
    auto errors = makePipe();
    if (!errors) {
        return std::unexpected(std::move(errors.error()));
    }
    // Both streams are drained while the tool runs: one that complains at length must not stall.
    std::string errorBytes;
    TaskGroup errorReader;
    errorReader.enter();
    auto started = BackgroundPool::shared().submit([&] {
        errorBytes = readToEnd(errors->readEnd.get());
        errorReader.leave();
    });
    if (!started) {
        return std::unexpected(std::move(started.error()));
    }
    auto child = ChildProcess::launch({
        .executablePath = executablePath,
        .arguments = arguments,
        .standardOutput = output->writeEnd.get(),
        .standardError = errors->writeEnd.get(),
    });
    output->writeEnd.reset();
    errors->writeEnd.reset();
    const std::string outputBytes = readToEnd(output->readEnd.get());
    errorReader.wait();
    if (!child) {
        return std::unexpected(std::move(child.error()));
    }
    if (const int exitStatus = child->waitUntilExit(); exitStatus != 0) {
        return std::unexpected(
            toolError(repairToolErrorDomain, exitStatus, outputBytes, errorBytes));
    }
    return std::string(decodeUtf8(outputBytes));
}

std::expected<void, Error> RepairApplicator::setElection(std::string_view election,
                                                         const std::string& bundleID) const {
    auto output =
        m_runTool(SystemTools::current().pluginkit, {"-e", std::string(election), "-i", bundleID});
    if (!output) {
        return std::unexpected(std::move(output.error()));
    }
    return {};
}

void RepairApplicator::restartQuickLook() const {
    const SystemTools tools = SystemTools::current();
    // Neither process need be running, and the change has been made whatever becomes of these.
    (void)m_runTool(tools.killall, {"quicklookd", "QuickLookUIService"});
    (void)m_runTool(tools.qlmanage, {"-r", "cache"});
}

std::expected<QLRepairSnapshot, Error> RepairApplicator::prefer(
    const QLExtensionRecord& chosen, const std::vector<QLExtensionRecord>& peersToIgnore,
    const std::vector<QLExtensionRecord>& allRecords, UserDefaults& defaults) const {
    std::unordered_set<std::string_view> touched{chosen.bundleID};
    for (const QLExtensionRecord& peer : peersToIgnore) {
        touched.insert(peer.bundleID);
    }
    QLRepairSnapshot snapshot;
    for (const QLExtensionRecord& record : allRecords) {
        if (touched.contains(record.bundleID)) {
            snapshot.states.insert_or_assign(record.bundleID, record.state);
        }
    }
    snapshot.states.try_emplace(chosen.bundleID, chosen.state);
    for (const QLExtensionRecord& peer : peersToIgnore) {
        snapshot.states.try_emplace(peer.bundleID, peer.state);
    }
    snapshot.createdAt = secondsSinceReferenceDate(std::chrono::system_clock::now());

    for (const QLExtensionRecord& peer : peersToIgnore) {
        if (auto done = setElection("ignore", peer.bundleID); !done) {
            return std::unexpected(std::move(done.error()));
        }
    }
    if (auto done = setElection("use", chosen.bundleID); !done) {
        return std::unexpected(std::move(done.error()));
    }
    restartQuickLook();
    storeRepairSnapshot(snapshot, defaults);
    return snapshot;
}

std::expected<void, Error> RepairApplicator::undo(const QLRepairSnapshot& snapshot,
                                                  UserDefaults& defaults) const {
    for (const auto& [bundleID, state] : snapshot.states) {
        if (auto done = setElection(electionFor(state), bundleID); !done) {
            return done;
        }
    }
    restartQuickLook();
    clearRepairSnapshot(defaults);
    return {};
}

std::expected<QLRepairSnapshot, Error>
RepairApplicator::applySingleChange(const QLExtensionRecord& record, std::string_view election,
                                    UserDefaults& defaults) const {
    QLRepairSnapshot snapshot{
        secondsSinceReferenceDate(std::chrono::system_clock::now()),
        {{record.bundleID, record.state}},
    };
    if (auto done = setElection(election, record.bundleID); !done) {
        return std::unexpected(std::move(done.error()));
    }
    restartQuickLook();
    storeRepairSnapshot(snapshot, defaults);
    return snapshot;
}

} // namespace peekmend
