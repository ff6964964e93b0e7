#pragma once

#include "platform/Error.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend {

/// What the user decided about an extension.
enum class QLRegistrationState : std::uint8_t { enabled, ignored, unmarked };

/// The state's text value, under which it is also stored.
[[nodiscard]] std::string_view textValue(QLRegistrationState state);

/// The state with this text value, case-sensitive; none for any other text.
[[nodiscard]] std::optional<QLRegistrationState> registrationState(std::string_view text);

/// One registered preview extension. Its identity is `bundleID`, which is not unique: an extension
/// may be registered at several places.
struct QLExtensionRecord {
    std::string bundleID;
    QLRegistrationState state = QLRegistrationState::unmarked;
    std::optional<std::string> version;
    /// The absolute path of the `.appex` bundle.
    std::optional<std::string> path;

    bool operator==(const QLExtensionRecord&) const = default;
};

/// The domain of the error that stands for a listing that ended with a non-zero status.
inline constexpr std::string_view plugInKitListingErrorDomain = "PlugInKitClient";

/// How the registration tool is reached. Usable from any thread.
class PlugInKitExecuting {
public:
    PlugInKitExecuting() = default;
    PlugInKitExecuting(const PlugInKitExecuting&) = delete;
    PlugInKitExecuting& operator=(const PlugInKitExecuting&) = delete;
    virtual ~PlugInKitExecuting() = default;

    /// The tool's listing of all preview extensions; empty when it is not UTF-8. Fails with the
    /// launch error, or with a "PlugInKitClient" error that carries the tool's own message and
    /// status. Blocks until the tool has ended.
    [[nodiscard]] virtual std::expected<std::string, Error> listPreviewExtensions() const = 0;
};

/// Runs the real tool.
class RealPlugInKitExecutor final : public PlugInKitExecuting {
public:
    [[nodiscard]] std::expected<std::string, Error> listPreviewExtensions() const override;
};

/// The records that a listing describes, in the order of its lines. Lines that describe none are
/// skipped.
[[nodiscard]] std::vector<QLExtensionRecord> parseListing(std::string_view text);

/// The record that one line describes: an optional mark, the identifier with its version in
/// parentheses, then fields separated by tabs, the last of which is the path.
[[nodiscard]] std::optional<QLExtensionRecord> parseListingLine(std::string_view line);

} // namespace peekmend

template <>
struct std::hash<peekmend::QLExtensionRecord> {
    std::size_t operator()(const peekmend::QLExtensionRecord& record) const noexcept;
};
