#include "app/Workspace.h"

#include "platform/BackgroundPool.h"
#include "platform/ChildProcess.h"
#include "platform/SystemTools.h"

#include <chrono>
#include <thread>
#include <utility>

namespace peekmend::workspace {

namespace {

/// The desktop's tool is usually done at once. An application that takes long to start is not
/// waited for.
constexpr std::chrono::seconds patience(2);
constexpr std::chrono::milliseconds interval(2);

/// Returns whether the desktop did it, or is at it.
bool ask(const std::string& verb, const std::string& what) {
    auto tool = ChildProcess::launch({.executablePath = ownTool("workspace"),
                                      .arguments = {verb, what},
                                      .standardOutput = {},
                                      .standardError = {}});
    if (!tool) {
        return false;
    }
    const auto end = std::chrono::steady_clock::now() + patience;
    while (tool->isRunning()) {
        if (std::chrono::steady_clock::now() >= end) {
            // Ending it now would take back what it has asked for.
            static_cast<void>(BackgroundPool::shared().submit(
                [rest = *std::move(tool)]() mutable { rest.waitUntilExit(); }));
            return true;
        }
        std::this_thread::sleep_for(interval);
    }
    return tool->waitUntilExit() == 0;
}

} // namespace

bool openURL(const std::string& address) {
    return ask("open", address);
}

bool launchApplication(const std::string& name) {
    return ask("launch", name);
}

} // namespace peekmend::workspace
