#include "inventory/ProcessRunner.h"

#include "platform/ChildProcess.h"
#include "support/Support.h"

#include <atomic>
#include <csignal>
#include <future>
#include <thread>

namespace peekmend::test {
namespace {

TEST(ProcessRunner, HandsArgumentsOverUnchanged) {
    using namespace std::string_literals;
    const auto result = ProcessRunner::run(
        childProgram, {"arguments", "a b", "\"'", "new\nline", "", "\xFF", "*", "-n"}, false);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->stdoutBytes, "a b\0\"'\0new\nline\0\0\xFF\0*\0-n\0"s);
}

TEST(ProcessRunner, DiscardsOutputOnRequestAndStillCapturesErrors) {
    const auto result = ProcessRunner::run(childProgram, {"exit", "3", "out", "err"}, true);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->exitStatus, 3);
    EXPECT_EQ(result->stdoutBytes, "");
    EXPECT_EQ(result->stderrBytes, "err");
}

TEST(ProcessRunner, WaitsForAGrandchildThatKeepsThePipe) {
    const TemporaryFolder folder;
    auto run = std::async(std::launch::async, [&] {
        return ProcessRunner::run(childProgram, {"hold-pipe", folder.path()}, false);
    });
    // The grandchild writes when its parent, the tool itself, has gone.
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(folder / "orphaned"); }));
    EXPECT_EQ(run.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    folder.write("release", "");
    EXPECT_EQ(run.get()->stdoutBytes, "late");
}

TEST(ProcessRunner, ManyRunsAtOnceLeaveNothingBehind) {
    const Resources before = Resources::atRest();
    {
        std::atomic<bool> done = false;
        std::jthread neighbour([&] {
            while (!done) {
                auto child = ChildProcess::launch({childProgram, {"sleep"}, {}, {}});
                ASSERT_TRUE(child);
                child->send(SIGKILL);
                EXPECT_EQ(child->waitUntilExit(), SIGKILL);
            }
        });
        std::vector<std::jthread> threads;
        std::atomic<int> next = 0;
        for (int thread = 0; thread < 16; ++thread) {
            threads.emplace_back([&] {
                for (int number = next++; number < 200; number = next++) {
                    const std::string text = std::to_string(number);
                    const bool fails = number % 10 == 0;
                    const auto result =
                        ProcessRunner::run(fails ? "/dev/null/missing" : childProgram,
                                           {"exit", std::to_string(number % 7), text, text}, false);
                    ASSERT_EQ(result.has_value(), !fails);
                    if (result) {
                        EXPECT_EQ(result->exitStatus, number % 7);
                        EXPECT_EQ(result->stdoutBytes, text);
                        EXPECT_EQ(result->stderrBytes, text);
                    }
                }
            });
        }
        threads.clear();
        done = true;
    }
    EXPECT_TRUE(eventually([&] { return Resources::inUse() == before; }));
}

} // namespace
} // namespace peekmend::test
