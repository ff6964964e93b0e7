#include "PreviewProcess.h"

#include "platform/FileURL.h"
#include "platform/SystemTools.h"
#include "platform/UniformType.h"
#include "platform/linux/ExtensionRegistry.h"
#include "platform/linux/PreviewExtensions.h"

#include <sys/stat.h>
#include <sysexits.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <expected>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using peekmend::Election;
using peekmend::Error;

constexpr std::string_view usage = "Usage:\n"
                                   "  qlmanage -p FILE     show the preview of a file\n"
                                   "  qlmanage -r [cache]  reset\n";

void print(std::FILE* stream, std::string_view text) {
    // Nobody is left to be told when this fails.
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stream));
}

void note(std::string_view sentence) {
    print(stderr, "qlmanage: " + peekmend::asShown(sentence) + "\n");
}

/// The identifiers of the file's type and of what it conforms to, the nearest first.
std::expected<std::vector<std::string>, Error> typesOf(const peekmend::FileURL& file) {
    auto type = peekmend::systemTypeDatabase().contentType(file);
    if (!type) {
        return std::unexpected(std::move(type.error()));
    }
    std::vector<std::string> types;
    if (*type) {
        types = std::move((*type)->supertypes);
        types.insert(types.begin(), std::move((*type)->identifier));
    }
    return types;
}

/// The programs that may show a file of these types, the one to try first at the front.
std::vector<std::string> chooseExtensions(const peekmend::ExtensionRegistry& registry,
                                          const std::vector<std::string>& types) {
    // By rank: elected ones first, then by distance in the type tree. Among equals, what is found
    // first stays first.
    std::multimap<std::pair<bool, std::size_t>, std::string> candidates;
    auto inventory =
        peekmend::readPreviewExtensions(peekmend::extensionPlaces(registry.addedPaths));
    for (peekmend::PreviewExtension& extension : inventory.extensions) {
        const auto election = registry.elections.find(extension.bundleID);
        const bool isElected = election != registry.elections.end();
        const auto nearest = std::ranges::find_first_of(types, extension.contentTypes);
        if ((isElected && election->second == Election::ignore) || nearest == types.end() ||
            extension.executable.empty()) {
            continue;
        }
        candidates.emplace(std::pair(!isElected, static_cast<std::size_t>(nearest - types.begin())),
                           std::move(extension.executable));
    }
    std::vector<std::string> programs;
    for (auto& [rank, program] : candidates) {
        programs.push_back(std::move(program));
    }
    return programs;
}

int preview(const char* argument) {
    const peekmend::FileDescriptor parent = peekmend::parentProcess();
    const peekmend::FileURL file{argument};
    struct stat status{};
    if (::stat(file.path().c_str(), &status) != 0) {
        note(peekmend::posixError(errno, "Couldn't preview \"" + file.path() + "\"").message);
        return EXIT_FAILURE;
    }
    const auto types = typesOf(file);
    if (!types) {
        note(types.error().message);
        return EXIT_FAILURE;
    }
    const auto registry = peekmend::readExtensionRegistry();
    if (!registry) {
        // A preview without the user's elections is still better than none.
        note(registry.error().message);
    }
    auto programs = chooseExtensions(registry.value_or(peekmend::ExtensionRegistry()), *types);
    // The preview for files that no extension shows stands beside this program.
    programs.push_back(peekmend::programFolder() + "/plain-preview");
    for (const std::string& program : programs) {
        const auto exitStatus = peekmend::runPreview(program, file.path(), parent);
        if (exitStatus) {
            return *exitStatus;
        }
        note(exitStatus.error().message);
    }
    return EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    // Whoever ignored it for itself would leave this program unable to see its child end.
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        print(stdout, usage);
        return std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (arguments.size() == 2 && arguments[0] == "-p" && !arguments[1].empty()) {
        return preview(argv[2]);
    }
    if (!arguments.empty() && arguments[0] == "-r" &&
        (arguments.size() == 1 || (arguments.size() == 2 && arguments[1] == "cache"))) {
        // Every preview is made afresh here: no service runs on and nothing is kept.
        return EXIT_SUCCESS;
    }
    note("These arguments are not understood.");
    print(stderr, usage);
    return EX_USAGE;
}
