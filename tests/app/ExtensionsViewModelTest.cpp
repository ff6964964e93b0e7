#include "app/model/ExtensionsViewModel.h"

#include "app/ModelSupport.h"
#include "app/model/RepairViewModel.h"

namespace peekmend::test {
namespace {

using enum QLRegistrationState;

const QLExtensionRecord a{"a", enabled, "1", "/Applications/a.appex"};
const QLExtensionRecord b{"b", unmarked, {}, {}};

class Extensions : public testing::Test {
protected:
    ExtensionsViewModel& model() { return *view.model; }

    World world;
    View<ExtensionsViewModel> view{world};
};

TEST_F(Extensions, AreShownAsTheInventoryHasThem) {
    EXPECT_FALSE(view.drawn.isLoading);
    const QLExtensionRecord again{"a", ignored, {}, "/elsewhere/a.appex"};
    for (const auto& records : {std::vector{b, a, again}, {a}, {}}) {
        const auto before = view.drawn.records;
        world.report = claimedBy(records);
        model().reload();
        EXPECT_TRUE(view.drawn.isLoading);
        EXPECT_EQ(view.drawn.records, before);
        world.settle();
        EXPECT_FALSE(view.drawn.isLoading);
        EXPECT_EQ(view.drawn.records, records);
        EXPECT_EQ(view.drawn.errorMessage, std::nullopt);
    }
    EXPECT_EQ(world.diagnosed, (Strings{"", "", ""}));
}

TEST_F(Extensions, AreEmptyWithAMessageWhenTheyCannotBeRead) {
    world.report = claimedBy({a});
    model().reload();
    world.settle();
    model().elect(a, "ignore");
    world.report = {};
    world.report.fetchError = "no tool";
    const std::string message = "Couldn't read the Quick Look extension inventory: no tool";
    model().reload();
    world.settle();
    EXPECT_TRUE(view.drawn.records.empty());
    EXPECT_FALSE(view.drawn.isLoading);
    EXPECT_EQ(view.drawn.errorMessage, message);

    world.report = claimedBy({b});
    model().reload();
    world.settle();
    EXPECT_EQ(view.drawn.records, std::vector{b});
    EXPECT_EQ(view.drawn.errorMessage, message) << "only the user clears it";
    EXPECT_EQ(view.drawn.pendingIgnore, a);
    model().dismissError();
    EXPECT_EQ(view.drawn.errorMessage, std::nullopt);
}

TEST_F(Extensions, ShowOfTwoReloadsTheLastToFinish) {
    model().reload();
    model().reload();
    world.report = claimedBy({a});
    world.run(1);
    EXPECT_EQ(view.drawn.records, std::vector{a});
    EXPECT_FALSE(view.drawn.isLoading);
    world.report = claimedBy({b});
    world.run(0);
    EXPECT_EQ(view.drawn.records, std::vector{b});
    EXPECT_FALSE(view.drawn.isLoading);
}

TEST_F(Extensions, OfferTheElectionsThatChangeSomething) {
    struct Case {
        QLRegistrationState state;
        bool use, byDefault, ignore;
    };

    for (const Case& row : {
             Case{enabled, false, true, true},
             Case{unmarked, true, false, true},
             Case{ignored, true, true, false},
         }) {
        const QLExtensionRecord record{"x", row.state, {}, {}};
        EXPECT_EQ(canElect(record, "use"), row.use);
        EXPECT_EQ(canElect(record, "default"), row.byDefault);
        EXPECT_EQ(canElect(record, "ignore"), row.ignore);
    }
}

TEST_F(Extensions, AskBeforeTheyIgnore) {
    const std::string known = "com.panic.Nova.NovaQuickLookPreview";
    const std::string note(extensionNote(known).value());

    struct Case {
        std::optional<std::string> bundleID;
        std::string title, message;
    };

    const std::string start = "Quick Look previews will no longer use ";
    const std::string end = " for any file type it supports.";
    for (const Case& row : {
             Case{{}, "Ignore ?", start + "this extension" + end},
             Case{"a", "Ignore a?", start + "a" + end},
             Case{known, "Ignore " + known + "?", start + known + end + "\n\n" + note},
         }) {
        if (row.bundleID) {
            model().elect({*row.bundleID, enabled, {}, {}}, "ignore");
        }
        EXPECT_EQ(ignoreTitle(view.drawn), row.title);
        EXPECT_EQ(ignoreMessage(view.drawn), row.message);
    }

    model().cancelIgnore();
    EXPECT_EQ(view.drawn.pendingIgnore, std::nullopt);
    model().confirmIgnore();
    EXPECT_TRUE(world.jobs.empty()) << "there is nothing to confirm";
    model().elect(a, "ignore");
    model().confirmIgnore();
    EXPECT_EQ(view.drawn.pendingIgnore, std::nullopt);
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"ignore a", "restart"}));
}

