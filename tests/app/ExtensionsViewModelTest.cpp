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
    /// Finds these in the system.
    void reload(const std::vector<QLExtensionRecord>& records) {
        world.report = claimedBy(records);
        model().reload();
        world.settle();
    }

    ExtensionsViewModel& model() { return *view.model; }

    World world;
    View<ExtensionsViewModel> view{world};
};

TEST_F(Extensions, AreShownAsTheInventoryHasThem) {
    const QLExtensionRecord again{"a", ignored, {}, "/elsewhere/a.appex"};
    for (const auto& records : {std::vector{b, a, again}, {a}, {}}) {
        const auto before = view.drawn.records;
        EXPECT_FALSE(view.drawn.isLoading);
        world.report = claimedBy(records);
        model().reload();
        EXPECT_TRUE(view.drawn.isLoading);
        EXPECT_EQ(view.drawn.records, before);
        world.settle();
        EXPECT_FALSE(view.drawn.isLoading);
        EXPECT_EQ(view.drawn.records, records);
    }
    EXPECT_EQ(view.drawn.errorMessage, std::nullopt);
    EXPECT_EQ(world.diagnosed, (Strings{"", "", ""}));
}

TEST_F(Extensions, AreEmptyWithAMessageWhenTheyCannotBeRead) {
    reload({a});
    model().elect(a, "ignore");
    world.report = {};
    world.report.fetchError = "no tool";
    model().reload();
    world.settle();
    EXPECT_TRUE(view.drawn.records.empty());
    EXPECT_FALSE(view.drawn.isLoading);

    reload({b});
    EXPECT_EQ(view.drawn.records, std::vector{b});
    EXPECT_EQ(view.drawn.errorMessage, "Couldn't read the Quick Look extension inventory: no tool")
        << "only the user clears it";
    EXPECT_EQ(view.drawn.pendingIgnore, a);
    model().dismissError();
    EXPECT_EQ(view.drawn.errorMessage, std::nullopt);
}

TEST_F(Extensions, ShowOfTwoReloadsTheLastToFinish) {
    model().reload();
    model().reload();
    for (const auto& [job, record] : {std::pair(1U, a), {0U, b}}) {
        world.report = claimedBy({record});
        world.run(job);
        EXPECT_EQ(view.drawn.records, std::vector{record});
        EXPECT_FALSE(view.drawn.isLoading);
    }
}

TEST_F(Extensions, OfferTheElectionsThatChangeSomething) {
    const std::pair<QLRegistrationState, std::string_view> cases[] = {
        {enabled, "use"}, {unmarked, "default"}, {ignored, "ignore"}};
    for (const auto& [state, present] : cases) {
        for (const std::string_view election : {"use", "default", "ignore"}) {
            EXPECT_EQ(canElect({"x", state, {}, {}}, election), election != present)
                << textValue(state) << ' ' << election;
        }
    }
}

TEST_F(Extensions, AskBeforeTheyIgnore) {
    const std::string known = "com.panic.Nova.NovaQuickLookPreview";
    const std::string note(extensionNote(known).value());
    const std::string start = "Quick Look previews will no longer use ";
    const std::string end = " for any file type it supports.";
    EXPECT_EQ(ignoreTitle(view.drawn), "Ignore ?");
    EXPECT_EQ(ignoreMessage(view.drawn), start + "this extension" + end);
    for (const auto& [bundleID, more] :
         {std::pair(a.bundleID, std::string()), {known, "\n\n" + note}}) {
        model().elect({bundleID, enabled, {}, {}}, "ignore");
        EXPECT_EQ(ignoreTitle(view.drawn), "Ignore " + bundleID + "?");
        EXPECT_EQ(ignoreMessage(view.drawn), start + bundleID + end + more);
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
    ASSERT_EQ(world.jobs.size(), 1U);
    world.run(0);
    EXPECT_FALSE(loadedTooEarly);
    EXPECT_TRUE(view.drawn.isLoading);
    world.settle();
    EXPECT_EQ(world.commands, (Strings{"use b", "restart", "ignore b", "restart"}));
    EXPECT_EQ(states(view.drawn.undoSnapshot), (States{{"b", unmarked}}));
    EXPECT_EQ(loadLastRepairSnapshot(*world.defaults), view.drawn.undoSnapshot);

    model().undoLastRepair();
    world.settle();
    EXPECT_EQ(world.commands.at(4), "default b");
    EXPECT_FALSE(canUndo(view.drawn));
    EXPECT_EQ(world.diagnosed.size(), 3U) << "each change is followed by a reload";
}

// Each view undoes its own repair, although the store remembers only the last one of all. An undo
// clears the store even when what it holds is another view's newer repair.
TEST_F(Extensions, UndoTheirOwnRepairAndClearTheStoreOfAnyOther) {
    View<RepairViewModel> diagnosis(world);
    model().changeState(a, "ignore");
    diagnosis.model->confirmPrefer(b);
    ASSERT_EQ(world.jobs.size(), 1U) << "no two repairs overlap, whichever views they come from";
    world.settle();
    EXPECT_EQ(loadLastRepairSnapshot(*world.defaults), diagnosis.drawn.undoSnapshot);
    model().undoLastRepair();
    world.settle();
    EXPECT_EQ(world.commands,
              (Strings{"ignore a", "restart", "use b", "restart", "use a", "restart"}));
    EXPECT_TRUE(world.defaults->values.empty());
    EXPECT_EQ(states(diagnosis.drawn.undoSnapshot), (States{{"b", unmarked}}));
}

} // namespace
} // namespace peekmend::test
