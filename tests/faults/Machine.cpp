#include "faults/Machine.h"

#include "inventory/ProcessRunner.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <utility>

namespace peekmend::test {

namespace {

const StartInBackground startInBackground = [](BackgroundPool::Job job) {
    return BackgroundPool::shared().submit(std::move(job));
};

} // namespace

void PumpedMainQueue::post(Block block) {
    const std::scoped_lock lock(m_mutex);
    m_blocks.push_back(std::move(block));
    m_posted.notify_one();
}

bool PumpedMainQueue::runUntil(const std::function<bool()>& condition) {
    return eventually([&] {
        std::unique_lock lock(m_mutex);
        m_posted.wait_for(lock, std::chrono::milliseconds(5), [&] { return !m_blocks.empty(); });
        while (!m_blocks.empty()) {
            const Block block = std::move(m_blocks.front());
            m_blocks.pop_front();
            lock.unlock();
            block();
            lock.lock();
        }
        lock.unlock();
        return condition();
    });
}

Machine::Machine() {
    ::setenv("HOME", folder.path().c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
    for (const auto& [bundleID, path] : paths) {
        const std::string bundle = path.substr(folder.path().size() + 1);
        // clang-format off
        folder.write(bundle + "/Contents/Info.plist",
            "<plist><dict><key>CFBundleExecutable</key><string>Preview</string>"
            "<key>CFBundleIdentifier</key><string>" + bundleID + "</string>"
            "<key>NSExtension</key><dict><key>NSExtensionPointIdentifier</key>"
            "<string>com.apple.quicklook.preview</string><key>NSExtensionAttributes</key><dict>"
            "<key>QLSupportedContentTypes</key><array><string>public.plain-text</string></array>"
            "</dict></dict></dict></plist>");
        // clang-format on
        folder.writeScript(bundle + "/Contents/MacOS/Preview", ": >'" + (folder / "shown") +
                                                                   "'; read -r line <'" +
                                                                   (folder / "pipe") + "'");
    }
    folder.write("step", "none\n");
    // Other extensions and processes of this machine are not part of the one in miniature, and a
    // listing waits for the preview as the fixed delay would.
    folder.writeScript("real/pluginkit", "[ $1 = -m ] || exec " PEEKMEND_PLUGINKIT
                                         " \"$@\"\nlisting=$(" PEEKMEND_PLUGINKIT
                                         " \"$@\") || exit\necho \"$listing\" | sed -n '\\|" +
                                             folder.path() + "|p'");
    folder.writeScript("real/qlmanage", "exec " PEEKMEND_QLMANAGE " \"$@\"");
    folder.writeScript("real/killall", "exit 1");
    folder.writeScript(
        "real/ps",
        "cd '" + folder.path() +
            "' || exit; until [ -e shown ] || [ -e dark ] || [ ! -e step ]; do sleep 0.01; done; "
            "/bin/ps \"$@\" | grep -F -e COMMAND -e '" +
            folder.path() + "'");
    std::filesystem::create_directory(folder / "tools");
    for (const std::string& tool : {tools.pluginkit, tools.qlmanage, tools.killall, tools.ps}) {
        std::filesystem::create_symlink(PEEKMEND_TEST_FAULTY_TOOL, tool);
    }
    EXPECT_EQ(inDataFolder("mkfifo ~/pipe"), "");

    EXPECT_TRUE(changeExtensionRegistry([&](ExtensionRegistry& registry) {
        registry.elections = elections;
        return std::expected<void, Error>();
    }));
    storeRepairSnapshot(earlier, defaults);

    services = {
        .mainQueue = queue,
        .diagnoses = std::make_shared<DiagnosisRunner>(
            queue, startInBackground,
            [engine = DiagnosisEngine()](const auto& fileURL, const auto& /*stop*/) {
                // A stop ends the probe's waits and nothing else.
                std::stop_source stopped;
                stopped.request_stop();
                return engine.diagnose(fileURL, stopped.get_token());
            }),
        .repairs = std::make_shared<RepairQueue>(queue, startInBackground),
        .applicator = RepairApplicator(),
        .defaults = std::make_shared<StandardUserDefaults>(),
        .copyText = [](const auto&) {},
        .openURL = [](const auto&) { return false; },
        .launchApplication = [](const auto&) { return false; },
        .tellWithoutWindow = [](const auto&) {},
    };
}

Machine::~Machine() {
    EXPECT_TRUE(eventually([this] { return processes().empty(); }))
        << testing::PrintToString(processes());
}

void Machine::playFault(const std::string& step, const std::string& commands) {
    folder.write("fault", commands);
    folder.write("step", step + "\n");
}

void Machine::removeTool(const std::string& commandLine) const {
    std::filesystem::remove((folder / "tools/") + commandLine.substr(0, commandLine.find(' ')));
}

bool Machine::waitUntilHeld() const {
    return queue->runUntil([this] { return std::filesystem::exists(folder / "held"); });
}

void Machine::release() const {
    folder.write("release", "");
}

Strings Machine::takeCommands() {
    Strings commands;
    std::ifstream log(folder / "commands");
    for (std::string line; std::getline(log, line);) {
        commands.push_back(line);
    }
    std::filesystem::remove(folder / "commands");
    return commands;
}

std::string Machine::inDataFolder(const std::string& command) const {
    const auto result = ProcessRunner::run(
        "/bin/sh", {"-c", "cd \"$0\" 2>/dev/null || cd; " + command, dataFolder}, false);
    return result ? result->stdoutBytes + result->stderrBytes : "no shell";
}

Strings Machine::processes() const {
    Strings found;
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        std::string line = readFile(process.path() / "cmdline");
        std::ranges::replace(line, '\0', ' ');
        if (line.contains(folder.path())) {
            found.push_back(line);
        }
    }
    return found;
}

bool Machine::settle() {
    return queue->runUntil(
        [this] { return services.repairs->isIdle() && services.diagnoses->isIdle(); });
}

} // namespace peekmend::test
