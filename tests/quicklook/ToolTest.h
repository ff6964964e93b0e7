#pragma once

#include "platform/ChildProcess.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend {

/// What a program did.
struct ToolResult {
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs the tools in a home folder of their own.
class ToolTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(home / "Applications");
        ASSERT_EQ(::setenv("HOME", home.c_str(), 1), 0);
        ASSERT_EQ(::unsetenv("XDG_DATA_HOME"), 0);
        // Nothing that these tests start may appear on a desktop.
        ASSERT_EQ(::setenv("QT_QPA_PLATFORM", "offscreen", 1), 0);
    }

    static void write(const std::filesystem::path& path, std::string_view text) {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }

    /// Writes a bundle whose program is a shell script.
    static void writeBundle(const std::filesystem::path& bundle, std::string_view identifier,
                            std::string_view version, std::string_view type = "public.data",
                            std::string_view script = "exit 0",
                            std::string_view point = "com.apple.quicklook.preview") {
        std::string list = "<plist><dict><key>CFBundleExecutable</key><string>Preview</string>";
        list.append("<key>CFBundleIdentifier</key><string>").append(identifier);
        list.append("</string><key>CFBundleVersion</key><string>").append(version);
        list.append("</string><key>NSExtension</key><dict><key>NSExtensionPointIdentifier</key>"
                    "<string>");
        list.append(point).append("</string><key>NSExtensionAttributes</key><dict>"
                                  "<key>QLSupportedContentTypes</key><array><string>");
        list.append(type).append("</string></array></dict></dict></dict></plist>");
        write(bundle / "Contents/Info.plist", list);
        const auto program = bundle / "Contents/MacOS/Preview";
        write(program, "#!/bin/sh\n" + std::string(script) + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }

    static ToolResult run(const std::string& program, const std::vector<std::string>& arguments) {
        auto output = makePipe();
        auto errors = makePipe();
        if (!output || !errors) {
            ADD_FAILURE() << "no pipes";
            return {};
        }
        auto child = ChildProcess::launch(
            {program, arguments, output->writeEnd.get(), errors->writeEnd.get()});
        output->writeEnd.reset();
        errors->writeEnd.reset();
        if (!child) {
            ADD_FAILURE() << child.error().message;
            return {};
        }
        ToolResult result;
        result.output = readToEnd(output->readEnd.get());
        result.errors = readToEnd(errors->readEnd.get());
        result.status = child->waitUntilExit();
        return result;
    }

    static ToolResult pluginkit(const std::vector<std::string>& arguments) {
        return run(PEEKMEND_PLUGINKIT, arguments);
    }

    /// The lines of the full listing that speak of this home folder, which it shows as "~".
    [[nodiscard]] std::string listing(const std::vector<std::string>& arguments = {"-m", "-A",
                                                                                   "-v"}) const {
        const ToolResult result = pluginkit(arguments);
        EXPECT_EQ(result.status, 0) << result.errors;
        const std::string own = home.string() + "/";
        std::string lines;
        std::istringstream stream(result.output);
        for (std::string line; std::getline(stream, line);) {
            const std::size_t path = line.find('\t') + 1;
            if (path != 0 && line.compare(path, own.size(), own) == 0) {
                lines.append(line, 0, path).append("~/");
                lines.append(line, path + own.size()).append("\n");
            }
        }
        return lines;
    }

    const test::TemporaryFolder folder;
    /// As no link on the way to it shows.
    const std::filesystem::path home = std::filesystem::canonical(folder.path());
};

} // namespace peekmend
