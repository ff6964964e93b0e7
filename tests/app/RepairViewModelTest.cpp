#include "app/model/RepairViewModel.h"

#include "app/ModelSupport.h"
#include "app/model/ExtensionsViewModel.h"
#include "diagnosis/DiagnosticReportWriter.h"

#include <tuple>

namespace peekmend::test {
namespace {

using namespace std::chrono_literals;
using enum QLRegistrationState;

const QLExtensionRecord a{"a", enabled, {}, {}};
const QLExtensionRecord b{"b", ignored, {}, {}};
const QLExtensionRecord c{"c", unmarked, {}, {}};

class DiagnoseView : public testing::Test {
protected:
    /// Brings the view to show a report in which these claim the file "/f".
    void show(const std::vector<QLExtensionRecord>& claimants) {
        world.report = claimedBy(claimants);
        model().chooseFile(FileURL("/f"));
        world.settle();
        world.diagnosed.clear();
    }

    /// Leaves the view with a repair that can be undone.
    void prefer(const QLExtensionRecord& chosen) {
        model().select(chosen.bundleID);
        model().confirmPrefer(chosen);
        world.settle();
        world.commands.clear();
        world.diagnosed.clear();
    }

    RepairViewModel& model() { return *view.model; }

    World world;
    View<RepairViewModel> view{world};
};

TEST_F(DiagnoseView, KeepsTheOldReportUntilTheNextFileIsDiagnosed) {
    show({a});
    model().select("a");
    world.failing = {"use a"};
    model().confirmPrefer(a);
    world.settle();
    EXPECT_EQ(view.drawn.errorMessage, "Couldn't apply repair: no\n");
    EXPECT_EQ(view.drawn.selectedClaimantID, "a");

    const auto oldReport = view.drawn.report;
    world.report = claimedBy({b});
    model().chooseFile(FileURL("/g"));
    EXPECT_EQ(view.drawn.fileURL, FileURL("/g"));
    EXPECT_EQ(view.drawn.selectedClaimantID, std::nullopt);
    EXPECT_EQ(view.drawn.errorMessage, std::nullopt);
    EXPECT_EQ(view.drawn.report, oldReport);
    world.settle();
    EXPECT_EQ(world.diagnosed, Strings{"/g"});
    EXPECT_EQ(view.drawn.report->claimants, world.report.claimants);
}

TEST_F(DiagnoseView, TakesTheFirstDroppedItemLater) {
    using Item = std::optional<FileURL>;
    const Item first("/1");
    const Item second("/2");
    const std::pair<std::vector<Item>, Item> cases[] = {
        {{}, {}}, {{first, second}, first}, {{std::nullopt, second}, {}}};
    for (const auto& [items, taken] : cases) {
        View<RepairViewModel> fresh(world);
        EXPECT_EQ(fresh.model->handleDrop(items), !items.empty());
        EXPECT_EQ(fresh.model->state().fileURL, std::nullopt) << "the drop has still to end";
        world.diagnosed.clear();
        world.settle();
        EXPECT_EQ(fresh.drawn.fileURL, taken);
        EXPECT_EQ(world.diagnosed, taken ? Strings{taken->path()} : Strings{});
    }
}

TEST_F(DiagnoseView, ShowsOfTwoDiagnosesTheLastToFinish) {
    show({a});
    model().chooseFile(FileURL("/first"));
    model().chooseFile(FileURL("/second"));
    for (const auto& [job, record] : {std::pair(1U, b), {0U, c}}) {
        world.report = claimedBy({record});
        world.run(job);
        EXPECT_EQ(view.drawn.report->claimants.at(0).record, record);
        EXPECT_FALSE(view.drawn.isDiagnosing);
        EXPECT_EQ(world.services().diagnoses->isIdle(), job == 0);
    }
    EXPECT_EQ(view.drawn.fileURL, FileURL("/second"));
}

TEST_F(DiagnoseView, KeepsTheSelectionAcrossRefreshes) {
    model().refresh();
    EXPECT_TRUE(world.jobs.empty()) << "there is no file";
    show({a, b});
    model().select("a");
    for (const bool isListed : {true, false, true}) {
        world.report = isListed ? claimedBy({b, a}) : claimedBy({b});
        model().refresh();
        world.settle();
        EXPECT_EQ(view.drawn.selectedClaimantID, "a");
        EXPECT_EQ(canPrefer(view.drawn), isListed);
    }
    EXPECT_EQ(world.diagnosed, (Strings{"/f", "/f", "/f"}));
}

TEST_F(DiagnoseView, FindsTheSelectedClaimantAndItsPeers) {
    using Records = std::vector<QLExtensionRecord>;
    const QLExtensionRecord again{"a", ignored, "2", "/other"};
    EXPECT_EQ(selectedClaimant(view.drawn), nullptr);
    show({a, b, again, c});
    const QLClaimant* const claimants = view.drawn.report->claimants.data();
    const std::tuple<std::optional<std::string>, const QLClaimant*, Records> cases[] = {
        {std::nullopt, nullptr, {}},
        {"gone", nullptr, {}},
        {"b", claimants + 1, {a, again, c}},
        {"a", claimants, {b, c}},
    };
    for (const auto& [selected, claimant, peers] : cases) {
        model().select(selected);
        EXPECT_EQ(selectedClaimant(view.drawn), claimant);
        EXPECT_EQ(peersToIgnore(view.drawn), peers);
    }
}

TEST_F(DiagnoseView, ConfirmsWhatTheSheetWasBuiltWithAndThePeersOfTheClick) {
    show({a, b, c});
    model().select("a");
    model().openPreferSheet();
    world.report = claimedBy({c});
    model().chooseFile(FileURL("/g"));
    world.settle();
    EXPECT_TRUE(view.drawn.showPreferSheet);
    EXPECT_EQ(selectedClaimant(view.drawn), nullptr);
    model().confirmPrefer(a);
    EXPECT_FALSE(view.drawn.showPreferSheet);
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"use a", "restart"}));
    EXPECT_EQ(states(view.drawn.undoSnapshot), (States{{"a", enabled}}));

    model().openPreferSheet();
    model().cancelPrefer();
    EXPECT_FALSE(view.drawn.showPreferSheet);
}

