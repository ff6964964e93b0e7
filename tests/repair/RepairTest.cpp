#include "repair/RepairApplicator.h"

#include "platform/ChildProcess.h"
#include "platform/linux/StandardUserDefaults.h"
#include "support/Support.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <thread>

namespace peekmend::test {
namespace {

using enum QLRegistrationState;
using Commands = std::vector<std::string>;

TEST(Snapshot, RoundTripsToTheLastBit) {
    for (const double time : {0.0, -0.0, 1.0, 0.1, 786'240'000.123456789, -1e300, 5e-324,
                              std::numeric_limits<double>::max()}) {
        const QLRepairSnapshot snapshot{time,
                                        {{"a/b \"ü\"", enabled}, {"c", ignored}, {"", unmarked}}};
        const auto document = encodeRepairSnapshot(snapshot);
        ASSERT_TRUE(document);
        const auto decoded = decodeRepairSnapshot(*document);
        ASSERT_TRUE(decoded) << *document;
        EXPECT_EQ(*decoded, snapshot);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(decoded->createdAt),
                  std::bit_cast<std::uint64_t>(time));
    }
    EXPECT_EQ(encodeRepairSnapshot({0.5, {{"a.b", ignored}}}),
              R"({"createdAt":0.5,"states":{"a.b":"ignored"}})");
    EXPECT_EQ(secondsSinceReferenceDate(std::chrono::system_clock::from_time_t(978'307'200)), 0);
}

TEST(Snapshot, RefusesToEncodeWhatNoReaderCouldRead) {
    MapUserDefaults defaults;
    storeRepairSnapshot({std::numeric_limits<double>::quiet_NaN(), {}}, defaults);
    storeRepairSnapshot({std::numeric_limits<double>::infinity(), {}}, defaults);
    storeRepairSnapshot({0, {{"bad \xFF", enabled}}}, defaults);
    EXPECT_TRUE(defaults.values.empty());
}

TEST(Snapshot, ReadsEveryGoodFormAndNoOther) {
    const QLRepairSnapshot snapshot{1, {{"a/b", enabled}}};
    for (const char* const good : {
             R"({"createdAt":1,"states":{"a/b":"enabled"}})",
             R"({"states":{"a\/b":"\u0065nabled"},"createdAt":1.0})",
             R"( { "other": [null, {}], "createdAt": 10e-1, "states": { "a/b": "enabled" } } )",
         }) {
        EXPECT_EQ(decodeRepairSnapshot(good), snapshot) << good;
    }
    EXPECT_EQ(decodeRepairSnapshot(R"({"createdAt":0,"states":{}})"), QLRepairSnapshot());
    for (const std::string& bad : {
             std::string(),
             std::string("null"),
             std::string(R"([{"createdAt":1,"states":{}}])"),
             std::string(R"({"createdAt":1})"),
             std::string(R"({"states":{}})"),
             std::string(R"({"createdAt":"2026-01-01","states":{}})"),
             std::string(R"({"createdAt":true,"states":{}})"),
             std::string(R"({"createdAt":null,"states":{}})"),
             std::string(R"({"createdAt":1e999,"states":{}})"),
             std::string(R"({"createdAt":1,"states":[]})"),
             std::string(R"({"createdAt":1,"states":{"a":"enabled","b":"Ignored"}})"),
             std::string(R"({"createdAt":1,"states":{"a":1}})"),
             std::string(R"({"createdAt":1,"states":{}} x)"),
             std::string(R"({"createdAt":1,"states":{})"),
             std::string("{\"createdAt\":1,\"states\":{\"\xFF\":\"enabled\"}}"),
             std::string(300'000, '['),
         }) {
        EXPECT_EQ(decodeRepairSnapshot(bad), std::nullopt) << bad.substr(0, 80);
    }
}

TEST(StandardDefaults, KeepDataAndTellItFromAnythingElse) {
    const TemporaryFolder folder;
    const std::string defaults = folder / "new/folder";
    const std::string bytes("\0\xFF\n", 3);
    StandardUserDefaults(defaults).setDataForKey("a.b", "earlier");
    StandardUserDefaults(defaults).setDataForKey("a.b", bytes);
    StandardUserDefaults(defaults).setDataForKey("c", "");
    EXPECT_EQ(StandardUserDefaults(defaults).dataForKey("a.b"), bytes);
    EXPECT_EQ(StandardUserDefaults(defaults).dataForKey("c"), "");
    StandardUserDefaults(defaults).removeObjectForKey("a.b");
    StandardUserDefaults(defaults).removeObjectForKey("never there");
    EXPECT_EQ(StandardUserDefaults(defaults).dataForKey("a.b"), std::nullopt);

    const std::string key = lastRepairSnapshotKey;
    EXPECT_EQ(key, "org.peekmend.Peekmend.lastRepairSnapshot");
    const std::string unreadable = folder.write("new/folder/" + key, "{}");
    EXPECT_EQ(loadLastRepairSnapshot(StandardUserDefaults(defaults)), std::nullopt);
    EXPECT_EQ(readFile(unreadable), "{}") << "what cannot be read is left alone";
    std::filesystem::remove(unreadable);
    std::filesystem::create_directories(unreadable + "/inside");
    StandardUserDefaults store(defaults);
    storeRepairSnapshot({}, store);
    clearRepairSnapshot(store);
    EXPECT_EQ(loadLastRepairSnapshot(store), std::nullopt);
    EXPECT_TRUE(std::filesystem::exists(unreadable + "/inside"));
}

TEST(StandardDefaults, SurviveAKillAtAnyMoment) {
    const TemporaryFolder folder;
    StandardUserDefaults defaults(folder / "defaults");
    std::mt19937 random(std::random_device{}());
    for (int kill = 0; kill < 50; ++kill) {
        clearRepairSnapshot(defaults);
        auto writer =
            ChildProcess::launch({PEEKMEND_TEST_RESTART, {"store", folder / "defaults"}, {}, {}});
        ASSERT_TRUE(writer);
        ASSERT_TRUE(eventually([&] { return loadLastRepairSnapshot(defaults).has_value(); }));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        writer->send(SIGKILL);
        EXPECT_EQ(writer->waitUntilExit(), SIGKILL);
        const auto snapshot = loadLastRepairSnapshot(defaults);
        ASSERT_TRUE(snapshot);
        EXPECT_EQ(snapshot->states.size(), static_cast<std::size_t>(snapshot->createdAt));
    }
}

class Repair : public testing::Test {
protected:
    /// Replays the commands; the one with number `failAt` fails.
    RepairApplicator applicator() {
        return RepairApplicator(
            [this](const std::string& path,
                   const Commands& arguments) -> std::expected<std::string, Error> {
                std::string command = path;
                for (const std::string& argument : arguments) {
                    command += " " + argument;
                }
                commands.push_back(command);
                if (commands.size() == failAt) {
                    return std::unexpected(failure);
                }
                return "";
            });
    }

    const ReplacedTools tools{{"P", "Q", "K", ""}};
    const Error failure{"RepairApplicator", 1, "no\n"};
    const Commands restart{"K quicklookd QuickLookUIService", "Q -r cache"};
    Commands commands;
    std::size_t failAt = 0;
    MapUserDefaults defaults;
    const std::vector<QLExtensionRecord> peers{
        {"b", enabled, {}, {}}, {"c", ignored, {}, {}}, {"d", unmarked, {}, {}}};
    const QLExtensionRecord chosen{"a", unmarked, {}, {}};
};

TEST_F(Repair, PreferIgnoresThePeersThenUsesTheChosenThenStores) {
    const std::vector<QLExtensionRecord> all{
        {"b", unmarked, {}, "/1"}, {"x", enabled, {}, {}}, {"b", ignored, {}, "/2"}};
    const double before = secondsSinceReferenceDate(std::chrono::system_clock::now());
    const auto snapshot = applicator().prefer(chosen, peers, all, defaults);
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(commands, (Commands{"P -e ignore -i b", "P -e ignore -i c", "P -e ignore -i d",
                                  "P -e use -i a", restart[0], restart[1]}));
    EXPECT_EQ(snapshot->states,
              (std::map<std::string, QLRegistrationState>{
                  {"a", unmarked}, {"b", ignored}, {"c", ignored}, {"d", unmarked}}));
    EXPECT_GE(snapshot->createdAt, before);
    EXPECT_EQ(loadLastRepairSnapshot(defaults), *snapshot);
}

TEST_F(Repair, PreferStopsAtTheFirstFailureAndStoresNothing) {
    const QLRepairSnapshot earlier{1, {{"z", enabled}}};
    storeRepairSnapshot(earlier, defaults);
    const Commands all{"P -e ignore -i b", "P -e ignore -i c", "P -e ignore -i d",
                       "P -e use -i a",    restart[0],         restart[1]};
    for (failAt = 1; failAt <= all.size(); ++failAt) {
        commands.clear();
        storeRepairSnapshot(earlier, defaults);
        const auto snapshot = applicator().prefer(chosen, peers, {}, defaults);
        if (failAt <= 4) {
            ASSERT_FALSE(snapshot);
            EXPECT_EQ(snapshot.error(), failure);
            EXPECT_EQ(commands, Commands(all.begin(), all.begin() + static_cast<long>(failAt)));
            EXPECT_EQ(loadLastRepairSnapshot(defaults), earlier);
        } else { // a failed restart is nobody's concern
            ASSERT_TRUE(snapshot);
            EXPECT_EQ(commands, all);
            EXPECT_EQ(loadLastRepairSnapshot(defaults), *snapshot);
        }
    }
}

TEST_F(Repair, UndoRestoresEveryStateAndClearsOnlyWhenAllSucceeded) {
    const QLRepairSnapshot snapshot{1, {{"a", enabled}, {"b", ignored}, {"c", unmarked}}};
    const Commands all{"P -e use -i a", "P -e ignore -i b", "P -e default -i c", restart[0],
                       restart[1]};
    for (failAt = 0; failAt <= all.size(); ++failAt) {
        commands.clear();
        storeRepairSnapshot(snapshot, defaults);
        const auto done = applicator().undo(snapshot, defaults);
        if (failAt >= 1 && failAt <= 3) {
            ASSERT_FALSE(done);
            EXPECT_EQ(done.error(), failure);
            EXPECT_EQ(commands, Commands(all.begin(), all.begin() + static_cast<long>(failAt)));
            EXPECT_EQ(loadLastRepairSnapshot(defaults), snapshot);
        } else {
            EXPECT_TRUE(done);
            EXPECT_EQ(commands, all);
            EXPECT_TRUE(defaults.values.empty());
        }
    }
    commands.clear();
    failAt = 0;
    storeRepairSnapshot({}, defaults);
    EXPECT_TRUE(applicator().undo({}, defaults));
    EXPECT_EQ(commands, restart);
    EXPECT_TRUE(defaults.values.empty());
}

TEST_F(Repair, SingleChangeRecordsTheStateBefore) {
    const auto snapshot = applicator().applySingleChange(peers[1], "default", defaults);
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(commands, (Commands{"P -e default -i c", restart[0], restart[1]}));
    EXPECT_EQ(snapshot->states, (std::map<std::string, QLRegistrationState>{{"c", ignored}}));
    EXPECT_EQ(loadLastRepairSnapshot(defaults), *snapshot);
    commands.clear();
    failAt = 1;
    const auto failed = applicator().applySingleChange(chosen, "use", defaults);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error(), failure);
    EXPECT_EQ(commands, Commands{"P -e use -i a"});
    EXPECT_EQ(loadLastRepairSnapshot(defaults), *snapshot);
}

TEST(RunTool, ReturnsOutputOrTheToolsOwnError) {
    const auto failed = [](int code, std::string message) {
        return std::expected<std::string, Error>(
            std::unexpected(Error{"RepairApplicator", code, std::move(message)}));
    };
    using Result = std::expected<std::string, Error>;
    const std::pair<Commands, Result> cases[] = {
        {{"exit", "0", " out\n", "err"}, " out\n"},
        {{"exit", "0", "\xFF"}, ""},
        {{"exit", "3", "out", "err\n"}, failed(3, "err\n")},
        {{"exit", "4", "out\n"}, failed(4, "out\n")},
        {{"exit", "4", "out", "\xFF"}, failed(4, "out")},
        {{"exit", "1"}, failed(1, "")},
        {{"die", "9"}, failed(9, "")},
        {{"flood", "1000000"}, std::string(1'000'000, 'x')},
    };
    for (const auto& [arguments, expected] : cases) {
        EXPECT_EQ(runTool(childProgram, arguments), expected) << arguments[0] << arguments[1];
    }
    EXPECT_EQ(runTool("/missing/tool", {}).error().domain, "posix");
}

} // namespace
} // namespace peekmend::test
