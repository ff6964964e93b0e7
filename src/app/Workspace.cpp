#include "app/Workspace.h"

#include "platform/ChildProcess.h"
#include "platform/SystemTools.h"

namespace peekmend::workspace {

namespace {

/// Returns whether the desktop did it.
bool ask(const std::string& verb, const std::string& what) {
    auto tool = ChildProcess::launch({.executablePath = ownTool("workspace"),
                                      .arguments = {verb, what},
                                      .standardOutput = {},
                                      .standardError = {}});
    return tool && tool->waitUntilExit() == 0;
}

} // namespace

bool openURL(const std::string& address) {
    return ask("open", address);
}

bool launchApplication(const std::string& name) {
    return ask("launch", name);
}

} // namespace peekmend::workspace
