#include "platform/SystemTools.h"

#include <unistd.h>

#include <filesystem>
#include <mutex>
#include <optional>
#include <system_error>

namespace peekmend {

namespace {

std::string systemOrOwn(const std::string& name) {
    const std::string path = "/usr/bin/" + name;
    return ::access(path.c_str(), X_OK) == 0 ? path : ownTool(name);
}

struct Replacement {
    std::mutex mutex;
    std::optional<SystemTools> tools;
};

Replacement& replacement() {
    // Never destroyed: a diagnosis may still run when the program ends.
    static auto& instance = *new Replacement;
    return instance;
}

} // namespace

std::string programFolder() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

std::string ownTool(const std::string& name) {
    const std::filesystem::path programs = programFolder();
    return (programs.parent_path() / "libexec/peekmend" / name).string();
}

SystemTools SystemTools::current() {
    const std::scoped_lock lock(replacement().mutex);
    if (!replacement().tools) {
        replacement().tools = {.pluginkit = systemOrOwn("pluginkit"),
                               .qlmanage = systemOrOwn("qlmanage"),
                               .killall = "/usr/bin/killall",
                               .ps = "/bin/ps"};
    }
    return *replacement().tools;
}

void SystemTools::replace(SystemTools tools) {
    const std::scoped_lock lock(replacement().mutex);
    replacement().tools = std::move(tools);
}

} // namespace peekmend
