// Every step that runs a tool fails in every way; the whole outcome is compared with what must
// come of it.

#include "faults/Machine.h"
#include "platform/Text.h"

#include <algorithm>
#include <optional>

namespace peekmend::test {
namespace {

using enum QLRegistrationState;

/// What a tool does at one step instead of, before or after its work.
struct Fault {
    std::string commands;
    /// What the step is told to have failed with; none where it seems to succeed.
    std::optional<std::string> message;
    /// Whether the work is done nevertheless.
    bool works = false;
};

const std::string held = ": >\"$machine/held\"; "
                         "until [ -e \"$machine/release\" ] || [ ! -e \"$machine/step\" ]; "
                         "do sleep 0.01; done\n";
const std::string missing = "the tool is missing";
const std::string half = "\"$real\" \"$@\" | head -c 40\n";

const Fault faults[] = {
    {"echo no >&2; exit 3", "no\n"},
    {"echo out; exit 1", "out\n"},
    {"kill -KILL $$", ""},
    {"kill -SEGV $$", ""},
    {half + "kill -KILL $$", "", true},
    {"yes no | head -c 3000000 >&2; exit 1",
     [] {
         std::string flood;
         while (flood.size() < 3'000'000) {
             flood += "no\n";
         }
         return flood;
     }()},
    {"printf '\\377' >&2; exit 1", ""},
    {"exit 0", std::nullopt},
    {"head -c 3000000 /dev/urandom; yes | head -c 3000000 >&2", std::nullopt, true},
    {held, std::nullopt, true},
    {held + "kill -TERM $$", ""},
    {missing, "Couldn't start"},
};

/// One repair as the user starts it, on views that have been shown before.
struct Repair {
    bool isInList = false;
    std::string prefix;
    /// The elections that it sets, in order.
    std::vector<std::pair<std::string, std::string>> elections;
    /// The states that an undo restores afterwards.
    States undoStates;
    std::function<void(RepairViewModel& view, ExtensionsViewModel& list)> start;
};

const Repair repairs[] = {
    {false,
     "Couldn't apply repair: ",
     {{"ignore", "org.b.B"}, {"ignore", "org.c.C"}, {"use", "org.a.A"}},
     States{{"org.a.A", unmarked}, {"org.b.B", enabled}, {"org.c.C", ignored}},
     [](RepairViewModel& view, ExtensionsViewModel&) {
         view.select("org.a.A");
         view.confirmPrefer(selectedClaimant(view.state())->record);
     }},
    {true,
     "Couldn't update org.a.A: ",
     {{"ignore", "org.a.A"}},
     States{{"org.a.A", unmarked}},
     [](RepairViewModel&, ExtensionsViewModel& list) {
         list.elect(list.state().records.at(0), "ignore");
         list.confirmIgnore();
     }},
    {false,
     "Couldn't undo repair: ",
     {{"ignore", "org.a.A"}, {"default", "org.b.B"}, {"use", "org.c.C"}},
     {},
     [](RepairViewModel& view, ExtensionsViewModel&) { view.undoLastRepair(); }},
};

/// Sees to it that no descriptor, thread or child is left behind.
class Faults : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(Resources::atRest(), before); }

    const Resources before = Resources::atRest();
};

class RepairFaults : public Faults, public testing::WithParamInterface<std::size_t> {};

