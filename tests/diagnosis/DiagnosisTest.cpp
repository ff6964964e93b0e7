#include "diagnosis/DiagnosisEngine.h"

#include "diagnosis/DiagnosticReportWriter.h"
#include "diagnosis/TypeTree.h"
#include "support/Support.h"

#include <tuple>

namespace peekmend::test {
namespace {

using enum QLRegistrationState;
using Texts = std::vector<std::string>;

const std::string noClaimantVerdict =
    "No registered Quick Look extension claims this file's type; macOS is likely using its "
    "built-in system fallback preview.";

const std::string novaNote =
    "Nova's Quick Look plugin provides syntax-highlighted previews for every source code and "
    "config file type Nova supports; ignoring it disables those previews too, not just this one.";

class FakeTypes : public TypeDatabase {
public:
    std::expected<std::optional<UniformType>, Error> type = std::nullopt;
    std::expected<std::optional<std::string>, Error> identifier = std::nullopt;

    [[nodiscard]] std::expected<std::optional<UniformType>, Error>
    contentType(const FileURL&) const override {
        return type;
    }

    [[nodiscard]] std::expected<std::optional<std::string>, Error>
    typeIdentifier(const FileURL&) const override {
        return identifier;
    }
};

class FakeInventory : public PlugInKitExecuting {
public:
    std::expected<std::string, Error> listing;

