#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace peekmend {

namespace {

constexpr std::array<std::string_view, 18> spaces{
    "\t",           " ",
    "\xC2\xA0",     "\xE1\x9A\x80",
    "\xE2\x80\x80", "\xE2\x80\x81",
    "\xE2\x80\x82", "\xE2\x80\x83",
    "\xE2\x80\x84", "\xE2\x80\x85",
    "\xE2\x80\x86", "\xE2\x80\x87",
    "\xE2\x80\x88", "\xE2\x80\x89",
    "\xE2\x80\x8A", "\xE2\x80\xAF",
    "\xE2\x81\x9F", "\xE3\x80\x80",
};

constexpr std::array<std::string_view, 7> newlines{
    "\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9",
};

/// Whether no character of the sets above begins or ends with this byte: nearly all do not.
bool isPlainByte(char byte) {
    return byte > ' ' && byte <= '~';
}

/// Compares one byte first, where nearly every character of a set fails.
std::string_view trim(std::string_view text, std::span<const std::string_view> set) {
    const auto atBegin = [&](std::string_view character) {
        return text.front() == character.front() && text.starts_with(character);
    };
    while (!text.empty() && !isPlainByte(text.front())) {
        const auto found = std::ranges::find_if(set, atBegin);
        if (found == set.end()) {
            break;
        }
        text.remove_prefix(found->size());
    }
    const auto atEnd = [&](std::string_view character) {
        return text.back() == character.back() && text.ends_with(character);
    };
    while (!text.empty() && !isPlainByte(text.back())) {
        const auto found = std::ranges::find_if(set, atEnd);
        if (found == set.end()) {
            break;
        }
        text.remove_suffix(found->size());
    }
    return text;
}

/// How many bytes the well-formed character at the start of `bytes` has; 0 where there is none.
std::size_t characterLength(std::string_view bytes) {
    const auto byteAt = [&](std::size_t index) { return static_cast<std::uint8_t>(bytes[index]); };
    const std::uint8_t lead = byteAt(0);
    if (lead < 0x80) {
        return 1;
    }
    // The second byte's range rules out overlong forms, surrogates and what is above U+10FFFF.
    std::size_t length = 0;
    std::uint8_t lowest = 0x80;
    std::uint8_t highest = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        lowest = lead == 0xE0 ? 0xA0 : 0x80;
        highest = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        lowest = lead == 0xF0 ? 0x90 : 0x80;
        highest = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (bytes.size() < length || byteAt(1) < lowest || byteAt(1) > highest) {
        return 0;
    }
    for (std::size_t index = 2; index < length; ++index) {
        if ((byteAt(index) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

} // namespace

bool isValidUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        // Nearly everything that comes in is ASCII: eight bytes at a time.
        std::uint64_t word = 0;
        if (bytes.size() >= sizeof word) {
            std::memcpy(&word, bytes.data(), sizeof word);
            if ((word & 0x8080808080808080U) == 0) {
                bytes.remove_prefix(sizeof word);
                continue;
            }
        }
        const std::size_t length = characterLength(bytes);
        if (length == 0) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

std::string_view decodeUtf8(std::string_view bytes) {
    return isValidUtf8(bytes) ? bytes : std::string_view();
}

std::string_view trimSpaces(std::string_view text) {
    return trim(text, spaces);
}

std::string_view trimNewlines(std::string_view text) {
    return trim(text, newlines);
}

} // namespace peekmend
