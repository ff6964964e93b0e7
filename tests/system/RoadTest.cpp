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
using Texts = std::vector<std::string>;

TEST(Road, ConflictIsSeenRepairedAndUndoneAfterARestart) {
    const TemporaryFolder folder;
    prepareProcess();
    ::setenv("HOME", folder.path().c_str(), 1);
    ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);

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
    EXPECT_TRUE(first.verdict.starts_with(
        markdown +
        " is currently serving the open preview. Multiple extensions can preview this "
        "file (" +
        markdown + ", " + text + "); this is a conflict."))
        << first.verdict;

    const std::string defaultsFolder = folder / "defaults";
    StandardUserDefaults defaults(defaultsFolder);
    ASSERT_EQ(first.claimants.size(), 2U);
    const auto snapshot = RepairApplicator().prefer(
        first.claimants[1].record, {first.claimants[0].record}, first.records, defaults);
    ASSERT_TRUE(snapshot) << testing::PrintToString(snapshot.error());

    const QLDiagnosisReport repaired = diagnose();
    EXPECT_EQ(states(repaired), (Texts{text + " enabled", markdown + " ignored"}));
    EXPECT_EQ(repaired.activeHandler->bundleIDs, Texts{text});
    EXPECT_TRUE(repaired.verdict.starts_with(text + " is currently serving the open preview. " +
                                             markdown + ", " + text) ||
                repaired.verdict.starts_with(text + " is currently serving the open preview. " +
                                             text + ", " + markdown))
        << repaired.verdict;

    const auto restarted = ProcessRunner::run(
        PEEKMEND_TEST_RESTART,
        {"undo", defaultsFolder, real.pluginkit, real.qlmanage, real.killall}, false);
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
