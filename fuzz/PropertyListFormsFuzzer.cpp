// A list written in both forms: each form reads it, and both give the same answers everywhere.

#include "Require.h"
#include "platform/BundleInfo.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using peekmend::PropertyList;
using Text = std::u32string;

/// What texts are made of: what means something in XML, and the limits of the encodings.
const Text alphabet = U"a.;!]<>&\"' \t\n\r"
                      U"\u0080\u07FF\u0800\uD7FF\uE000\uFEFF\U00010000\U0010FFFF";

/// The keys on the way to the declared types.
const std::vector<Text> wayKeys{U"NSExtension", U"NSExtensionAttributes",
                                U"QLSupportedContentTypes"};

/// Values that are neither texts nor containers, in both forms.
const std::vector<std::pair<std::string, std::string>> scalars{
    {"<true/>", "\x09"},
    {"<false></false>", "\x08"},
    {"<integer>7</integer>", "\x10\x07"},
    {"<integer>0x1Ff</integer>", "\x11\x01\xFF"},
    {"<real>2</real>", {"\x22\x40\0\0\0", 5}},
    {"<real>-2e0</real>", {"\x23\xC0\0\0\0\0\0\0\0", 9}},
    {"<date>2001-01-01T00:00:00Z</date>", {"\x33\0\0\0\0\0\0\0\0", 9}},
    {"<data> Tk\n 9P </data>", "\x43NOO"}};

/// What may stand before an element.
const std::vector<std::string> gaps{"", "\n\t", "<!-- > -->", " <?a b?>\r\n"};

/// A big-endian number.
std::string number(std::size_t value, std::size_t size) {
    return size == 0 ? "" : number(value >> 8U, size - 1) + static_cast<char>(value & 0xFFU);
}

/// How many bytes it takes at least.
std::size_t sizeOf(std::size_t value) {
    return (static_cast<std::size_t>(std::bit_width(value)) + 7) / 8;
}

/// Converted by the standard library, which does so for paths.
std::string utf8(const Text& text) {
    return std::filesystem::path(text).string();
}

/// Makes up a list of what the fuzzer chooses, and writes it in both forms at once.
struct Writer {
    struct Object {
        std::string begin;
        std::vector<std::size_t> references;
    };

    FuzzedDataProvider choices;
    std::size_t referenceSize = 1 + below(8); ///< At least, as is the next.
    std::size_t offsetSize = 1 + below(8);
    int valuesLeft = 600;
    std::string xml = "<plist>";
    std::vector<Object> objects{};
    std::map<std::string, std::size_t> leaves{}; ///< The numbers of objects to share.
    std::set<std::string> keys{"missing"};       ///< All that occur, and one more.

    /// 0 when the fuzzer has no more to give.
    std::size_t below(std::size_t end) {
        return choices.ConsumeIntegralInRange<std::size_t>(0, end - 1);
    }

    template <typename T>
    const T& oneOf(const std::vector<T>& values) {
        return values[below(values.size())];
    }

    /// What an object of `count` characters or values begins with.
    std::string head(unsigned kind, std::size_t count) {
        if (count < 15) {
            return number((kind << 4U) | count, 1);
        }
        const std::size_t exponent = count < 256 ? below(4) : 1 + below(3);
        return number((kind << 12U) | 0xF10U | exponent, 2) + number(count, 1U << exponent);
    }

    std::size_t addObject(Object object) {
        objects.push_back(std::move(object));
        return objects.size() - 1;
    }

    /// An object without references. Equal ones may be shared.
    std::size_t addLeaf(const std::string& bytes) {
        const auto [known, isNew] = leaves.try_emplace(bytes, objects.size());
        return isNew || below(2) == 1 ? addObject({bytes, {}}) : known->second;
    }

