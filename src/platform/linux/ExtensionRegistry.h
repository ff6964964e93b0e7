#pragma once

#include "platform/Error.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace peekmend {

/// What the user decided about one extension. An extension without a decision has no election.
enum class Election : std::uint8_t { use, ignore };

/// The current user's decisions about preview extensions, kept in a file of the user's data
/// folder.
struct ExtensionRegistry {
    /// By bundle identifier; also of extensions that are not installed at the moment.
    std::map<std::string, Election> elections;
    /// Absolute paths that are searched for extensions beside the usual places, in the order in
    /// which they were added.
    std::vector<std::string> addedPaths;

    bool operator==(const ExtensionRegistry&) const = default;
};

/// Reads the registry; one that was never written is empty. Fails with domain "ExtensionRegistry"
/// or "posix" and a sentence that names the file when it cannot be read or understood. Reads the
/// environment (HOME, XDG_DATA_HOME).
[[nodiscard]] std::expected<ExtensionRegistry, Error> readExtensionRegistry();

/// Reads the registry, lets `change` alter it and stores the result; nothing is stored when
/// `change` fails. Changes of several processes and threads happen one after another, none is
/// lost, and at every moment the file holds the old or the new registry whole. A registry that
/// cannot be read is left as it is. Blocks while others change it, a bounded time.
[[nodiscard]] std::expected<void, Error> changeExtensionRegistry(
    const std::function<std::expected<void, Error>(ExtensionRegistry& registry)>& change);

} // namespace peekmend
