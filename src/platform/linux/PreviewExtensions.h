#pragma once

#include "platform/Error.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend {

/// The extension point of preview extensions.
inline constexpr std::string_view previewExtensionPoint = "com.apple.quicklook.preview";

/// A preview extension, as its bundle describes it.
struct PreviewExtension {
    std::string bundleID;
    /// Empty when the bundle has none.
    std::string version;
    /// The absolute path of the `.appex` bundle as it was found; links in it are not resolved.
    std::string path;
    /// The absolute path of the program, under exactly `path`. Empty when the bundle names none,
    /// or one that would lie elsewhere.
    std::string executable;
    /// The identifiers of the types that it previews, in declared order.
    std::vector<std::string> contentTypes;

    bool operator==(const PreviewExtension&) const = default;
};

/// The extensions that stand in some places, and one sentence for each that was left out because
/// of what its bundle holds.
struct PreviewExtensionInventory {
    std::vector<PreviewExtension> extensions;
    std::vector<std::string> notes;
};

/// The places that are searched for the current user: `/Applications`, `~/Applications`, then
/// `addedPaths`. Reads the environment.
[[nodiscard]] std::vector<std::string> extensionPlaces(const std::vector<std::string>& addedPaths);

/// The paths of the `.appex` bundles that stand in `places`, each place searched in order and its
/// entries sorted by name. A place is an `.appex` bundle, an `.app` bundle or a folder that holds
/// such bundles. Bundles found twice at one path are listed once. What cannot be read is skipped.
[[nodiscard]] std::vector<std::string>
discoverExtensionBundles(const std::vector<std::string>& places);

/// Whether `text` can stand in a line of the listing: UTF-8 without line breaks, tabs and other
/// control characters.
[[nodiscard]] bool isListableText(std::string_view text);

/// `text` as it may be shown on a terminal, which a bundle's path or a file's name must not
/// command: each byte of control characters and of what is not UTF-8 becomes "?".
[[nodiscard]] std::string asShown(std::string_view text);

/// Whether a line of the listing can carry the bundle identifier so that it is read back the same:
/// listable text with a ".", without blanks and parentheses, and without "+" or "-" at its start.
[[nodiscard]] bool isListableIdentifier(std::string_view identifier);

/// Reads the bundle at `bundlePath`. None when it is an extension of another kind. Fails with
/// domain "PreviewExtensions" and a sentence that names the bundle when its property list cannot
/// be read or the listing could not carry what it says.
[[nodiscard]] std::expected<std::optional<PreviewExtension>, Error>
readPreviewExtension(const std::string& bundlePath);

/// Every preview extension in `places`, in the order of `discoverExtensionBundles`.
[[nodiscard]] PreviewExtensionInventory
readPreviewExtensions(const std::vector<std::string>& places);

} // namespace peekmend