    Text anyText() {
        // A list of nothing but long ones would be too large a file.
        Text text(below(16) == 15 && xml.size() < 100'000 ? 300 : 0, U'a');
        for (std::size_t left = below(20); left > 0; --left) {
            text += alphabet[below(alphabet.size())];
        }
        return text;
    }

    std::size_t addText(const std::string& element, const Text& text) {
        xml += oneOf(gaps) + "<" + element + ">";
        const std::size_t style = below(4);
        for (const char32_t c : text) {
            const std::string raw = utf8({c});
            const bool isMark = Text(U"<>&\r").contains(c);
            xml += style == 0 && !isMark      ? raw
                   : style == 1 && c != U'\r' ? "<![CDATA[" + raw + "]]>"
                   : style == 2 && !isMark    ? raw + "<!-- < -->"
                                              : "&#" + std::to_string(std::uint32_t{c}) + ";";
        }
        xml += "</" + element + ">";

        const std::string bytes = utf8(text);
        if (bytes.size() == text.size() && below(4) != 3) {
            return addLeaf(head(0x5, bytes.size()) + bytes);
        }
        const std::u16string units = std::filesystem::path(text).u16string();
        std::string object = head(0x6, units.size());
        for (const char16_t unit : units) {
            object += number(unit, 2);
        }
        return addLeaf(object);
    }

    /// A value at a step of the way to the declared types, or off it. Returns its number.
    std::size_t addValue(std::size_t step, int depth) {
        enum Kind : std::uint8_t { text, scalar, array, dictionary };

        constexpr std::array usual{dictionary, dictionary, dictionary, array, text};
        const bool isUsual = step == 0 || (step < usual.size() && below(8) != 7);
        const auto kind = isUsual ? usual[step] : static_cast<Kind>(below(depth < 6 ? 4 : 2));
        if (kind == text) {
            return addText("string", anyText());
        }
        if (kind == scalar) {
            const auto& [element, object] = oneOf(scalars);
            xml += oneOf(gaps) + element;
            return addLeaf(object);
        }
        const std::size_t place = addObject({});
        const std::string name = kind == array ? "array" : "dict";
        xml += oneOf(gaps) + "<" + name + ">";
        std::vector<std::size_t> references;
        std::vector<std::size_t> values;
        const std::size_t many = kind == array ? 300 : 20;
        for (std::size_t left = below(32) == 31 ? many : below(6); left > 0 && valuesLeft > 0;
             --left, --valuesLeft) {
            bool goesOn = isUsual;
            if (kind == dictionary) {
                goesOn = isUsual && below(2) == 1;
                const Text key = goesOn          ? wayKeys[step]
                                 : below(2) == 1 ? oneOf(wayKeys)
                                                 : anyText();
                keys.insert(utf8(key));
                references.push_back(addText("key", key));
            }
            values.push_back(addValue(goesOn ? step + 1 : usual.size(), depth + 1));
        }
        xml += oneOf(gaps) + "</" + name + ">";
        references.insert(references.end(), values.begin(), values.end());
        objects[place] = {head(kind == array ? 0xA : 0xD, values.size()), references};
        return place;
    }

    std::string binary() {
        referenceSize = std::max(referenceSize, sizeOf(objects.size()));
        std::string bytes = "bplist00";
        std::vector<std::size_t> offsets;
        for (const auto& [begin, references] : objects) {
            offsets.push_back(bytes.size());
            bytes += begin;
            for (const std::size_t reference : references) {
                bytes += number(reference, referenceSize);
            }
        }
        const std::size_t tableOffset = bytes.size();
        offsetSize = std::max(offsetSize, sizeOf(tableOffset));
        for (const std::size_t offset : offsets) {
            bytes += number(offset, offsetSize);
        }
        return bytes + number(offsetSize, 7) + number(referenceSize, 1) +
               number(objects.size(), 8) + number(0, 8) + number(tableOffset, 8);
    }
};

void compare(const PropertyList::Value& xml, const PropertyList::Value& binary,
             const std::set<std::string>& keys) {
    require(xml.string() == binary.string());
    require(xml.strings() == binary.strings());
    const auto elements = xml.elements();
    const auto others = binary.elements();
    require(elements.has_value() == others.has_value());
    require(!elements || elements->size() == others->size());
    for (std::size_t index = 0; elements && index < elements->size(); ++index) {
        compare((*elements)[index], (*others)[index], keys);
    }
    for (const std::string& key : keys) {
        const auto entry = xml.at(key);
        const auto other = binary.at(key);
        require(entry.has_value() == other.has_value());
        if (entry) {
            compare(*entry, *other, keys);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Writer writer{.choices{data, size}};
    writer.addValue(0, 0);
    const auto xml = PropertyList::parse(writer.xml + "</plist>");
    const auto binary = PropertyList::parse(writer.binary());
    require(xml.has_value() && binary.has_value());
    compare(xml->root(), binary->root(), writer.keys);
    require(peekmend::declaredContentTypes({*xml, false}) ==
            peekmend::declaredContentTypes({*binary, false}));
    return 0;
}
