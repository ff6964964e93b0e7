#include "inventory/PlugInKitInventory.h"

#include "inventory/ProcessRunner.h"
#include "platform/Hash.h"
#include "platform/SystemTools.h"
#include "platform/Text.h"

#include <array>
#include <utility>

namespace peekmend {

namespace {

/// What a line of the listing takes at least, but for unusually short ones; in bytes.
constexpr std::size_t usualLineSize = 128;

constexpr std::array states{
    std::pair{QLRegistrationState::enabled, std::string_view("enabled")},
    std::pair{QLRegistrationState::ignored, std::string_view("ignored")},
    std::pair{QLRegistrationState::unmarked, std::string_view("unmarked")},
};

} // namespace

std::string_view textValue(QLRegistrationState state) {
    for (const auto& [known, text] : states) {
        if (known == state) {
            return text;
        }
    }
    std::unreachable();
}

std::optional<QLRegistrationState> registrationState(std::string_view text) {
    for (const auto& [state, known] : states) {
        if (known == text) {
            return state;
        }
    }
    return std::nullopt;
}

std::expected<std::string, Error> RealPlugInKitExecutor::listPreviewExtensions() const {
    auto result = ProcessRunner::run(SystemTools::current().pluginkit,
                                     {"-m", "-D", "-p", "com.apple.quicklook.preview", "-A", "-v"},
                                     /*discardStandardOutput=*/false);
    if (!result) {
        return std::unexpected(std::move(result.error()));
    }
    if (result->exitStatus != 0) {
        return std::unexpected(toolError(plugInKitListingErrorDomain, result->exitStatus,
                                         result->stdoutBytes, result->stderrBytes));
    }
    if (!isValidUtf8(result->stdoutBytes)) {
        return std::string();
    }
    return std::move(result->stdoutBytes);
}

std::vector<QLExtensionRecord> parseListing(std::string_view text) {
    std::vector<QLExtensionRecord> records;
    records.reserve(text.size() / usualLineSize);
    while (true) {
        const std::size_t end = text.find('\n');
        if (auto record = parseListingLine(text.substr(0, end))) {
            records.push_back(*std::move(record));
        }
        if (end == std::string_view::npos) {
            return records;
        }
        text.remove_prefix(end + 1);
    }
}

std::optional<QLExtensionRecord> parseListingLine(std::string_view line) {
    std::string_view rest = trimSpaces(line);
    auto state = QLRegistrationState::unmarked;
    if (rest.starts_with('+') || rest.starts_with('-')) {
        state = rest.front() == '+' ? QLRegistrationState::enabled : QLRegistrationState::ignored;
        rest = trimSpaces(rest.substr(1));
    } else if (!rest.contains('.') || !rest.contains('(')) {
        return std::nullopt;
    }

    // Trimmed, `rest` has no tab at either end, so these fields are not empty. Looked for forward:
    // the library's search in the other direction goes byte by byte.
    const std::string_view first = trimSpaces(rest.substr(0, rest.find('\t')));
    std::string_view last = rest;
    for (std::size_t tab = 0; (tab = last.find('\t')) != std::string_view::npos;) {
        last.remove_prefix(tab + 1);
    }
    last = trimSpaces(last);
    const std::size_t open = first.find('(');
    const std::size_t close = first.rfind(')');
    std::string_view bundleID = first;
    std::optional<std::string> version;
    if (open != std::string_view::npos && close != std::string_view::npos && open < close) {
        bundleID = first.substr(0, open);
        version = first.substr(open + 1, close - open - 1);
    }
    if (!bundleID.contains('.')) {
        return std::nullopt;
    }
    return QLExtensionRecord{
        .bundleID = std::string(bundleID),
        .state = state,
        .version = std::move(version),
        .path = last.starts_with('/') ? std::optional<std::string>(last) : std::nullopt,
    };
}

} // namespace peekmend

std::size_t std::hash<peekmend::QLExtensionRecord>::operator()(
    const peekmend::QLExtensionRecord& record) const noexcept {
    std::size_t combined = 0;
    peekmend::combineHash(combined, record.bundleID);
    peekmend::combineHash(combined, record.state);
    peekmend::combineHash(combined, record.version);
    peekmend::combineHash(combined, record.path);
    return combined;
}