TEST_F(Extensions, ChangeOneAfterTheOtherFromTheStateThatWasDrawn) {
    world.report = claimedBy({{"b", ignored, {}, {}}});
    bool loadedTooEarly = false;
    model().onChange = [&] {
        view.drawn = model().state();
        loadedTooEarly |= view.drawn.isLoading && !canUndo(view.drawn);
    };
    model().changeState(b, "use");
    model().changeState(b, "ignore");
    EXPECT_FALSE(canUndo(view.drawn));
    ASSERT_EQ(world.jobs.size(), 1U);
    world.run(0);
    EXPECT_FALSE(loadedTooEarly);
    EXPECT_EQ(world.commands, (Strings{"use b", "restart"}));
    EXPECT_EQ(states(view.drawn.undoSnapshot), (States{{"b", unmarked}}));
    EXPECT_TRUE(view.drawn.isLoading);
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"use b", "restart", "ignore b", "restart"}));
    EXPECT_EQ(states(view.drawn.undoSnapshot), (States{{"b", unmarked}}));
    EXPECT_EQ(loadLastRepairSnapshot(*world.defaults), view.drawn.undoSnapshot);
    EXPECT_EQ(world.diagnosed, (Strings{"", ""}));

    model().undoLastRepair();
    world.settle();
    EXPECT_EQ(world.commands.at(4), "default b");
    EXPECT_FALSE(canUndo(view.drawn));
    EXPECT_EQ(world.diagnosed.size(), 3U);
}

TEST_F(Extensions, TellOfAFailureAndStayAsTheyAre) {
    model().changeState(b, "use");
    world.settle();
    world.diagnosed.clear();
    const auto snapshot = view.drawn.undoSnapshot;
    ASSERT_TRUE(snapshot);
    world.failing = {"ignore a", "default b"};
    model().changeState(a, "ignore");
    world.settle();
    EXPECT_EQ(view.drawn.errorMessage, "Couldn't update a: no\n");
    model().undoLastRepair();
    world.settle();
    EXPECT_EQ(view.drawn.errorMessage, "Couldn't undo repair: no\n");
    world.refusesJobs = true;
    model().changeState(a, "use");
    world.settle();
    EXPECT_EQ(view.drawn.errorMessage, "Couldn't update a: no thread");
    EXPECT_EQ(view.drawn.undoSnapshot, snapshot);
    EXPECT_EQ(loadLastRepairSnapshot(*world.defaults), snapshot);
    EXPECT_TRUE(world.diagnosed.empty());
}

TEST_F(Extensions, UndoWhatAnEarlierRunRepairedAsTheOtherViewDoes) {
    const QLRepairSnapshot stored{7, {{"a", ignored}}};
    storeRepairSnapshot(stored, *world.defaults);
    View<ExtensionsViewModel> extensions(world);
    View<RepairViewModel> diagnosis(world);
    EXPECT_EQ(extensions.drawn.undoSnapshot, stored);
    EXPECT_EQ(diagnosis.drawn.undoSnapshot, stored);
    EXPECT_FALSE(canUndo(view.drawn)) << "which was there before";
    diagnosis.model->undoLastRepair();
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"ignore a", "restart"}));
    EXPECT_FALSE(canUndo(diagnosis.drawn));
    EXPECT_TRUE(canUndo(extensions.drawn));
}

// Each view undoes its own repair, although the store remembers only the last one of all. An undo
// clears the store even when what it holds is another view's newer repair.
TEST_F(Extensions, UndoTheirOwnRepairAndClearTheStoreOfAnyOther) {
    View<RepairViewModel> diagnosis(world);
    model().changeState(a, "ignore");
    diagnosis.model->confirmPrefer(b);
    ASSERT_EQ(world.jobs.size(), 1U) << "no two repairs overlap, whichever views they come from";
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"ignore a", "restart", "use b", "restart"}));
    EXPECT_EQ(states(view.drawn.undoSnapshot), (States{{"a", enabled}}));
    EXPECT_EQ(loadLastRepairSnapshot(*world.defaults), diagnosis.drawn.undoSnapshot);
    world.commands.clear();
    model().undoLastRepair();
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"use a", "restart"}));
    EXPECT_TRUE(world.defaults->values.empty());
    EXPECT_EQ(states(diagnosis.drawn.undoSnapshot), (States{{"b", unmarked}}));
}

} // namespace
} // namespace peekmend::test
