#pragma once

#include <string>
#include <string_view>

namespace peekmend {

/// What went wrong, as a value: who reports it, its number there, and what the user reads.
struct Error {
    std::string domain;
    int code = 0;
    std::string message;

    bool operator==(const Error&) const = default;
};

/// The operating system's own error: domain "posix", code `number` (an errno), and a message made
/// of `what` and the reason in words.
[[nodiscard]] Error posixError(int number, std::string_view what);

/// The error of a tool that ran and ended with a non-zero status. The message is its standard
/// error text, or its standard output text where that is empty; untrimmed, and empty when the
/// bytes are not UTF-8.
[[nodiscard]] Error toolError(std::string_view domain, int exitStatus, std::string_view outputBytes,
                              std::string_view errorBytes);

} // namespace peekmend
