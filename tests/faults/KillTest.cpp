// The program is killed at any moment, and started again.

#include "faults/Machine.h"
#include "platform/ChildProcess.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <set>
#include <thread>

namespace peekmend::test {
namespace {

/// How often the program is killed; the environment may ask for more.
int rounds() {
    const char* const asked = std::getenv("PEEKMEND_KILLS");
    return asked != nullptr ? std::max(std::atoi(asked), 4) : 20;
}

class Kill : public testing::Test {
protected:
    // Tools that outlive the program become children of this one, and can be waited for.
    void SetUp() override { ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0); }

    void TearDown() override { ::prctl(PR_SET_CHILD_SUBREAPER, 0); }

    /// Starts the program on the machine's real tools.
    [[nodiscard]] ChildProcess start(const std::string& role, const std::string& argument) const {
        return ChildProcess::launch({PEEKMEND_TEST_PROGRAM,
                                     {role, PEEKMEND_PLUGINKIT, PEEKMEND_QLMANAGE,
                                      machine.folder / "real/killall", argument},
                                     {},
                                     {}})
            .value();
    }

    /// Waits for all that the killed programs have left.
    [[nodiscard]] static bool childrenEnd() {
        return eventually([] { return ::waitpid(-1, nullptr, WNOHANG) == -1; });
    }

    void waitForUpTo(std::chrono::microseconds longest) {
        std::this_thread::sleep_for(longest * random() / std::mt19937::max());
    }

    Machine machine;
    const unsigned seed = std::random_device{}();
    std::mt19937 random{seed};
    const testing::ScopedTrace trace{__FILE__, __LINE__, "seed " + std::to_string(seed)};
};

TEST_F(Kill, LeavesTwoInstancesRepairsWhole) {
    const std::string registryFile = machine.dataFolder + "/registry.json";
    clearRepairSnapshot(machine.defaults);
    std::set<std::size_t> sizes;
    for (int kill = 0; kill < rounds(); ++kill) {
        ChildProcess first = start("repair", "1000000");
        ChildProcess second = start("repair", "1000000");
        // Both are at work once something has changed: first an election, later a snapshot.
        const auto before = std::filesystem::last_write_time(registryFile);
        ASSERT_TRUE(eventually([&] {
            return kill % 2 == 0 ? std::filesystem::last_write_time(registryFile) != before
                                 : loadLastRepairSnapshot(machine.defaults).has_value();
        }));
        waitForUpTo(std::chrono::milliseconds(20));
        first.send(SIGKILL);
        waitForUpTo(std::chrono::milliseconds(5));
        second.send(SIGKILL);
        ASSERT_EQ(first.waitUntilExit(), SIGKILL);
        ASSERT_EQ(second.waitUntilExit(), SIGKILL);

        const auto snapshot = loadLastRepairSnapshot(machine.defaults);
        EXPECT_EQ(snapshot.has_value(),
                  machine.defaults.dataForKey(lastRepairSnapshotKey).has_value());
        sizes.insert(states(snapshot).size());
        EXPECT_TRUE(childrenEnd());
        const auto registry = readExtensionRegistry();
        ASSERT_TRUE(registry) << testing::PrintToString(registry.error());
        for (const auto& [bundleID, election] : registry->elections) {
            EXPECT_TRUE(machine.paths.contains(bundleID)) << bundleID;
        }
        if (snapshot) {
            ASSERT_EQ(start("undo", "").waitUntilExit(), 0);
            EXPECT_EQ(loadLastRepairSnapshot(machine.defaults), std::nullopt);
            const Elections elections = readExtensionRegistry()->elections;
            for (const auto& [bundleID, state] : snapshot->states) {
                const auto election = elections.find(bundleID);
                EXPECT_EQ(election == elections.end()         ? "default"
                          : election->second == Election::use ? "use"
                                                              : "ignore",
                          electionFor(state));
            }
        }
    }
    // Of a single change, or of a preference among three.
    sizes.erase(0);
    EXPECT_TRUE(std::ranges::includes(std::set<std::size_t>{1, 3}, sizes));
    EXPECT_FALSE(sizes.empty()) << "no kill found a snapshot";
}

TEST_F(Kill, TakesThePreviewAway) {
    for (int kill = 0; kill < rounds() / 4; ++kill) {
        ChildProcess program = start("diagnose", machine.file);
        ASSERT_TRUE(eventually([&] { return std::filesystem::remove(machine.folder / "shown"); }));
        waitForUpTo(std::chrono::milliseconds(100));
        program.send(SIGKILL);
        EXPECT_EQ(program.waitUntilExit(), SIGKILL);
        EXPECT_TRUE(childrenEnd());
    }
}

} // namespace
} // namespace peekmend::test
