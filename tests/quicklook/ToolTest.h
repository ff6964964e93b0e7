#pragma once

#include "inventory/ProcessRunner.h"
#include "support/Support.h"

#include <cstdlib>
#include <filesystem>

namespace peekmend {

/// Runs the tools in a home folder of their own.
class ToolTest : public testing::Test {
protected:
    void SetUp() override {
        const std::string tools = std::filesystem::path(PEEKMEND_PLUGINKIT).parent_path();
        ::setenv("PATH", (tools + ":/usr/bin:/bin").c_str(), 1);
        ::setenv("HOME", home.c_str(), 1);
        ::unsetenv("XDG_DATA_HOME");
        // Nothing that these tests start may appear on a desktop.
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        std::filesystem::create_directory(home / "Applications");
    }

    /// What a shell command does in the home folder. The tools are found by their names.
    static ProcessRunner::Result run(const std::string& command) {
        return ProcessRunner::run("/bin/sh", {"-c", "cd; " + command}, false).value();
    }

    /// Writes a bundle at a path below the home folder; its program is a shell script.
    void writeBundle(const std::string& bundle, const std::string& identifier,
                     const std::string& version = "1", const std::string& type = "public.data",
                     const std::string& script = "exit 0") const {
        // clang-format off
        folder.write(bundle + "/Contents/Info.plist",
            "<plist><dict><key>CFBundleExecutable</key><string>Preview</string>"
            "<key>CFBundleIdentifier</key><string>" + identifier + "</string>"
            "<key>CFBundleVersion</key><string>" + version + "</string><key>NSExtension</key><dict>"
            "<key>NSExtensionPointIdentifier</key><string>com.apple.quicklook.preview</string>"
            "<key>NSExtensionAttributes</key><dict><key>QLSupportedContentTypes</key>"
            "<array><string>" + type + "</string></array></dict></dict></dict></plist>");
        // clang-format on
        folder.writeScript(bundle + "/Contents/MacOS/Preview", script);
    }

    /// The lines of a listing that speak of this home folder, which it shows as "~".
    static std::string listing(const std::string& options = "-m -A -v") {
        return run("pluginkit " + options + " | sed -n \"s|\t$HOME/|\t~/|p\"").stdoutBytes;
    }

    const test::TemporaryFolder folder;
    /// As no link on the way to it shows.
    const std::filesystem::path home = std::filesystem::canonical(folder.path());
    const std::filesystem::path registry = home / ".local/share/peekmend/registry.json";
};

} // namespace peekmend
