#include "repair/RepairApplicator.h"

#include "platform/linux/StandardUserDefaults.h"
#include "support/Support.h"

#include <bit>
#include <cstdint>
#include <limits>

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
             std::string(R"({"createdAt":1,"states":{}})") + '\0',
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
}

class Repair : public testing::Test {
protected:
    /// Notes the commands.
    RepairApplicator applicator() {
        return RepairApplicator(
            [this](const std::string& path,
                   const Commands& arguments) -> std::expected<std::string, Error> {
                std::string command = path;
                for (const std::string& argument : arguments) {
                    command += " " + argument;
                }
                commands.push_back(command);
                return "";
            });
    }

    const ReplacedTools tools{{"P", "Q", "K", ""}};
    const Commands restart{"K quicklookd QuickLookUIService", "Q -r cache"};
    Commands commands;
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

TEST_F(Repair, UndoOfNothingRestartsAndClears) {
    storeRepairSnapshot({}, defaults);
    EXPECT_TRUE(applicator().undo({}, defaults));
    EXPECT_EQ(commands, restart);
    EXPECT_TRUE(defaults.values.empty());
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
    };
    for (const auto& [arguments, expected] : cases) {
        EXPECT_EQ(runTool(childProgram, arguments), expected) << arguments[0] << arguments[1];
    }
    EXPECT_EQ(runTool("/missing/tool", {}).error().domain, "posix");
}

} // namespace
} // namespace peekmend::test
