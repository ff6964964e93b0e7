#include "inventory/PlugInKitInventory.h"
#include "support/Support.h"

namespace peekmend::test {
namespace {

using enum QLRegistrationState;

TEST(Listing, ReadsOneLine) {
    using Record = std::optional<QLExtensionRecord>;
    const auto record = [](std::string id, QLRegistrationState state,
                           std::optional<std::string> version = {},
                           std::optional<std::string> path = {}) {
        return Record({std::move(id), state, std::move(version), std::move(path)});
    };
    const std::pair<std::string_view, Record> cases[] = {
        {"+    com.acme.Text(1.0)\tuuid\t2026-01-01\t/A/T.appex",
         record("com.acme.Text", enabled, "1.0", "/A/T.appex")},
        {"com.acme.Text(1.0)\t\t\t/A/T.appex",
         record("com.acme.Text", unmarked, "1.0", "/A/T.appex")},
        {"\u3000\u00A0-\u2003com.acme.Text()", record("com.acme.Text", ignored, "")},
        {"+ com.acme.Text", record("com.acme.Text", enabled)},
        {"+com.acme.Text(1.0)\tContents/T.appex", record("com.acme.Text", enabled, "1.0")},
        {"+ com.acme.Text(1)\t /A/ \t", record("com.acme.Text", enabled, "1", "/A/")},
        {"+ com.acme.Text(1)\t/A\t \t/B", record("com.acme.Text", enabled, "1", "/B")},
        {"=com.acme.Text(1)", record("=com.acme.Text", unmarked, "1")},
        {"com.acme.Text(beta)(2)", record("com.acme.Text", unmarked, "beta)(2")},
        {"com.acme.Text(1.0)x", record("com.acme.Text", unmarked, "1.0")},
        {"com.acme.Text)(1.0", record("com.acme.Text)(1.0", unmarked)},
        {"com.acme.Text (1)", record("com.acme.Text ", unmarked, "1")},
        {"+/a.b", record("/a.b", enabled, {}, "/a.b")},
        {"--com.acme.Text", record("-com.acme.Text", ignored)},
        {"+ com.acme.Text(1)\t/A/T.appex\r", record("com.acme.Text", enabled, "1", "/A/T.appex\r")},
        {"com.acme.Text\tmore\t(", record("com.acme.Text", unmarked)},
        {std::string_view("+a.b(\0)\t/x\0", 11),
         record("a.b", enabled, std::string(1, '\0'), std::string("/x\0", 3))},
        {"\u200B+a.b(1)", record("\u200B+a.b", unmarked, "1")},
        {"", {}},
        {" \t ", {}},
        {"+", {}},
        {"-  ", {}},
        {"com.acme.Text\t/A/T.appex", {}},
        {"Heading without parentheses.", {}},
        {"+ foo(1.0)", {}},
        {"foo(1.0)\t/a.b", {}},
    };
    for (const auto& [line, expected] : cases) {
        EXPECT_EQ(parseListingLine(line), expected) << testing::PrintToString(line);
    }
}

TEST(Listing, KeepsLinesInOrderWithDuplicatesAndSkipsTheRest) {
    const auto records = parseListing("+a.b(1)\t/1\n\nnonsense\n-a.b(1)\t/2\n a.b(");
    const std::vector<QLExtensionRecord> expected{
        {"a.b", enabled, "1", "/1"}, {"a.b", ignored, "1", "/2"}, {"a.b(", unmarked, {}, {}}};
    EXPECT_EQ(records, expected);
    const std::hash<QLExtensionRecord> hash;
    EXPECT_EQ(hash(records.front()), hash(expected.front()));
}

TEST(Listing, SurvivesAMegabyteLineAndAMillionLines) {
    const std::string longID = "a." + std::string(1 << 20, '\t') + std::string(1 << 20, '(');
    EXPECT_EQ(parseListing("+" + longID + "\t/p").front().path, "/p");
    std::string many;
    for (int line = 0; line < 1'000'000; ++line) {
        many += "a.b(1)\n";
    }
    EXPECT_EQ(parseListing(many).size(), 1'000'000U);
}

TEST(PlugInKitExecutor, ReturnsTheListingOrTheToolsOwnError) {
    const TemporaryFolder folder;
    const std::pair<std::string, std::expected<std::string, Error>> cases[] = {
        {"printf '%s|' \"$@\"", "-m|-D|-p|com.apple.quicklook.preview|-A|-v|"},
        {"printf 'bad \\377'", ""},
        {"printf ' out\\n'; exit 4", std::unexpected(Error{"PlugInKitClient", 4, " out\n"})},
    };
    for (const auto& [script, expected] : cases) {
        const ReplacedTools tools({folder.writeScript("tool", script), "", "", ""});
        EXPECT_EQ(RealPlugInKitExecutor().listPreviewExtensions(), expected) << script;
    }
}

} // namespace
} // namespace peekmend::test
