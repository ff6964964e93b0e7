#include "platform/FileURL.h"
#include "platform/linux/ExtensionRegistry.h"
#include "platform/linux/FileStorage.h"
#include "platform/linux/PreviewExtensions.h"

#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <expected>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace {

using peekmend::Election;
using peekmend::Error;
using peekmend::ExtensionRegistry;

constexpr std::string_view usage =
    "Usage:\n"
    "  pluginkit -m [-D] [-A] [-v] [-p POINT] [-i ID]   list the extensions\n"
    "  pluginkit -e use|ignore|default -i ID            elect an extension\n"
    "  pluginkit -a PATH...                             add bundles or folders\n"
    "  pluginkit -r PATH...                             remove what was added\n"
    "\n"
    "  -A, -D  all copies of an extension, not only the first one found\n"
    "  -v      with the path of each\n"
    "  -p      only those of one extension point\n"
    "  -i      only those with one bundle identifier\n";

void note(std::string_view sentence) {
    // Nobody is left to be told when this fails.
    (void)peekmend::writeAll(STDERR_FILENO, "pluginkit: " + peekmend::asShown(sentence) + "\n");
}

int fail(const Error& error) {
    note(error.message);
    return EXIT_FAILURE;
}

int refuse(std::string_view sentence) {
    note(sentence);
    (void)peekmend::writeAll(STDERR_FILENO, usage);
    return EX_USAGE;
}

int print(std::string_view text) {
    if (!peekmend::writeAll(STDOUT_FILENO, text) ||
        (::close(STDOUT_FILENO) != 0 && errno != EINTR)) {
        return fail(peekmend::posixError(errno, "The output cannot be written"));
    }
    return EXIT_SUCCESS;
}

struct ListOptions {
    bool allCopies = false;
    bool withPaths = false;
    std::optional<std::string_view> point;
    std::optional<std::string_view> bundleID;
};

int list(const ListOptions& options) {
    const auto registry = peekmend::readExtensionRegistry();
    if (!registry) {
        return fail(registry.error());
    }
    const auto inventory =
        peekmend::readPreviewExtensions(peekmend::extensionPlaces(registry->addedPaths));
    for (const std::string& sentence : inventory.notes) {
        note(sentence);
    }

    std::string text;
    std::unordered_set<std::string_view> listed;
    const bool otherPoint = options.point && *options.point != peekmend::previewExtensionPoint;
    for (const peekmend::PreviewExtension& extension : inventory.extensions) {
        if (otherPoint || (options.bundleID && *options.bundleID != extension.bundleID) ||
            (!listed.insert(extension.bundleID).second && !options.allCopies)) {
            continue;
        }
        const auto election = registry->elections.find(extension.bundleID);
        if (election == registry->elections.end()) {
            text += ' ';
        } else {
            text += election->second == Election::use ? '+' : '-';
        }
        text += "    " + extension.bundleID + "(" + extension.version + ")";
        if (options.withPaths) {
            text += "\t" + extension.path;
        }
        text += '\n';
    }
    return print(text);
}

int elect(std::string_view word, std::string_view bundleID) {
    std::optional<Election> election;
    if (word == "use") {
        election = Election::use;
    } else if (word == "ignore") {
        election = Election::ignore;
    } else if (word != "default") {
        return refuse("An election is \"use\", \"ignore\" or \"default\".");
    }
    if (!peekmend::isListableIdentifier(bundleID)) {
        return fail({"pluginkit", 1,
                     "A bundle identifier has a \".\" in it, no blanks, parentheses or control "
                     "characters, and no \"+\" or \"-\" at its start."});
    }
    const std::string identifier(bundleID);
    std::vector<std::string> addedPaths;
    const auto changed = peekmend::changeExtensionRegistry(
        [&](ExtensionRegistry& registry) -> std::expected<void, Error> {
            if (election) {
                registry.elections[identifier] = *election;
            } else {
                registry.elections.erase(identifier);
            }
            addedPaths = registry.addedPaths;
            return {};
        });
    if (!changed) {
        return fail(changed.error());
    }
    // Accepted all the same: a change can be undone after the extension was removed.
    const auto inventory = peekmend::readPreviewExtensions(peekmend::extensionPlaces(addedPaths));
    if (std::ranges::find(inventory.extensions, identifier,
                          &peekmend::PreviewExtension::bundleID) == inventory.extensions.end()) {
        note("No extension \"" + identifier + "\" is registered at the moment.");
    }
    return EXIT_SUCCESS;
}

