#include "platform/ChildProcess.h"

#include "platform/BackgroundPool.h"
#include "platform/ProcessSetup.h"
#include "support/Support.h"

#include <pthread.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <tuple>
#include <utility>

namespace peekmend::test {
namespace {

std::expected<ChildProcess, Error> launch(std::string path, std::vector<std::string> arguments) {
    return ChildProcess::launch({.executablePath = std::move(path),
                                 .arguments = std::move(arguments),
                                 .standardOutput = {},
                                 .standardError = {}});
}

TEST(ChildProcess, SaysInWordsWhyAProgramCannotBeStarted) {
    const TemporaryFolder folder;
    using Arguments = std::vector<std::string>;
    const std::tuple<std::string, Arguments, int, std::string_view> cases[] = {
        {folder / "missing", {}, ENOENT, "No such file"},
        {folder.write("plain", "text"), {}, EACCES, "Permission denied"},
        {folder.path(), {}, EACCES, "Permission denied"},
        {folder.writeScript("empty", ""), {std::string("a\0b", 3)}, EINVAL, "Invalid argument"},
        {folder.write("lost", "#!/missing/interpreter\n"), {}, ENOENT, "run it is missing"},
        {folder.write("nonsense", "no program"), {}, ENOEXEC, "format"},
    };
    for (const char* const name : {"/lost", "/nonsense"}) {
        ASSERT_EQ(::chmod((folder.path() + name).c_str(), 0700), 0);
    }
    const Resources before = Resources::atRest();
    for (const auto& [path, arguments, code, words] : cases) {
        const auto child = launch(path, arguments);
        ASSERT_FALSE(child) << path;
        const auto& [domain, number, message] = child.error();
        EXPECT_EQ(domain, "posix");
        EXPECT_EQ(number, code) << message;
        EXPECT_TRUE(message.contains(path) && message.contains(words)) << message;
    }
    EXPECT_EQ(Resources::inUse(), before);
}

TEST(ChildProcess, StartsWithDefaultSignalsWhateverTheCallerHas) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    std::signal(SIGUSR1, SIG_IGN);
    auto child = launch(childProgram, {"signals"});
    std::signal(SIGUSR1, SIG_DFL);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->waitUntilExit(), 0);
}

TEST(ChildProcess, TellsItsEndAndIsSentNothingAfterIt) {
    auto child = launch(childProgram, {"sleep"});
    ASSERT_TRUE(child);
    EXPECT_TRUE(child->isRunning());
    EXPECT_TRUE(child->send(0));
    EXPECT_TRUE(child->send(SIGKILL));
    EXPECT_EQ(child->waitUntilExit(), SIGKILL);
    EXPECT_EQ(child->waitUntilExit(), SIGKILL) << "also when it is asked again";
    EXPECT_FALSE(child->isRunning());
    EXPECT_FALSE(child->send(0));
}

TEST(ChildProcess, TakesARunningChildWithIt) {
    const Resources before = Resources::atRest();
    {
        const auto child = launch(childProgram, {"sleep"});
        ASSERT_TRUE(child);
        EXPECT_EQ(Resources::inUse().children, before.children + 1);
    }
    EXPECT_TRUE(eventually([&] { return Resources::inUse() == before; }));
}

TEST(ChildProcess, StreamsReachTheirPipesInAProcessWithoutStandardStreams) {
    EXPECT_EXIT(
        {
            ::close(STDIN_FILENO);
            ::close(STDOUT_FILENO);
            ::close(STDERR_FILENO);
            auto output = makePipe();
            auto errors = makePipe();
            auto child = ChildProcess::launch({.executablePath = childProgram,
                                               .arguments = {"exit", "0", "out", "err"},
                                               .standardOutput = output->writeEnd.get(),
                                               .standardError = errors->writeEnd.get()});
            output->writeEnd.reset();
            errors->writeEnd.reset();
            std::_Exit(readToEnd(output->readEnd.get()) == "out" &&
                               readToEnd(errors->readEnd.get()) == "err"
                           ? 0
                           : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(ProcessSetup, GivesToolsAUtf8Locale) {
    const char* const cases[][4] = {
        {"C", "", "C.UTF-8", ""},
        {"", "C", "", "C.UTF-8"},
        {"", "C.UTF-8", "", "C.UTF-8"},
    };
    for (const auto& [all, type, expectedAll, expectedType] : cases) {
        EXPECT_EXIT(
            {
                ::setenv("LC_ALL", all, 1);
                ::setenv("LC_CTYPE", type, 1);
                std::signal(SIGCHLD, SIG_IGN);
                prepareProcess();
                auto child = launch(childProgram, {"exit", "7"});
                std::_Exit(child && child->waitUntilExit() == 7 &&
                                   std::getenv("LC_ALL") == std::string_view(expectedAll) &&
                                   std::getenv("LC_CTYPE") == std::string_view(expectedType)
                               ? 0
                               : 1);
            },
            testing::ExitedWithCode(0), "");
    }
}

TEST(BackgroundPool, RunsJobsThatWaitForEachOtherAndLetsIdleThreadsGo) {
    const Resources before = Resources::atRest();
    BackgroundPool pool(std::chrono::milliseconds(10));
    TaskGroup started;
    TaskGroup finished;
    constexpr int jobCount = 64;
    for (int job = 0; job < jobCount; ++job) {
        started.enter();
        finished.enter();
    }
    for (int job = 0; job < jobCount; ++job) {
        ASSERT_TRUE(pool.submit([&] {
            started.leave();
            started.wait(); // ends only when all of them run at once
            finished.leave();
        }));
    }
    finished.wait();
    EXPECT_TRUE(eventually([&] { return Resources::inUse() == before; }));
    finished.enter();
    ASSERT_TRUE(pool.submit([&] { finished.leave(); }));
    finished.wait();
}

/// Ends this process with 0 when a pool refuses both a job and another one, which the first submits
/// as it is given up.
[[noreturn]] void submitWithoutThreads() {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, std::size_t{1} << 50U); // no machine has that much
    ::pthread_setattr_default_np(&attributes);
    BackgroundPool pool;
    bool isSecondRefused = false;
    const auto submitAnother = [&](const void*) { isSecondRefused = !pool.submit([] {}); };
    std::unique_ptr<const void, decltype(submitAnother)> held(&pool, submitAnother);
    const bool isFirstRefused = !pool.submit([kept = std::move(held)] {});
    std::_Exit(isFirstRefused && isSecondRefused ? 0 : 1);
}

TEST(BackgroundPool, RefusesJobsForWhichThereIsNoThread) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // earlier tests may have left threads
    EXPECT_EXIT(submitWithoutThreads(), testing::ExitedWithCode(0), "");
}

TEST(BackgroundPool, EndsWithAllJobsDoneAndWaitsForNoIdleThread) {
    constexpr int jobCount = 200;
    std::atomic<int> done = 0;
    {
        BackgroundPool pool(std::chrono::hours(1));
        for (int job = 0; job < jobCount; ++job) {
            ASSERT_TRUE(pool.submit([&] { ++done; }));
        }
    }
    EXPECT_EQ(done, jobCount);
}

} // namespace
} // namespace peekmend::test
