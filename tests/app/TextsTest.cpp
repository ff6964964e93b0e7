#include "app/model/Texts.h"

#include "app/model/DroppedFiles.h"
#include "support/Support.h"

namespace peekmend::test {
namespace {

TEST(Texts, NameWhatWasSeenServing) {
    struct Case {
        std::optional<ActiveHandlerProbeResult> seen;
        std::optional<ServingLine> line;
    };

    for (const Case& row : {
             Case{{}, {}},
             Case{ActiveHandlerProbeResult{{"a", "b"}, {}, true},
                  ServingLine{"Serving preview: a, b", true}},
             Case{ActiveHandlerProbeResult{{}, {"/x.appex/x"}, true},
                  ServingLine{"Serving preview: no extension process seen (system fallback or "
                              "probe missed).",
                              false}},
             Case{ActiveHandlerProbeResult{{}, {}, false},
                  ServingLine{"Serving preview: probe invocation failed. Open the Spacebar "
                              "preview yourself, then Refresh.",
                              false}},
         }) {
        QLDiagnosisReport report;
        report.activeHandler = row.seen;
        EXPECT_EQ(servingLine(report), row.line);
    }
}

TEST(Texts, DescribeARecord) {
    using enum QLRegistrationState;
    EXPECT_EQ(stateBadge(enabled), "+");
    EXPECT_EQ(stateBadge(ignored), "\u2212");
    EXPECT_EQ(stateBadge(unmarked), "\u00B7");
    EXPECT_EQ(inventoryErrorText("x\n"), "Couldn't read the Quick Look extension inventory: x\n");
    const std::string_view stale = "Stale path \u2014 reinstall to /Applications?";

    struct Case {
        std::optional<std::string> version, path;
        std::string versionText;
        std::optional<std::string_view> staleText;
    };

    for (const Case& row : {
             Case{{}, {}, "\u2014", {}},
             Case{"1.2", "/Applications/Viewer.app/Contents/PlugIns/Preview.appex", "1.2", {}},
             Case{"", "/Applications/DerivedData/Preview.appex", "", stale},
             Case{"1", "/Users/someone/Build/Preview.appex", "1", stale},
         }) {
        const QLExtensionRecord record{"a", enabled, row.version, row.path};
        EXPECT_EQ(versionText(record), row.versionText);
        EXPECT_EQ(staleText(record), row.staleText);
    }
}

TEST(Texts, ListTheOtherTypesInDeclaredOrder) {
    EXPECT_EQ(alsoPreviewsText({{}, {"b"}, {"c", "b", "a"}}), "c, a");
    EXPECT_EQ(alsoPreviewsText({{}, {"b"}, {"b"}}), "\u2014");
    EXPECT_EQ(alsoPreviewsText({{}, {}, {}}), "\u2014");
}

TEST(DroppedFiles, AreTakenByteForByte) {
    using Items = std::vector<std::optional<FileURL>>;
    const std::optional<FileURL> none;

    struct Case {
        std::string_view uriList;
        Items items;
    };

    for (const Case& row : {
             Case{"", {}},
             Case{"file:///a\r\n", {FileURL("/a")}},
             Case{"# file:///no\r\nfile:///a\nfile:///b\rfile:///c",
                  {FileURL("/a"), FileURL("/b"), FileURL("/c")}},
             Case{"https://host/a\r\nfile:///b\r\n", {FileURL("/b")}},
             Case{"file:///a%20%C3%BC%FF%2f%41", {FileURL("/a \u00FC\xFF/A")}},
             Case{"file:///a\xFF\u00FC b", {FileURL("/a\xFF\u00FC b")}},
             Case{"file:///100%\nfile:///%4\nfile:///%zz%%41",
                  {FileURL("/100%"), FileURL("/%4"), FileURL("/%zz%A")}},
             Case{"file:///a%3Fb%23c?d#e", {FileURL("/a?b#c")}},
             Case{"file:///folder/", {FileURL("/folder")}},
             Case{"FILE://LocalHost/a\nfile:/b", {FileURL("/a"), FileURL("/b")}},
             Case{"file://host/a\nfile:///b", {none, FileURL("/b")}},
             Case{"file:\nfile://\nfile:a\nfile:///a%00b\nfile://localhostile/a",
                  {none, none, none, none, none}},
             Case{{"file:///a\0b", 11}, {none}},
         }) {
        EXPECT_EQ(droppedFiles(row.uriList), row.items) << row.uriList;
    }
}

} // namespace
} // namespace peekmend::test