std::expected<void, Error> addPlace(ExtensionRegistry& registry, const std::string& path) {
    if (!peekmend::isListableText(path)) {
        return std::unexpected(Error{
            "pluginkit", 1, "A path to add is UTF-8 without line breaks and control characters."});
    }
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) {
        return std::unexpected(peekmend::posixError(errno, "Cannot add \"" + path + "\""));
    }
    if (!S_ISDIR(status.st_mode)) {
        return std::unexpected(Error{"pluginkit", 1,
                                     "Cannot add \"" + path +
                                         "\": it is not an .appex bundle, an .app bundle or a "
                                         "folder."});
    }
    if (std::ranges::find(registry.addedPaths, path) == registry.addedPaths.end()) {
        registry.addedPaths.push_back(path);
    }
    return {};
}

std::expected<void, Error> removePlace(ExtensionRegistry& registry, const std::string& path) {
    if (std::erase(registry.addedPaths, path) == 0) {
        return std::unexpected(
            Error{"pluginkit", 1, "Cannot remove \"" + path + "\": it was not added."});
    }
    return {};
}

/// All of the paths, or none when one of them is refused.
int changePlaces(std::span<const std::string_view> paths,
                 std::expected<void, Error> (*change)(ExtensionRegistry&, const std::string&)) {
    if (paths.empty() || std::ranges::find(paths, "") != paths.end()) {
        return refuse("At least one path is needed, and none may be empty.");
    }
    const auto changed = peekmend::changeExtensionRegistry(
        [&](ExtensionRegistry& registry) -> std::expected<void, Error> {
            for (const std::string_view path : paths) {
                const std::string absolute = peekmend::FileURL(std::string(path)).path();
                if (auto result = change(registry, absolute); !result) {
                    return result;
                }
            }
            return {};
        });
    return changed ? EXIT_SUCCESS : fail(changed.error());
}

int run(std::span<const std::string_view> arguments) {
    const std::string_view verb = arguments.empty() ? "" : arguments.front();
    if (verb == "--help" || verb == "-h") {
        return print(usage);
    }
    if (verb == "-a") {
        return changePlaces(arguments.subspan(1), addPlace);
    }
    if (verb == "-r") {
        return changePlaces(arguments.subspan(1), removePlace);
    }

    bool lists = false;
    std::optional<std::string_view> election;
    ListOptions options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const auto takeValue = [&](std::optional<std::string_view>& value) {
            if (value || std::next(argument) == arguments.end()) {
                return false;
            }
            value = *++argument;
            return true;
        };
        bool understood = true;
        if (*argument == "-m") {
            lists = true;
        } else if (*argument == "-A" || *argument == "-D") {
            options.allCopies = true;
        } else if (*argument == "-v") {
            options.withPaths = true;
        } else if (*argument == "-p") {
            understood = takeValue(options.point);
        } else if (*argument == "-i") {
            understood = takeValue(options.bundleID);
        } else if (*argument == "-e") {
            understood = takeValue(election);
        } else {
            return refuse(std::string(*argument) + " is not understood here.");
        }
        if (!understood) {
            return refuse(std::string(*argument) + " takes one value and is given once.");
        }
    }
    if (lists && !election) {
        return list(options);
    }
    if (election && !lists && options.bundleID && !options.allCopies && !options.withPaths &&
        !options.point) {
        return elect(*election, *options.bundleID);
    }
    return refuse("Either -m, -e with -i, -a or -r is needed.");
}

} // namespace

int main(int argc, char** argv) {
    // A closed pipe is a failed write, to be told like any other.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return run(arguments);
}
