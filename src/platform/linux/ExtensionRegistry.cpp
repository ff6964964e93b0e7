#include "platform/linux/ExtensionRegistry.h"

#include "platform/linux/FileStorage.h"
#include "platform/linux/PreviewExtensions.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <utility>

namespace peekmend {

namespace {

constexpr int registryVersion = 1;

/// A file beyond this was not written by this program.
constexpr std::size_t maximumFileSize = std::size_t{4} * 1024 * 1024;

Error registryError(std::string message) {
    return {"ExtensionRegistry", 1, std::move(message)};
}

Error unusable(const std::string& file, std::string_view reason) {
    return registryError("The extension registry \"" + file + "\" " + std::string(reason) +
                         " It was left as it is. Move it away to start with an empty one.");
}

std::expected<std::string, Error> registryFolder() {
    if (auto folder = userDataFolder()) {
        return *std::move(folder);
    }
    return std::unexpected(
        registryError("There is no home folder to keep the extension registry in."));
}

std::expected<ExtensionRegistry, Error> parse(const std::string& file, const std::string& bytes) {
    const auto damaged = [&] { return std::unexpected(unusable(file, "is damaged.")); };
    const auto document = nlohmann::json::parse(bytes, nullptr, false);
    // The parser takes a NUL for the end, and would not see what comes after it.
    if (!document.is_object() || bytes.contains('\0')) {
        return damaged();
    }
    const auto version = document.find("version");
    if (version == document.end() || !version->is_number_integer()) {
        return damaged();
    }
    if (*version != registryVersion) {
        return std::unexpected(unusable(file, "was written by another version of this program."));
    }

    ExtensionRegistry registry;
    const auto elections = document.find("elections");
    const auto addedPaths = document.find("addedPaths");
    if (elections == document.end() || !elections->is_object() || addedPaths == document.end() ||
        !addedPaths->is_array()) {
        return damaged();
    }
    for (const auto& [bundleID, election] : elections->items()) {
        if (election == "use") {
            registry.elections.emplace(bundleID, Election::use);
        } else if (election == "ignore") {
            registry.elections.emplace(bundleID, Election::ignore);
        } else {
            return damaged();
        }
    }
    for (const auto& path : *addedPaths) {
        if (!path.is_string() || !path.get_ref<const std::string&>().starts_with('/') ||
            !isListableText(path.get_ref<const std::string&>())) {
            return damaged();
        }
        registry.addedPaths.push_back(path);
    }
    return registry;
}

std::expected<ExtensionRegistry, Error> readFrom(const std::string& folder) {
    const std::string file = folder + "/registry.json";
    const auto bytes = readRegularFile(file, maximumFileSize);
    if (bytes) {
        return parse(file, *bytes);
    }
    if (bytes.error().code == ENOENT) {
        return ExtensionRegistry();
    }
    return std::unexpected(unusable(file, "cannot be read. " + bytes.error().message));
}

std::expected<void, Error> writeTo(const std::string& folder, const ExtensionRegistry& registry) {
    nlohmann::json document{{"version", registryVersion},
                            {"elections", nlohmann::json::object()},
                            {"addedPaths", registry.addedPaths}};
    for (const auto& [bundleID, election] : registry.elections) {
        document["elections"][bundleID] = election == Election::use ? "use" : "ignore";
    }
    const std::string bytes = document.dump(2) + "\n";
    if (bytes.size() > maximumFileSize) {
        return std::unexpected(registryError("The extension registry is full."));
    }

    return replaceFile(folder + "/registry.json", bytes);
}

} // namespace

std::expected<ExtensionRegistry, Error> readExtensionRegistry() {
    const auto folder = registryFolder();
    if (!folder) {
        return std::unexpected(folder.error());
    }
    return readFrom(*folder);
}

std::expected<void, Error> changeExtensionRegistry(
    const std::function<std::expected<void, Error>(ExtensionRegistry& registry)>& change) {
    const auto folder = registryFolder();
    if (!folder) {
        return std::unexpected(folder.error());
    }
    if (const auto created = createFolders(*folder); !created) {
        return created;
    }
    const auto lock = lockFile(*folder + "/registry.lock");
    if (!lock) {
        return std::unexpected(lock.error());
    }
    auto registry = readFrom(*folder);
    if (!registry) {
        return std::unexpected(registry.error());
    }
    const ExtensionRegistry before = *registry;
    if (const auto changed = change(*registry); !changed) {
        return changed;
    }
    return *registry == before ? std::expected<void, Error>() : writeTo(*folder, *registry);
}

} // namespace peekmend
