// The whole road on the real tools: a conflict is seen, repaired and undone.

#include "diagnosis/DiagnosisEngine.h"
#include "platform/ProcessSetup.h"
#include "platform/linux/StandardUserDefaults.h"
#include "repair/RepairApplicator.h"
#include "support/Support.h"

#include "inventory/ProcessRunner.h"

#include <algorithm>
#include <cstdlib>

namespace peekmend::test {
namespace {

const std::string text = "org.peekmend.TextPreview";
const std::string markdown = "org.peekmend.MarkdownPreview";
const std::string stale =
    " appear to be registered from a stale (non-/Applications) location; reinstalling to "
    "/Applications may fix registration issues.";
using Texts = std::vector<std::string>;

class Road : public testing::Test {
protected:
    void SetUp() override {
        prepareProcess();
        ::setenv("HOME", folder.path().c_str(), 1);
        ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }

    const TemporaryFolder folder;
};

TEST_F(Road, ReportToolFindsItsToolsAndWhatApplicationsDeclare) {
    folder.write("Applications/Odd.app/Contents/Info.plist",
                 "<plist><dict><key>UTExportedTypeDeclarations</key><array><dict>"
                 "<key>UTTypeIdentifier</key><string>com.example.odd</string>"
                 "<key>UTTypeConformsTo</key><string>public.data</string>"
                 "<key>UTTypeTagSpecification</key><dict><key>public.filename-extension</key>"
                 "<string>odd</string></dict></dict></array></dict></plist>");
    folder.write("Applications/Odd.app/Contents/PlugIns/Odd.appex/Contents/Info.plist",
                 "<plist><dict><key>CFBundleIdentifier</key><string>com.example.odd.preview"
                 "</string><key>NSExtension</key><dict><key>NSExtensionPointIdentifier</key>"
                 "<string>com.apple.quicklook.preview</string><key>NSExtensionAttributes</key>"
                 "<dict><key>QLSupportedContentTypes</key><array><string>com.example.odd</string>"
                 "</array></dict></dict></dict></plist>");
    const auto result =
        ProcessRunner::run(PEEKMEND_REPORT, {folder.write("a scene.odd", "")}, false);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->exitStatus, 0) << result->stderrBytes;
    EXPECT_TRUE(result->stdoutBytes.starts_with(
        "Peekmend Diagnostic Report\n====================================\nFile: " +
        (folder / "a scene.odd") + "\nType tree: com.example.odd -> public.data -> public.item\n"))
        << result->stdoutBytes;
    EXPECT_TRUE(result->stdoutBytes.contains("\n  [?] com.example.odd.preview ()\n"));
    EXPECT_TRUE(result->stdoutBytes.ends_with("Odd.appex\n"));
    EXPECT_EQ(ProcessRunner::run(PEEKMEND_REPORT, {}, false)->exitStatus, 2);
}

TEST_F(Road, ConflictIsSeenRepairedAndUndoneAfterARestart) {
    // Copied, so that processes of other runs are not mistaken for this one's.
    const std::string bundle = folder / "My Applications/Previews ü.app";
    std::filesystem::create_directories(folder / "My Applications");
    std::filesystem::copy(PEEKMEND_PREVIEWS_APP, bundle, std::filesystem::copy_options::recursive);
    const SystemTools real{PEEKMEND_PLUGINKIT, PEEKMEND_QLMANAGE,
                           folder.writeScript("killall", "exit 1"), "/bin/ps"};
    const ReplacedTools tools(real);
    ASSERT_EQ(runTool(real.pluginkit, {"-a", bundle}), "");

    const FileURL file(folder.write("read \"me\" ü.md", "# Hello\n"));
    const DiagnosisEngine engine;
    const auto diagnose = [&] {
        QLDiagnosisReport report = engine.diagnose(file);
        // Other extensions of this machine are none of this test's business.
        std::erase_if(report.claimants, [&](const QLClaimant& claimant) {
            return !claimant.record.path->starts_with(bundle);
        });
        report.verdict = composeVerdict(report.claimants, report.activeHandler->bundleIDs);
        EXPECT_TRUE(eventually([&] {
            const auto listing = ProcessRunner::run("/bin/ps", {"auxww"}, false);
            return listing && !listing->stdoutBytes.contains(bundle);
        })) << "a preview is left running";
        EXPECT_EQ(Resources::inUse().children, 0U);
        return report;
    };
    const auto states = [](const QLDiagnosisReport& report) {
        Texts texts;
        for (const QLClaimant& claimant : report.claimants) {
            texts.push_back(claimant.record.bundleID + " " +
                            std::string(textValue(claimant.record.state)));
        }
        return texts;
    };

    const QLDiagnosisReport first = diagnose();
    EXPECT_EQ(first.fetchError, std::nullopt);
    EXPECT_EQ(first.typeTree.front(), "net.daringfireball.markdown");
    EXPECT_EQ(states(first), (Texts{markdown + " unmarked", text + " unmarked"}));
    ASSERT_TRUE(first.activeHandler);
    EXPECT_EQ(first.activeHandler->bundleIDs, Texts{markdown});
    EXPECT_EQ(first.verdict,
              markdown +
                  " is currently serving the open preview. Multiple extensions can preview "
                  "this file (" +
                  markdown + ", " + text +
                  "); this is a conflict. Use Prefer to pick one and ignore the rest. " + markdown +
                  ", " + text + stale);

    StandardUserDefaults defaults;
    ASSERT_EQ(first.claimants.size(), 2U);
    const auto snapshot = RepairApplicator().prefer(
        first.claimants[1].record, {first.claimants[0].record}, first.records, defaults);
    ASSERT_TRUE(snapshot) << testing::PrintToString(snapshot.error());

    const QLDiagnosisReport repaired = diagnose();
    EXPECT_EQ(states(repaired), (Texts{text + " enabled", markdown + " ignored"}));
    EXPECT_EQ(repaired.activeHandler->bundleIDs, Texts{text});
    EXPECT_EQ(repaired.verdict,
              text + " is currently serving the open preview. " + text + ", " + markdown + stale);

    const auto restarted = ProcessRunner::run(
        PEEKMEND_TEST_PROGRAM, {"undo", real.pluginkit, real.qlmanage, real.killall, ""}, false);
    ASSERT_TRUE(restarted);
    EXPECT_EQ(restarted->exitStatus, 0) << restarted->stderrBytes;
    EXPECT_EQ(loadLastRepairSnapshot(defaults), std::nullopt);

    const QLDiagnosisReport undone = diagnose();
    EXPECT_EQ(states(undone), states(first));
    EXPECT_EQ(undone.activeHandler->bundleIDs, Texts{markdown});
    EXPECT_EQ(undone.verdict, first.verdict);
}

} // namespace
} // namespace peekmend::test
