#pragma once

#include <string>

namespace peekmend {

/// The absolute path of the folder that holds the running program.
[[nodiscard]] std::string programFolder();

/// The absolute path of a tool of our own. Their folder stands beside the one that holds the
/// running program, both where the program is installed and where it is built.
[[nodiscard]] std::string ownTool(const std::string& name);

/// The absolute paths of the tools that the program runs. Nothing is searched in PATH.
struct SystemTools {
    std::string pluginkit;
    std::string qlmanage;
    std::string killall;
    std::string ps;

    /// The tools in use: the system's, and our own in place of a `pluginkit` or `qlmanage` that
    /// the system does not have. Usable from any thread.
    [[nodiscard]] static SystemTools current();

    /// Puts other tools in place of all four, for the rest of the run.
    static void replace(SystemTools tools);
};

} // namespace peekmend