/// Carries out the repair with the fault at one of its steps: an election, or one of the two that
/// restart the previews.
void repairWithFault(const Repair& repair, std::size_t faulty, const Fault& fault) {
    Machine machine;
    const auto view = std::make_shared<RepairViewModel>(machine.services);
    const auto list = std::make_shared<ExtensionsViewModel>(machine.services);
    view->chooseFile(FileURL(machine.file));
    list->reload();
    ASSERT_TRUE(machine.settle());
    ASSERT_EQ(view->state().report->claimants.size(), 3U);
    machine.takeCommands();

    Strings steps;
    for (const auto& [election, bundleID] : repair.elections) {
        steps.push_back("pluginkit -e " + election + " -i " + bundleID);
    }
    steps.insert(steps.end(), {"killall quicklookd QuickLookUIService", "qlmanage -r cache"});
    const std::size_t electionCount = repair.elections.size();
    const bool fails = fault.message && faulty < electionCount;

    Elections expected = machine.elections;
    for (std::size_t step = 0; step < electionCount; ++step) {
        const auto& [election, bundleID] = repair.elections[step];
        if (step == faulty ? !fault.works : fails && step > faulty) {
            continue;
        }
        expected.erase(bundleID);
        if (election != "default") {
            expected[bundleID] = election == "use" ? Election::use : Election::ignore;
        }
    }

    std::string message = repair.prefix + fault.message.value_or("");
    if (fault.commands != missing) {
        machine.playFault(steps[faulty], fault.commands);
    } else {
        // Between two elections the first one's script takes the tool away.
        if (faulty > 0 && faulty < electionCount) {
            machine.playFault(steps[faulty - 1], "rm \"$0\"");
        } else {
            machine.removeTool(steps[faulty]);
        }
        steps.erase(steps.begin() + static_cast<std::ptrdiff_t>(faulty));
        message += " \"" + machine.tools.pluginkit + "\": No such file or directory.";
    }

    const RepairingViewState& state =
        repair.isInList ? static_cast<const RepairingViewState&>(list->state()) : view->state();
    repair.start(*view, *list);
    if (fault.commands.contains(held)) {
        // While the tool hangs nothing is claimed that is not so.
        ASSERT_TRUE(machine.waitUntilHeld());
        EXPECT_EQ(state.undoSnapshot, machine.earlier);
        EXPECT_EQ(state.errorMessage, std::nullopt);
        EXPECT_EQ(loadLastRepairSnapshot(machine.defaults), machine.earlier);
        machine.release();
    }
    ASSERT_TRUE(machine.settle());

    Strings commands = machine.takeCommands();
    if (fails) {
        steps.resize(fault.commands == missing ? faulty : faulty + 1);
    } else {
        // What has changed is read again.
        ASSERT_GT(commands.size(), steps.size());
        commands.resize(steps.size());
    }
    EXPECT_EQ(commands, steps);
    EXPECT_EQ(readExtensionRegistry()->elections, expected);
    EXPECT_EQ(state.errorMessage, fails ? std::optional(message) : std::nullopt);
    const auto stored = loadLastRepairSnapshot(machine.defaults);
    EXPECT_EQ(state.undoSnapshot, stored);
    EXPECT_EQ(states(stored), fails ? machine.earlier.states : repair.undoStates);
    EXPECT_FALSE(view->state().isDiagnosing || list->state().isLoading);
}

