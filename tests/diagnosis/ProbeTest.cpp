#include "diagnosis/ActiveHandlerProbe.h"

#include "platform/Cancellation.h"
#include "support/Support.h"

#include <csignal>
#include <thread>

namespace peekmend::test {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

TEST(ProcessListing, FindsExtensionCommandLines) {
    const std::string header =
        "USER         PID %CPU %MEM    VSZ   RSS TTY      STAT START   TIME COMMAND\n";
    const auto process = [](std::string_view command) {
        return "root           1  0.0  0.2  23456 12345 pts/0    Ss   Nov22   0:01 " +
               std::string(command) + "\n";
    };
    const std::string text = "/Applications/My A.app/Contents/PlugIns/Text.appex/MacOS/Text";
    const std::pair<std::string, Texts> cases[] = {
        {header + process(text + " -x \u00fc/y") + process(text + " -x \u00fc/y"),
         {text + " -x \u00fc/y"}},
        {header + process(text) + process("/bin/other") + process("sh -c " + text), {text}},
        {header + process("Preview.appex"), {}},
        {header + process("[x.appex] /b\t \u3000"), {"/b"}},
        {"\n" + header + "\n  " + text + "\u00A0\n" + process("/b.appex"), {text, "/b.appex"}},
        {text + " with some more words in the line that follow it here\n\n",
         {text + " with some more words in the line that follow it here"}},
        {process(text), {"/0    Ss   Nov22   0:01 " + text}}, // no header: no columns are known
        {header + "short " + text, {text}},
        {"a.appex\n", {}},
        {"x.APPEX /a\n/c.appex\r\n", {"/c.appex\r"}},
        {"", {}},
        {header, {}},
    };
    for (const auto& [listing, expected] : cases) {
        EXPECT_EQ(ActiveHandlerProbe::parseExtensionPaths(listing), expected) << listing;
    }
}

TEST(ProcessListing, MapsCommandLinesToRecordsInRecordOrder) {
    using enum QLRegistrationState;
    const std::vector<QLExtensionRecord> records{
        {"b", enabled, {}, "/x/B.appex"},  {"none", enabled, {}, {}},
        {"empty", enabled, {}, ""},        {"a", ignored, {}, "/x/A.appex"},
        {"b", unmarked, {}, "/y/B.appex"}, {"c", enabled, {}, "/x/C.appex"},
    };
    const Texts paths{"/x/A.appex/a", "/q/x/B.appex/b -f", "/y/B.appex", "/unknown.appex"};
    EXPECT_EQ(ActiveHandlerProbe::bundleIDsForPaths(paths, records), (Texts{"b", "a", "b"}));
}

TEST(Sleep, EndsEarlyWhenStopped) {
    std::stop_source stop;
    std::jthread stopper([&] { stop.request_stop(); });
    sleepFor(24h, stop.get_token());
    sleepFor(24h, stop.get_token());
    EXPECT_TRUE(stop.stop_requested());
}

class Probe : public testing::Test {
protected:
    /// Probes with these tools; `ps` is a script that is told how often it has been run.
    ActiveHandlerProbeResult probe(const std::string& qlmanage, std::string_view ps) {
        const ReplacedTools tools(
            {"", qlmanage, "",
             folder.writeScript("ps", "printf '%s|' \"$@\" >> '" + (folder / "listings") +
                                          "'\nruns=$(wc -c < '" + (folder / "listings") + "')\n" +
                                          std::string(ps))});
        const auto begin = std::chrono::steady_clock::now();
        auto result = ActiveHandlerProbe::probe(
            FileURL("/some file"), {{"a.b", QLRegistrationState::enabled, {}, "/A.appex"}},
            stop.get_token());
        duration = std::chrono::steady_clock::now() - begin;
        return result;
    }

    [[nodiscard]] std::string listings() const { return readFile(folder / "listings"); }

    std::string script(std::string_view commands) {
        return folder.writeScript("qlmanage", commands);
    }

    const TemporaryFolder folder;
    const std::string once = "auxww|";
    std::stop_source stop;
    std::chrono::nanoseconds duration{};
};

TEST_F(Probe, ListsOnceWhenTheFirstListingShowsAnExtension) {
    EXPECT_EQ(probe(script("printf '%s|' \"$@\" > '" + (folder / "opened") + "'\nexec " +
                           childProgram + " witness '" + (folder / "asked") + "'"),
                    "echo /A.appex/x; exit 7"),
              (ActiveHandlerProbeResult{{"a.b"}, {"/A.appex/x"}, true}));
    EXPECT_EQ(listings(), once);
    EXPECT_GE(duration, 800ms);
    EXPECT_FALSE(std::filesystem::exists(folder / "asked")) << "it is killed, not asked";
    EXPECT_EQ(readFile(folder / "opened"), "-p|/some file|");
    EXPECT_EQ(Resources::inUse().children, 0U);
}

TEST_F(Probe, ListsASecondTimeAndNoThird) {
    EXPECT_EQ(
        probe(script("exec " + childProgram + " sleep"), "[ $runs -gt 6 ] && echo /A.appex/second"),
        (ActiveHandlerProbeResult{{"a.b"}, {"/A.appex/second"}, true}));
    EXPECT_EQ(listings(), once + once);
    EXPECT_GE(duration, 1200ms);
}

TEST_F(Probe, EndsOnlyItsOwnChild) {
    auto neighbour = ChildProcess::launch({childProgram, {"sleep"}, {}, {}});
    ASSERT_TRUE(neighbour);
    // A stop ends the waits, not the probe: all of it runs without them.
    stop.request_stop();
    for (const std::string& preview :
         {"exec " + childProgram + " stubborn '" + (folder / "ready") + "'",
          "exec " + childProgram + " hold-pipe '" + folder.path() + "'"}) {
        EXPECT_EQ(probe(script(preview), ""), (ActiveHandlerProbeResult{{}, {}, true})) << preview;
        EXPECT_EQ(Resources::inUse().children, 1U) << preview;
        EXPECT_TRUE(neighbour->isRunning()) << preview;
    }
}

TEST(StopProcess, AsksPolitelyThenInterruptsThenKills) {
    const TemporaryFolder folder;
    auto polite = ChildProcess::launch({childProgram, {"sleep"}, {}, {}});
    ASSERT_TRUE(polite);
    EXPECT_FALSE(ActiveHandlerProbe::waitForExit(*polite, 0s, 1ms));
    ActiveHandlerProbe::stopProcess(*polite, 1min, 1ms);
    EXPECT_EQ(polite->waitUntilExit(), SIGTERM);

    const std::string trap =
        folder.writeScript("interrupted", "trap '' TERM\ntouch '" + (folder / "trapped") +
                                              "'\nexec " + childProgram + " sleep");
    auto interrupted = ChildProcess::launch({trap, {}, {}, {}});
    ASSERT_TRUE(interrupted);
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(folder / "trapped"); }));
    ActiveHandlerProbe::stopProcess(*interrupted, 1ms, 1ms);
    EXPECT_EQ(interrupted->waitUntilExit(), SIGINT);

    auto stubborn = ChildProcess::launch({childProgram, {"stubborn", folder / "ready"}, {}, {}});
    ASSERT_TRUE(stubborn);
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(folder / "ready"); }));
    const auto begin = std::chrono::steady_clock::now();
    ActiveHandlerProbe::stopProcess(*stubborn, 500ms, 1ms);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1s);
    EXPECT_EQ(stubborn->waitUntilExit(), SIGKILL);
}

} // namespace
} // namespace peekmend::test