    [[nodiscard]] std::expected<std::string, Error> listPreviewExtensions() const override {
        return listing;
    }
};

QLClaimant claimant(std::string bundleID, QLRegistrationState state, std::string path = {}) {
    return {{std::move(bundleID), state, {}, path.empty() ? std::nullopt : std::optional(path)},
            {},
            {}};
}

TEST(TypeTree, FallsBackToTheIdentifierAndThenToNothing) {
    const auto error = std::unexpected(Error{"posix", 2, ""});
    const FileURL file("/f");
    FakeTypes types;
    EXPECT_EQ(resolveTypeTree(file, types), Texts());
    types.identifier = error;
    EXPECT_EQ(resolveTypeTree(file, types), Texts());
    types.type = error;
    types.identifier = "a.b";
    EXPECT_EQ(resolveTypeTree(file, types), Texts{"a.b"});
    types.type = UniformType{"own", {"one", "two"}};
    EXPECT_EQ(resolveTypeTree(file, types), (Texts{"own", "one", "two"}));
}

TEST(Claimants, AreOrderedByStateAndKeepTheirFirstMatchAlone) {
    const auto claimants = findClaimants({{"x", ignored, {}, {}},
                                          {"y", unmarked, {}, {}},
                                          {"z", enabled, {}, {}},
                                          {"none", enabled, {}, {}},
                                          {"other", enabled, {}, {}},
                                          {"w", enabled, "2", "/w"},
                                          {"y", unmarked, {}, "/copy"}},
                                         {"own", "parent"},
                                         {{"x", {"parent", "own"}},
                                          {"y", {"parent", "more", "parent"}},
                                          {"z", {"own"}},
                                          {"w", {"own"}},
                                          {"other", {"Own", "parents"}}});
    const std::vector<QLClaimant> expected{
        {{"z", enabled, {}, {}}, {"own"}, {"own"}},
        {{"w", enabled, "2", "/w"}, {"own"}, {"own"}},
        {{"y", unmarked, {}, {}}, {"parent"}, {"parent", "more", "parent"}},
        {{"y", unmarked, {}, "/copy"}, {"parent"}, {"parent", "more", "parent"}},
        {{"x", ignored, {}, {}}, {"own"}, {"parent", "own"}},
    };
    EXPECT_EQ(claimants, expected);
    EXPECT_TRUE(findClaimants({{"x", enabled, {}, {}}}, {}, {{"x", {"own"}}}).empty());
    const std::hash<QLClaimant> hash;
    EXPECT_EQ(hash(claimants[0]), hash(expected[0]));
}

TEST(Verdict, SaysWhatTheSystemWillDo) {
    const std::string app = "/Applications/X.app/X.appex";
    const std::string conflict = "this is a conflict. Use Prefer to pick one and ignore the rest.";
    const std::string stale = " appear to be registered from a stale (non-/Applications) location; "
                              "reinstalling to /Applications may fix registration issues.";
    const std::string only =
        " is the only active claimant and is likely handling previews for this file.";
    const std::tuple<std::vector<QLClaimant>, Texts, std::string> cases[] = {
        {{}, {"A"}, noClaimantVerdict},
        {{claimant("A", enabled, app), claimant("B", enabled, app)},
         {"A"},
         "A is currently serving the open preview. Multiple extensions can preview this file (A, "
         "B); " +
             conflict},
        {{claimant("A", enabled, app)}, {"A"}, "A is currently serving the open preview."},
        {{claimant("A", unmarked), claimant("B", ignored)}, {}, "A" + only},
        {{claimant("A", enabled), claimant("B", ignored)},
         {"C", "B", "A"},
         "B is currently serving the open preview."},
        {{claimant("A", enabled), claimant("B", ignored)},
         {"B"},
         "B is currently serving the open preview. A" + only},
        {{claimant("A", ignored), claimant("B", ignored), claimant("C", ignored)},
         {"X"},
         "All 3 claimant(s) for this file type are ignored; macOS is likely using its built-in "
         "system fallback preview."},
        {{claimant("A", enabled, "/x"), claimant("A", unmarked, app), claimant("B", ignored, "/y")},
         {},
         "Multiple extensions can preview this file (A, A); " + conflict + " A, B" + stale},
    };
    for (const auto& [claimants, active, verdict] : cases) {
        EXPECT_EQ(composeVerdict(claimants, active), verdict);
    }
}

TEST(Verdict, KnowsStaleLocations) {
    for (const char* const path :
         {"/Applications", "/Applications2/X.appex", "/applications/X.appex", "",
          "/Users/me/Applications/X.appex", "/Applications/DerivedData/X.appex", "/usr/X.appex"}) {
        EXPECT_TRUE(isStaleLocation(path)) << path;
    }
    for (const char* const path : {"/Applications/X.app", "/Applications/XDerivedData/X.appex"}) {
        EXPECT_FALSE(isStaleLocation(path)) << path;
    }
}

TEST(Notes, CaveatsStandForFourExtensionsAlone) {
    const std::string highland =
        "Highland's Quick Look plugin also previews Fountain screenplay files (and Textbundle); "
        "ignoring it disables previews for those file types too, not just this one.";
    EXPECT_EQ(extensionNote("com.quoteunquoteapps.highland.pro.qlplugin"), highland);
    EXPECT_EQ(extensionNote("com.quoteunquoteapps.highland2.qlplugin"), highland);
    EXPECT_EQ(extensionNote("com.panic.Nova.NovaQuickLookPreview"), novaNote);
    EXPECT_EQ(extensionNote("com.panic.Nova.QuickLookPreviewExtension"), novaNote);
    EXPECT_EQ(extensionNote("com.panic.nova.QuickLookPreviewExtension"), std::nullopt);
}

class Diagnosis : public testing::Test {
protected:
    const TemporaryFolder folder;
    FakeTypes types;
    FakeInventory inventory;
    const std::string previewOpened = folder / "opened";
    const ReplacedTools tools{{"", folder.writeScript("qlmanage", "touch '" + previewOpened + "'"),
                               "", folder.writeScript("ps", "echo /A.appex; echo /B.appex/b")}};
};

TEST_F(Diagnosis, FillsEveryFieldForAFile) {
    folder.write("B.appex/Info.plist", contentTypesPlist({"own"}));
    inventory.listing = "+ a.a(1)\t/A.appex\n  b.b(2)\t" + (folder / "B.appex") + "\n";
    types.type = UniformType{"own", {"parent"}};
    const auto report = DiagnosisEngine(inventory, types).diagnose(FileURL("/f"));
    const QLExtensionRecord b{"b.b", unmarked, "2", folder / "B.appex"};
    EXPECT_EQ(report.fileURL, FileURL("/f"));
    EXPECT_EQ(report.records,
              (std::vector<QLExtensionRecord>{{"a.a", enabled, "1", "/A.appex"}, b}));
    EXPECT_EQ(report.claimants, (std::vector<QLClaimant>{{b, {"own"}, {"own"}}}));
    EXPECT_EQ(report.typeTree, (Texts{"own", "parent"}));
    EXPECT_EQ(report.activeHandler,
              (ActiveHandlerProbeResult{{"a.a"}, {"/A.appex", "/B.appex/b"}, true}));
    EXPECT_EQ(report.rawPluginkit, *inventory.listing);
    EXPECT_EQ(report.fetchError, std::nullopt);
    EXPECT_EQ(report.verdict, composeVerdict(report.claimants, {"a.a"}));
    EXPECT_TRUE(std::filesystem::exists(previewOpened));
}

TEST_F(Diagnosis, ProbesNothingWithoutAFile) {
    inventory.listing = "+a.a(1)\t/A.appex";
    const auto report = DiagnosisEngine(inventory, types).diagnose({});
    EXPECT_EQ(report.records.size(), 1U);
    EXPECT_EQ(DiagnosticReportWriter::reportText(report),
              "Peekmend Diagnostic Report\n====================================\n\nVerdict:\n" +
                  noClaimantVerdict +
                  "\n\nClaimants: none\n\nActive handler probe:\n  Not probed (no file selected)."
                  "\n\nRaw pluginkit output:\n+a.a(1)\t/A.appex");
    EXPECT_FALSE(std::filesystem::exists(previewOpened));
}

TEST(Report, PrintsEverythingInItsPlace) {
    QLDiagnosisReport report;
    report.fileURL = FileURL("/Users/some one/notes.txt");
    report.typeTree = {"public.plain-text", "public.text"};
    report.verdict = "Verdict.";
    report.claimants = {
        {{"com.example.viewer", enabled, "2.1", "/Applications/V.app/P.appex"},
         {"public.plain-text"},
         {"public.plain-text", "public.source-code"}},
        {{"com.panic.Nova.NovaQuickLookPreview", ignored, "", "/opt/N.appex"}, {}, {"a"}},
        claimant("com.example.bare", unmarked),
    };
    report.activeHandler = {{"one", "two"}, {}, true};
    report.rawPluginkit = "\u2028\r\n  first \n\nlast\n\v\f\u0085\u2029";
    EXPECT_EQ(DiagnosticReportWriter::reportText(report),
              "Peekmend Diagnostic Report\n"
              "====================================\n"
              "File: /Users/some one/notes.txt\n"
              "Type tree: public.plain-text -> public.text\n"
              "\n"
              "Verdict:\n"
              "Verdict.\n"
              "\n"
              "Claimants:\n"
              "  [+] com.example.viewer (2.1)\n"
              "      path: /Applications/V.app/P.appex\n"
              "      other types: public.plain-text, public.source-code\n"
              "  [-] com.panic.Nova.NovaQuickLookPreview ()\n"
              "      path: /opt/N.appex [stale]\n"
              "      other types: a\n"
              "      note: " +
                  novaNote +
                  "\n"
                  "  [?] com.example.bare\n"
                  "\n"
                  "Active handler probe:\n"
                  "  Serving preview: one, two\n"
                  "\n"
                  "Raw pluginkit output:\n"
                  "  first \n\nlast");
}

TEST(Report, NamesWhatIsMissing) {
    using DiagnosticReportWriter::probeLines;
    using DiagnosticReportWriter::reportText;
    QLDiagnosisReport report;
    EXPECT_TRUE(reportText(report).contains("\nVerdict:\n(no verdict)\n"));
    EXPECT_TRUE(reportText(report).ends_with("\nRaw pluginkit output:\n(empty)"));
    report.rawPluginkit = "\n\n";
    EXPECT_TRUE(reportText(report).ends_with("\nRaw pluginkit output:\n"));
    report.fetchError = "bad\n";
    EXPECT_TRUE(reportText(report).ends_with("\n(fetch failed: bad\n)"));
    EXPECT_EQ(probeLines(ActiveHandlerProbeResult{}), Texts{"  Probe invocation failed."});
    EXPECT_EQ(probeLines(ActiveHandlerProbeResult{{}, {"/x"}, true}),
              Texts{"  No extension process seen (system fallback or probe missed)."});
}

} // namespace
} // namespace peekmend::test
