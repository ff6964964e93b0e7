#pragma once

#include <ranges>
#include <string>
#include <string_view>

namespace peekmend {

/// Whether the bytes are UTF-8 throughout: no overlong forms, no surrogates, nothing above
/// U+10FFFF. A byte order mark and NUL are ordinary characters.
[[nodiscard]] bool isValidUtf8(std::string_view bytes);

/// The bytes as text: themselves when they are valid UTF-8, otherwise the empty text.
[[nodiscard]] std::string_view decodeUtf8(std::string_view bytes);

/// `text` without tabs and Unicode space separators (general category Zs) at both ends. Line
/// breaks, zero-width characters and other control characters stay.
[[nodiscard]] std::string_view trimSpaces(std::string_view text);

/// `text` without newline characters (U+000A to U+000D, U+0085, U+2028, U+2029) at both ends.
[[nodiscard]] std::string_view trimNewlines(std::string_view text);

/// The texts with `separator` between them.
template <std::ranges::input_range Texts>
[[nodiscard]] std::string joined(const Texts& texts, std::string_view separator) {
    std::string result;
    std::string_view between;
    for (const std::string_view text : texts) {
        result.append(between).append(text);
        between = separator;
    }
    return result;
}

} // namespace peekmend