TEST_F(DiagnoseView, PrefersWhatWasReportedAtTheClick) {
    show({a, b, c});
    model().select("c");
    View<ExtensionsViewModel> other(world);
    other.model->changeState({"x", enabled, {}, {}}, "ignore");
    model().confirmPrefer(c);
    world.report = claimedBy({{"a", unmarked, {}, {}}});
    model().refresh();
    model().select(std::nullopt);
    ASSERT_EQ(world.jobs.size(), 2U) << "the change and the diagnosis";
    world.run(1);
    world.settle();
    EXPECT_EQ(world.commands,
              (Strings{"ignore x", "restart", "ignore a", "ignore b", "use c", "restart"}));
    EXPECT_EQ(states(view.drawn.undoSnapshot),
              (States{{"a", enabled}, {"b", ignored}, {"c", unmarked}}));
}

TEST_F(DiagnoseView, OffersWhatAnEarlierRunRepaired) {
    const QLRepairSnapshot stored{7, {{"a", ignored}}};
    storeRepairSnapshot(stored, *world.defaults);
    EXPECT_EQ(View<RepairViewModel>(world).drawn.undoSnapshot, stored);
    EXPECT_EQ(View<ExtensionsViewModel>(world).drawn.undoSnapshot, stored);
    EXPECT_FALSE(canUndo(view.drawn)) << "which was there before";
}

TEST_F(DiagnoseView, UndoesAtItsTurnWhatTheLastRepairThenIs) {
    show({b, c});
    model().undoLastRepair();
    EXPECT_TRUE(world.jobs.empty()) << "there is nothing to undo";
    prefer(b);
    model().select("c");
    model().confirmPrefer(c);
    model().undoLastRepair();
    model().undoLastRepair();
    world.settle();
    EXPECT_EQ(world.commands,
              (Strings{"ignore b", "use c", "restart", "ignore b", "default c", "restart"}))
        << "the repair that was under way, and that once";
    EXPECT_EQ(world.diagnosed, (Strings{"/f", "/f"}));
    EXPECT_EQ(view.drawn.errorMessage, std::nullopt);
}