TEST_P(RepairFaults, StopARepairAtTheFailedElectionAndNowhereElse) {
    for (std::size_t step = 0; step < repairs[GetParam()].elections.size() + 2; ++step) {
        for (const Fault& fault : faults) {
            SCOPED_TRACE(std::to_string(step) + ": " + fault.commands);
            repairWithFault(repairs[GetParam()], step, fault);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, RepairFaults, testing::Range(std::size_t{0}, std::size(repairs)));

/// What a diagnosis has come to. Of a long message its beginning is enough.
std::string summary(const QLDiagnosisReport& report, std::size_t messageLength) {
    std::string text =
        report.fetchError ? "(" + report.fetchError->substr(0, messageLength) + ") " : "";
    text += std::to_string(report.records.size()) + " records, " +
            std::to_string(report.claimants.size()) + " claim";
    return report.activeHandler->invokedPreview
               ? text + ", serving: " + joined(report.activeHandler->bundleIDs, " ")
               : text + ", no preview";
}

TEST_F(Faults, LeaveEveryDiagnosisWithWhatCouldBeFoundOut) {
    const std::string list = "pluginkit -m";
    const std::string preview = "qlmanage -p";
    const std::string ps = "ps auxww";
    const std::string real = "\"$real\" \"$@\"";
    const std::string info = "\"$machine/Applications/C.appex/Contents/Info.plist\"";
    const std::string flood = "yes 'no record' | head -c 3000000; yes | head -c 3000000 >&2\n";
    const std::string whole = "3 records, 3 claim, serving: org.b.B";
    const std::string two = "3 records, 2 claim, serving: org.b.B";
    const std::string unseen = "3 records, 3 claim, serving: ";
    const std::string unlisted = "0 records, 0 claim, serving: ";

    struct Case {
        std::string step;
        std::string commands;
        std::string expected;
        /// How often the processes are listed.
        int listings = 1;
    };

    const Case cases[] = {
        {list, "echo no >&2; exit 3", "(no\n) " + unlisted},
        {list, real + "; exit 1", "(     org.a.A()) " + unlisted},
        {list, half + "kill -KILL $$", "(     org.a.A()) " + unlisted},
        {list, "kill -SEGV $$", "() " + unlisted},
        {list, missing, "(Couldn't start) " + unlisted},
        {list, "exit 0", unlisted},
        {list, "head -c 100000 /dev/urandom; exit 0", unlisted},
        {list, real + "; printf '\\377'; exit 0", unlisted},
        {list, flood, whole},
        {list, held, whole},
        // The end of the last path is missing.
        {list, real + " | head -c -5; exit 0", two},
        {list, real + "; echo '+ org.x(1)\t/nowhere'; echo '- org.y'; exit 0",
         "5 records, 3 claim, serving: org.b.B"},
        // What has been listed goes before it is read, or goes bad.
        {list, real + "; rm -r \"$machine/Applications/C.appex\"; exit 0", two},
        {list, real + "; rm " + info + "; mkfifo " + info + "; exit 0", two},
        {list, real + "; truncate -s 8M " + info + "; exit 0", two},
        {preview, "exit 3", unseen, 2},
        {preview, "kill -SEGV $$", unseen, 2},
        {preview, held, unseen, 2},
        {preview, "trap '' TERM INT\n" + held, unseen, 2},
        {preview, "head -c 100000000 /dev/zero; exec sleep 300", unseen, 2},
        {preview, missing, "3 records, 3 claim, no preview", 0},
        {preview, flood, whole},
        {preview, "rm \"$machine\"/a*.txt; exit 1", unseen, 2},
        {ps, "exit 1", unseen, 2},
        {ps, "kill -KILL $$", unseen, 2},
        {ps, missing, unseen, 0},
        {ps, real + "; printf '\\377'; exit 0", unseen, 2},
        {ps, "echo 'USER COMMAND'; echo 'me /A.appex/x'; exit 0", unseen},
        {ps, "[ -e \"$machine/once\" ] || { : >\"$machine/once\"; exit 0; }", whole, 2},
        {ps, real + "; kill -SEGV $$", whole},
        {ps, flood, whole},
        {ps, held, whole},
    };
    for (const auto& [step, commands, expected, listings] : cases) {
        SCOPED_TRACE(step + ": " + commands);
        Machine machine;
        const auto view = std::make_shared<RepairViewModel>(machine.services);
        if (commands == missing) {
            machine.removeTool(step);
        } else {
            machine.playFault(step, commands);
        }
        if (step == preview && expected == unseen) {
            machine.folder.write("dark", "");
        }
        view->chooseFile(FileURL(machine.file));
        if (commands == held && step != preview) {
            ASSERT_TRUE(machine.waitUntilHeld());
            EXPECT_TRUE(view->state().isDiagnosing);
            EXPECT_EQ(view->state().report, nullptr);
            machine.release();
        }
        ASSERT_TRUE(machine.settle());
        EXPECT_FALSE(view->state().isDiagnosing);
        EXPECT_EQ(view->state().errorMessage, std::nullopt);
        EXPECT_EQ(summary(*view->state().report, std::string_view("     org.a.A()").size()),
                  expected);
        EXPECT_EQ(std::ranges::count(machine.takeCommands(), ps), listings);
    }
}

} // namespace
} // namespace peekmend::test
