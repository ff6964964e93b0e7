#include "platform/linux/PreviewExtensions.h"

#include "platform/BundleInfo.h"
#include "platform/Text.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/FileStorage.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <utility>

namespace peekmend {

namespace {

/// How far below a place folders are searched, as in /Applications/Office/Tools/Writer.app.
constexpr int maximumFolderDepth = 3;

/// How many folders of one place are searched: a place that somebody added may be a whole disk.
constexpr int maximumFolderCount = 2000;

/// Paths end here in this system; longer names serve nobody.
constexpr std::size_t maximumTextLength = 4096;

bool isFolder(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

struct Entry {
    std::string name;
    bool isLink = false;

    auto operator<=>(const Entry&) const = default;
};

/// The visible folders in `folder` and the links in it, which may lead to folders; by name. None
/// when it cannot be read. Asks the system directly: every bundle has a folder around it, and the
/// library would examine and buffer each one.
std::optional<std::vector<Entry>> entriesOf(const std::string& folder) {
    const FileDescriptor directory(
        ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    if (!directory) {
        return std::nullopt;
    }
    std::vector<Entry> entries;
    alignas(dirent64) std::array<char, 4096> buffer{};
    ssize_t filled = 0;
    while ((filled = ::getdents64(directory.get(), buffer.data(), buffer.size())) > 0) {
        for (ssize_t offset = 0; offset < filled;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + offset);
            offset += entry->d_reclen;
            if (entry->d_name[0] == '.') {
                continue;
            }
            auto kind = entry->d_type;
            struct stat status{};
            if (kind == DT_UNKNOWN &&
                ::fstatat(directory.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
                kind = static_cast<decltype(kind)>(IFTODT(status.st_mode));
            }
            if (kind == DT_DIR || kind == DT_LNK) {
                entries.push_back({entry->d_name, kind == DT_LNK});
            }
        }
    }
    std::ranges::sort(entries);
    return entries;
}

class Discovery {
public:
    void searchPlace(const std::string& place) {
        m_foldersLeft = maximumFolderCount;
        // Links at a place's own path are followed: it was named on purpose.
        if (place.ends_with(".appex")) {
            addExtension(place, true);
        } else if (place.ends_with(".app")) {
            searchApplication(place);
        } else {
            searchFolder(place, maximumFolderDepth);
        }
    }

    [[nodiscard]] std::vector<std::string> takeFound() { return std::move(m_found); }

private:
    void addExtension(const std::string& path, bool isLink) {
        if ((!isLink || isFolder(path)) && m_paths.insert(path).second) {
            m_found.push_back(path);
        }
    }

    void searchApplication(const std::string& application) {
        const bool hasPlugIns = searchBundleFolder(application + "/Contents/PlugIns");
        const bool hasExtensions = searchBundleFolder(application + "/Contents/Extensions");
        if (!hasPlugIns && !hasExtensions) {
            searchBundleFolder(application + "/PlugIns");
        }
    }

    /// Returns whether there is such a folder.
    bool searchBundleFolder(const std::string& folder) {
        const auto entries = entriesOf(folder);
        if (!entries) {
            return false;
        }
        for (const Entry& entry : *entries) {
            if (entry.name.ends_with(".appex")) {
                addExtension(folder + "/" + entry.name, entry.isLink);
            }
        }
        return true;
    }

    void searchFolder(const std::string& folder, int depth) {
        if (m_foldersLeft-- <= 0) {
            return;
        }
        const auto entries = entriesOf(folder);
        if (!entries) {
            return;
        }
        for (const Entry& entry : *entries) {
            const std::string path = (folder == "/" ? folder : folder + "/") + entry.name;
            if (entry.name.ends_with(".appex")) {
                addExtension(path, entry.isLink);
            } else if (entry.name.ends_with(".app")) {
                searchApplication(path);
            } else if (!entry.isLink && depth > 0) {
                searchFolder(path, depth - 1);
            }
        }
    }

    std::vector<std::string> m_found;
    std::unordered_set<std::string> m_paths;
    int m_foldersLeft = 0;
};

Error bundleError(const std::string& bundlePath, std::string_view reason) {
    return {"PreviewExtensions", 1,
            "The bundle at \"" + bundlePath + "\" is left out: " + std::string(reason)};
}

/// The length of the control character or line break that UTF-8 text begins with, in bytes; 0
/// where it begins with neither.
std::size_t controlLength(std::string_view text) {
    const auto byteAt = [&](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    if (byteAt(0) < 0x20 || byteAt(0) == 0x7F) {
        return 1;
    }
    if (byteAt(0) == 0xC2 && byteAt(1) < 0xA0) { // U+0080 to U+009F
        return 2;
    }
    return text.starts_with("\u2028") || text.starts_with("\u2029") ? 3 : 0;
}

std::string stringAt(const PropertyList::Value& dictionary, std::string_view key) {
    const auto value = dictionary.at(key);
    return value ? value->string().value_or("") : "";
}

bool isFileName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

} // namespace

std::vector<std::string> extensionPlaces(const std::vector<std::string>& addedPaths) {
    std::vector<std::string> places{"/Applications"};
    if (const auto home = homeFolder()) {
        places.push_back(*home + "/Applications");
    }
    places.insert(places.end(), addedPaths.begin(), addedPaths.end());
    return places;
}

std::vector<std::string> discoverExtensionBundles(const std::vector<std::string>& places) {
    Discovery discovery;
    for (const std::string& place : places) {
        discovery.searchPlace(place);
    }
    return discovery.takeFound();
}

bool isListableText(std::string_view text) {
    return text.size() <= maximumTextLength && asShown(text) == text;
}

std::string asShown(std::string_view text) {
    std::string shown(text);
    if (!isValidUtf8(text)) {
        std::ranges::replace_if(
            shown, [](char byte) { return static_cast<std::uint8_t>(byte) >= 0x80; }, '?');
    }
    for (std::size_t index = 0; index < shown.size(); ++index) {
        const std::size_t length = controlLength(std::string_view(shown).substr(index));
        shown.replace(index, length, length, '?');
    }
    return shown;
}

bool isListableIdentifier(std::string_view identifier) {
    if (!isListableText(identifier) || identifier.find('.') == std::string_view::npos ||
        identifier.find_first_of("()") != std::string_view::npos || identifier.starts_with('+') ||
        identifier.starts_with('-')) {
        return false;
    }
    for (std::size_t index = 0; index < identifier.size(); ++index) {
        const std::string_view rest = identifier.substr(index);
        const auto byte = static_cast<std::uint8_t>(rest.front());
        if ((byte == ' ' || byte >= 0x80) && trimSpaces(rest).size() != rest.size()) {
            return false;
        }
    }
    return true;
}

std::expected<std::optional<PreviewExtension>, Error>
readPreviewExtension(const std::string& bundlePath) {
    const auto info = readBundleInfo(FileURL(bundlePath));
    if (!info) {
        return std::unexpected(
            bundleError(bundlePath, "its Info.plist is missing, damaged or too large."));
    }
    const PropertyList::Value root = info->list.root();
    const auto extension = root.at("NSExtension");
    if (!extension || stringAt(*extension, "NSExtensionPointIdentifier") != previewExtensionPoint) {
        return std::nullopt;
    }

    PreviewExtension result;
    result.bundleID = stringAt(root, "CFBundleIdentifier");
    result.version = stringAt(root, "CFBundleShortVersionString");
    if (result.version.empty()) {
        result.version = stringAt(root, "CFBundleVersion");
    }
    result.path = bundlePath;
    if (!isListableIdentifier(result.bundleID)) {
        return std::unexpected(bundleError(
            bundlePath, "its identifier is missing or has characters that it must not have."));
    }
    if (!isListableText(result.version)) {
        return std::unexpected(
            bundleError(bundlePath, "its version has control characters or is not UTF-8."));
    }
    if (!isListableText(result.path)) {
        return std::unexpected(
            bundleError(bundlePath, "its path has control characters or is not UTF-8."));
    }
    const std::string program = stringAt(root, "CFBundleExecutable");
    if (isFileName(program)) {
        result.executable = bundlePath + (info->isFlat ? "/" : "/Contents/MacOS/") + program;
    }
    result.contentTypes = declaredContentTypes(*info);
    return result;
}

PreviewExtensionInventory readPreviewExtensions(const std::vector<std::string>& places) {
    PreviewExtensionInventory inventory;
    for (const std::string& path : discoverExtensionBundles(places)) {
        auto extension = readPreviewExtension(path);
        if (!extension) {
            inventory.notes.push_back(std::move(extension.error().message));
        } else if (*extension) {
            inventory.extensions.push_back(*std::move(*extension));
        }
    }
    return inventory;
}

} // namespace peekmend
