#include "platform/PropertyList.h"

#include "platform/BinaryPropertyList.h"
#include "platform/XmlPropertyList.h"
#include "platform/linux/FileStorage.h"

namespace peekmend {

std::optional<PropertyList> PropertyList::read(const std::string& path) {
    auto bytes = readRegularFile(path, maximumFileSize);
    return bytes ? parse(*std::move(bytes)) : std::nullopt;
}

std::optional<PropertyList> PropertyList::parse(std::string bytes) {
    if (bytes.size() > maximumFileSize) {
        return std::nullopt;
    }
    auto form = isBinaryPropertyList(bytes) ? parseBinaryPropertyList(std::move(bytes))
                                            : parseXmlPropertyList(std::move(bytes));
    if (!form) {
        return std::nullopt;
    }
    return PropertyList(std::move(form));
}

std::optional<PropertyList::Value> PropertyList::Value::at(std::string_view key) const {
    return m_form->at(m_place, key);
}

std::optional<std::vector<PropertyList::Value>> PropertyList::Value::elements() const {
    return m_form->elements(m_place);
}

std::optional<std::string> PropertyList::Value::string() const {
    return m_form->string(m_place);
}

std::optional<std::vector<std::string>> PropertyList::Value::strings() const {
    const auto values = elements();
    if (!values) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    texts.reserve(values->size());
    for (const Value& value : *values) {
        auto text = value.string();
        if (!text) {
            return std::nullopt;
        }
        texts.push_back(*std::move(text));
    }
    return texts;
}

bool appendUtf8(std::string& text, std::uint32_t character) {
    const auto append = [&](std::uint32_t byte) {
        text.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
    };
    const auto appendTrailing = [&](unsigned shift) {
        append(0x80U | ((character >> shift) & 0x3FU));
    };
    if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF)) {
        return false;
    }
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0U | (character >> 6U));
        appendTrailing(0);
    } else if (character < 0x10000) {
        append(0xE0U | (character >> 12U));
        appendTrailing(6);
        appendTrailing(0);
    } else {
        append(0xF0U | (character >> 18U));
        appendTrailing(12);
        appendTrailing(6);
        appendTrailing(0);
    }
    return true;
}

std::optional<std::string> utf8FromUtf16(std::string_view bytes, std::endian order) {
    if (bytes.size() % 2 != 0) {
        return std::nullopt;
    }
    const auto unitAt = [&](std::size_t index) {
        const auto first = static_cast<std::uint8_t>(bytes[index]);
        const auto second = static_cast<std::uint8_t>(bytes[index + 1]);
        return order == std::endian::big ? (std::uint32_t{first} << 8U) | second
                                         : (std::uint32_t{second} << 8U) | first;
    };
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t index = 0; index < bytes.size(); index += 2) {
        std::uint32_t character = unitAt(index);
        if (character < 0x80) {
            text.push_back(static_cast<char>(character));
            continue;
        }
        if (character >= 0xD800 && character <= 0xDBFF && index + 2 < bytes.size()) {
            const std::uint32_t low = unitAt(index + 2);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                character = 0x10000 + ((character - 0xD800) << 10U) + (low - 0xDC00);
                index += 2;
            }
        }
        if (!appendUtf8(text, character)) {
            return std::nullopt;
        }
    }
    return text;
}

} // namespace peekmend
