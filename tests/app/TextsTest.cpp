#include "app/model/Texts.h"

#include "app/model/DroppedFiles.h"
#include "support/Support.h"

#include <tuple>

namespace peekmend::test {
namespace {

TEST(Texts, NameWhatWasSeenServing) {
    const std::tuple<ActiveHandlerProbeResult, std::string, bool> cases[] = {
        {{{"a", "b"}, {}, true}, "a, b", true},
        {{{}, {"/x.appex/x"}, true},
         "no extension process seen (system fallback or probe missed).",
         false},
        {{}, "probe invocation failed. Open the Spacebar preview yourself, then Refresh.", false},
    };
    QLDiagnosisReport report;
    EXPECT_EQ(servingLine(report), std::nullopt);
    for (const auto& [seen, text, namesExtensions] : cases) {
        report.activeHandler = seen;
        EXPECT_EQ(servingLine(report), (ServingLine{"Serving preview: " + text, namesExtensions}));
    }
}

TEST(Texts, DescribeARecord) {
    using enum QLRegistrationState;
    EXPECT_EQ(stateBadge(enabled), "+");
    EXPECT_EQ(stateBadge(ignored), "\u2212");
    EXPECT_EQ(stateBadge(unmarked), "\u00B7");
    EXPECT_EQ(versionText({"a", enabled, {}, {}}), "\u2014");
    EXPECT_EQ(versionText({"a", enabled, "", {}}), "");
    EXPECT_EQ(staleText({"a", enabled, {}, {}}), std::nullopt);
    EXPECT_EQ(staleText({"a", enabled, {}, "/Applications/V.app"}), std::nullopt);
    EXPECT_EQ(staleText({"a", enabled, {}, "/Users/someone/V.app"}),
              "Stale path \u2014 reinstall to /Applications?");
}

TEST(Texts, ListTheOtherTypesInDeclaredOrder) {
    EXPECT_EQ(alsoPreviewsText({{}, {"b"}, {"c", "b", "a"}}), "c, a");
    EXPECT_EQ(alsoPreviewsText({{}, {"b"}, {"b"}}), "\u2014");
    EXPECT_EQ(alsoPreviewsText({{}, {}, {}}), "\u2014");
}

TEST(DroppedFiles, AreTakenByteForByte) {
    using Items = std::vector<std::optional<FileURL>>;
    const std::optional<FileURL> none;
    const std::pair<std::string_view, Items> cases[] = {
        {"", {}},
        {"file:///a\r\n", {FileURL("/a")}},
        {"# file:///no\r\nfile:///a\nfile:///b\rfile:///c",
         {FileURL("/a"), FileURL("/b"), FileURL("/c")}},
        {"https://host/a\r\nfile:///b\r\n", {FileURL("/b")}},
        {"file:///a%20%C3%BC%FF%2f%41", {FileURL("/a \u00FC\xFF/A")}},
        {"file:///a\xFF\u00FC b", {FileURL("/a\xFF\u00FC b")}},
        {"file:///100%\nfile:///%4\nfile:///%zz%%41",
         {FileURL("/100%"), FileURL("/%4"), FileURL("/%zz%A")}},
        {"file:///a%3Fb%23c?d#e", {FileURL("/a?b#c")}},
        {"file:///folder/", {FileURL("/folder")}},
        {"FILE://LocalHost/a\nfile:/b", {FileURL("/a"), FileURL("/b")}},
        {"file://host/a\nfile:///b", {none, FileURL("/b")}},
        {"file:\nfile://\nfile:a\nfile:///a%00b\nfile://localhostile/a",
         {none, none, none, none, none}},
        {{"file:///a\0b", 11}, {none}},
    };
    for (const auto& [uriList, files] : cases) {
        EXPECT_EQ(droppedFiles(uriList), files) << uriList;
    }
}

} // namespace
} // namespace peekmend::test