TEST_F(DiagnoseView, CopiesTheReportAndNeverStretchesTheFeedback) {
    model().copyReport();
    EXPECT_TRUE(world.copied.empty()) << "there is no report";
    show({a});
    const std::string text = DiagnosticReportWriter::reportText(*view.drawn.report);
    model().copyReport();
    world.queue->advance(1000ms);
    model().copyReport();
    EXPECT_EQ(world.copied, (Strings{text, text}));
    world.queue->advance(499ms);
    EXPECT_TRUE(view.drawn.copiedFeedback);
    world.queue->advance(1ms);
    EXPECT_FALSE(view.drawn.copiedFeedback) << "the first copy's time is over";
}

TEST_F(DiagnoseView, OpensTheSettingsByTheFirstWayThatWorks) {
    const Strings ways = {"x-apple.systempreferences:com.apple.ExtensionsPreferences",
                          "x-apple.systempreferences:com.apple.preference.extensions",
                          "System Settings", "System Preferences"};
    Strings tried;
    for (const std::string& working : ways) {
        world.opened.clear();
        world.openable = working;
        model().openExtensionSettings();
        tried.push_back(working);
        EXPECT_EQ(world.opened, tried);
    }
    world.openable = "";
    model().openExtensionSettings();
    EXPECT_EQ(view.drawn.errorMessage, std::nullopt);
}

TEST_F(DiagnoseView, IsNeverStuckWhenNoThreadIsToBeHad) {
    world.refusesJobs = true;
    model().chooseFile(FileURL("/f"));
    world.settle();
    EXPECT_FALSE(view.drawn.isDiagnosing);
    ASSERT_TRUE(view.drawn.report);
    EXPECT_EQ(view.drawn.report->fileURL, FileURL("/f"));
    EXPECT_EQ(view.drawn.report->fetchError, "no thread");
    EXPECT_NE(view.drawn.report->verdict, "");
    model().confirmPrefer(a);
    world.settle();
    EXPECT_EQ(view.drawn.errorMessage, "Couldn't apply repair: no thread");
    world.refusesJobs = false;
    prefer(a);
    EXPECT_TRUE(canUndo(view.drawn)) << "the queue goes on after a refusal";
}

TEST_F(DiagnoseView, IsDoneWithOnceItIsClosed) {
    for (const bool isHeldByARepair : {true, false}) {
        View<RepairViewModel> closing(world);
        const auto held = isHeldByARepair ? closing.model : nullptr;
        const std::weak_ptr<RepairViewModel> weak = closing.model;
        world.report = claimedBy({a});
        closing.model->chooseFile(FileURL("/f"));
        world.settle();
        closing.model->copyReport();
        closing.model->refresh();
        EXPECT_TRUE(closing.model->handleDrop({FileURL("/g")}));
        world.report = claimedBy({b});
        world.diagnosed.clear();
        std::size_t timesIdle = 0;
        world.services().diagnoses->onIdle = [&] { ++timesIdle; };
        closing.close();
        EXPECT_EQ(weak.expired(), !isHeldByARepair);
        world.settle();
        world.queue->advance(2000ms);
        EXPECT_EQ(world.diagnosed, Strings{"/f"}) << "only what was under way";
        EXPECT_TRUE(world.lastStop.stop_requested());
        ASSERT_TRUE(closing.drawn.report);
        EXPECT_EQ(closing.drawn.report->claimants.at(0).record, a);
        EXPECT_EQ(timesIdle, 1U);
        world.services().diagnoses->onIdle = nullptr;
    }
}

TEST_F(DiagnoseView, CarriesAConfirmedRepairOutAlthoughItIsClosed) {
    std::size_t timesIdle = 0;
    world.services().repairs->onIdle = [&] { ++timesIdle; };
    show({a, b});
    model().select("a");
    View<ExtensionsViewModel> extensions(world);
    world.failing = {"default c"};
    model().confirmPrefer(a);
    extensions.model->changeState(c, "default");
    view.close();
    extensions.close();
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"ignore b", "use a", "restart", "default c"}));
    EXPECT_EQ(states(loadLastRepairSnapshot(*world.defaults)),
              (States{{"a", enabled}, {"b", ignored}}));
    EXPECT_EQ(world.toldWithoutWindow, Strings{"Couldn't update c: no\n"});
    EXPECT_TRUE(world.diagnosed.empty());
    EXPECT_EQ(timesIdle, 1U) << "when both are done";
}

} // namespace
} // namespace peekmend::test
