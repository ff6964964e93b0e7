#include "app/model/DroppedFiles.h"

#include <algorithm>
#include <string>

namespace peekmend {

namespace {

/// Compares ASCII letters without their case.
bool startsWith(std::string_view text, std::string_view lowerCasePrefix) {
    return text.size() >= lowerCasePrefix.size() &&
           std::ranges::equal(
               text.substr(0, lowerCasePrefix.size()), lowerCasePrefix, {},
               [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
}

std::optional<unsigned> hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned>(lower - 'a' + 10);
    }
    return std::nullopt;
}

/// The bytes that the percent signs stand for. None for a NUL, which no path holds.
std::optional<std::string> percentDecoded(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char byte = text[i];
        if (byte == '%' && i + 2 < text.size()) {
            const auto high = hexValue(text[i + 1]);
            const auto low = hexValue(text[i + 2]);
            if (high && low) {
                byte = static_cast<char>(*high * 16 + *low);
                i += 2;
            }
        }
        if (byte == '\0') {
            return std::nullopt;
        }
        bytes += byte;
    }
    return bytes;
}

/// The file of an address without its "file:".
std::optional<FileURL> localFile(std::string_view rest) {
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        if (startsWith(rest, "localhost/")) {
            rest.remove_prefix(std::string_view("localhost").size());
        }
    }
    if (!rest.starts_with('/')) {
        return std::nullopt;
    }
    // What follows would have to be escaped to be part of the name.
    rest = rest.substr(0, rest.find_first_of("?#"));
    return percentDecoded(rest).transform(
        [](std::string path) { return FileURL(std::move(path)); });
}

} // namespace

std::vector<std::optional<FileURL>> droppedFiles(std::string_view uriList) {
    constexpr std::string_view scheme = "file:";
    std::vector<std::optional<FileURL>> items;
    while (!uriList.empty()) {
        const std::size_t end = std::min(uriList.find_first_of("\r\n"), uriList.size());
        const std::string_view line = uriList.substr(0, end);
        uriList.remove_prefix(std::min(end + 1, uriList.size()));
        if (startsWith(line, scheme)) {
            items.push_back(localFile(line.substr(scheme.size())));
        }
    }
    return items;
}

} // namespace peekmend
