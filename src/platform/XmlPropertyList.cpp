#include "platform/XmlPropertyList.h"

#include "platform/Text.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <system_error>

namespace peekmend {

namespace {

enum class Kind : std::uint8_t {
    unknown,
    dictionary,
    array,
    key,
    string,
    integer,
    real,
    date,
    data,
    boolean,
};

Kind kindOf(pugi::xml_node element) {
    const std::string_view name = element.name();
    const auto kindIf = [&](std::string_view expected, Kind kind) {
        return name == expected ? kind : Kind::unknown;
    };
    // By length first: every element of every list comes through here.
    switch (name.size()) {
    case 3:
        return kindIf("key", Kind::key);
    case 4:
        return name == "dict"   ? Kind::dictionary
               : name == "true" ? Kind::boolean
               : name == "real" ? Kind::real
               : name == "date" ? Kind::date
                                : kindIf("data", Kind::data);
    case 5:
        return name == "array" ? Kind::array : kindIf("false", Kind::boolean);
    case 6:
        return kindIf("string", Kind::string);
    case 7:
        return kindIf("integer", Kind::integer);
    default:
        return Kind::unknown;
    }
}

bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

bool isBlank(std::string_view text) {
    return std::ranges::all_of(text, [](char character) { return isBlank(character); });
}

std::string_view trimBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

/// Adds what the reference (the text between "&" and ";") stands for. False when it is not one of
/// the five entities and no character: entities that a document declares are never expanded.
bool appendReference(std::string& text, std::string_view reference) {
    static constexpr std::array<std::pair<std::string_view, char>, 5> entities{{
        {"amp", '&'},
        {"lt", '<'},
        {"gt", '>'},
        {"quot", '"'},
        {"apos", '\''},
    }};
    if (!reference.starts_with('#')) {
        const auto* const found =
            std::ranges::find(entities, reference, &std::pair<std::string_view, char>::first);
        if (found == entities.end()) {
            return false;
        }
        text.push_back(found->second);
        return true;
    }
    const bool isHexadecimal = reference.starts_with("#x");
    reference.remove_prefix(isHexadecimal ? 2 : 1);
    const char* const end = reference.data() + reference.size();
    std::uint32_t character = 0;
    const auto parsed = std::from_chars(reference.data(), end, character, isHexadecimal ? 16 : 10);
    return parsed.ec == std::errc() && parsed.ptr == end && character != 0 &&
           appendUtf8(text, character);
}

/// Adds `source` with its references replaced. False when one of them is damaged.
bool appendDecoded(std::string& text, std::string_view source) {
    for (auto start = source.find('&'); start != std::string_view::npos; start = source.find('&')) {
        text += source.substr(0, start);
        source.remove_prefix(start + 1);
        const auto end = source.find(';');
        if (end == std::string_view::npos || !appendReference(text, source.substr(0, end))) {
            return false;
        }
        source.remove_prefix(end + 1);
    }
    text += source;
    return true;
}

/// Replaces `text` by what the element holds. The parser splits text around comments and CDATA,
/// and keeps its first part in the element itself. False when there is more than text.
bool readText(std::string& text, pugi::xml_node element) {
    text.clear();
    if (!appendDecoded(text, element.value())) {
        return false;
    }
    for (auto part = element.first_child(); part; part = part.next_sibling()) {
        if (part.type() == pugi::node_cdata) {
            text += part.value();
        } else if (part.type() != pugi::node_pcdata || !appendDecoded(text, part.value())) {
            return false;
        }
    }
    return true;
}

/// Whether the element's value is its text, as nearly always: nothing to put together or replace.
bool isPlainText(pugi::xml_node element, bool mayHaveReferences) {
    return !element.first_child() &&
           !(mayHaveReferences && std::string_view(element.value()).contains('&'));
}

/// Whether a comment, CDATA or an instruction may stand in some text of the document.
bool mayTextBeSplit(std::string_view document) {
    const std::size_t declaration = document.find('<') + 1;
    for (const char mark : {'!', '?'}) {
        for (auto index = document.find(mark); index < document.size();
             index = document.find(mark, index + 1)) {
            if (index != declaration && document.substr(0, index).ends_with('<') &&
                !document.substr(index + 1).starts_with("DOCTYPE")) {
                return true;
            }
        }
    }
    return false;
}

bool isText(pugi::xml_node element, std::string_view expected, bool mayHaveReferences) {
    if (isPlainText(element, mayHaveReferences)) {
        return element.value() == expected;
    }
    std::string text;
    return readText(text, element) && text == expected;
}

bool isInteger(std::string_view text) {
    text = trimBlanks(text);
    if (text.starts_with('-') || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::string_view digits = "0123456789";
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        digits = "0123456789abcdefABCDEF";
    }
    return !text.empty() && text.find_first_not_of(digits) == std::string_view::npos;
}

bool isReal(std::string_view text) {
    text = trimBlanks(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    return parsed.ec != std::errc::invalid_argument && parsed.ptr == end;
}

bool isDate(std::string_view text) {
    static constexpr std::string_view pattern = "0000-00-00T00:00:00Z";
    return std::ranges::equal(trimBlanks(text), pattern, [](char character, char expected) {
        return expected == '0' ? character >= '0' && character <= '9' : character == expected;
    });
}

bool isData(std::string_view text) {
    return std::ranges::all_of(text, [](char character) {
        return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
               (character >= '0' && character <= '9') || character == '+' || character == '/' ||
               character == '=' || isBlank(character);
    });
}

bool isIntactLeaf(Kind kind, pugi::xml_node element, bool mayHaveReferences, std::string& text) {
    if ((kind == Kind::key || kind == Kind::string) && isPlainText(element, mayHaveReferences)) {
        return true;
    }
    if (!readText(text, element)) {
        return false;
    }
    switch (kind) {
    case Kind::key:
    case Kind::string:
        return true;
    case Kind::integer:
        return isInteger(text);
    case Kind::real:
        return isReal(text);
    case Kind::date:
        return isDate(text);
    case Kind::data:
        return isData(text);
    case Kind::boolean:
        return isBlank(text);
    case Kind::dictionary:
    case Kind::array:
    case Kind::unknown:
        break;
    }
    return false;
}

bool hasIntactAttributes(pugi::xml_node element, std::string& text) {
    for (auto attribute = element.first_attribute(); attribute;
         attribute = attribute.next_attribute()) {
        text.clear();
        if (!appendDecoded(text, attribute.value())) {
            return false;
        }
    }
    return true;
}

/// The only element among the children. Null when there is none, another one, or text beside it.
pugi::xml_node onlyElement(pugi::xml_node parent) {
    pugi::xml_node only;
    for (auto child = parent.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element && !only) {
            only = child;
        } else if (child.type() == pugi::node_element || !isBlank(child.value())) {
            return {};
        }
    }
    return only;
}

/// Whether all that the dictionary holds is as it should be. Without recursion: a list may be
/// nested as deep as the file is long.
bool isIntact(pugi::xml_node top, bool mayHaveReferences) {
    std::string text;
    const auto isBegunWell = [&](pugi::xml_node element) {
        return !mayHaveReferences || hasIntactAttributes(element, text);
    };
    if (!isBlank(top.value()) || !isBegunWell(top)) {
        return false;
    }
    pugi::xml_node container = top;
    bool isInDictionary = true;
    bool isKeyDue = true;
    pugi::xml_node node = top.first_child();
    while (true) {
        if (!node) {
            if (isInDictionary && !isKeyDue) {
                return false;
            }
            if (container == top) {
                return true;
            }
            // The container that ends here was a value of the one around it.
            isKeyDue = true;
            node = container.next_sibling();
            container = container.parent();
            isInDictionary = kindOf(container) == Kind::dictionary;
            continue;
        }
        if (node.type() != pugi::node_element) {
            if (!isBlank(node.value())) {
                return false;
            }
            node = node.next_sibling();
            continue;
        }
        const Kind kind = kindOf(node);
        if ((kind == Kind::key) != (isInDictionary && isKeyDue) || !isBegunWell(node)) {
            return false;
        }
        isKeyDue = !isKeyDue;
        if (kind == Kind::dictionary || kind == Kind::array) {
            if (!isBlank(node.value())) {
                return false;
            }
            container = node;
            isInDictionary = kind == Kind::dictionary;
            isKeyDue = true;
            node = node.first_child();
        } else if (isIntactLeaf(kind, node, mayHaveReferences, text)) {
            node = node.next_sibling();
        } else {
            return false;
        }
    }
}

class XmlForm final : public PropertyList::Form {
public:
    explicit XmlForm(std::string bytes) : m_bytes(std::move(bytes)) {}

    /// To be called once, before anything else. False when the list is damaged.
    [[nodiscard]] bool load() {
        if (!convertToUtf8()) {
            return false;
        }
        // References are left to us: the parser would keep damaged ones and cut the text at NUL.
        // As a fragment, so that text outside of the root is seen. White space between the parts
        // of a text belongs to it; elsewhere it would double the number of nodes.
        m_mayHaveReferences = m_bytes.contains('&');
        const unsigned whiteSpace =
            mayTextBeSplit(m_bytes) ? pugi::parse_ws_pcdata : pugi::parse_ws_pcdata_single;
        const pugi::xml_parse_result parsed =
            m_document.load_buffer_inplace(m_bytes.data(), m_bytes.size(),
                                           pugi::parse_cdata | pugi::parse_eol | whiteSpace |
                                               pugi::parse_embed_pcdata | pugi::parse_fragment,
                                           pugi::encoding_utf8);
        if (!parsed) {
            return false;
        }
        const pugi::xml_node list = onlyElement(m_document.root());
        std::string text;
        if (list.name() != std::string_view("plist") || !isBlank(list.value()) ||
            !hasIntactAttributes(list, text)) {
            return false;
        }
        m_root = onlyElement(list);
        return kindOf(m_root) == Kind::dictionary && isIntact(m_root, m_mayHaveReferences);
    }

    [[nodiscard]] PropertyList::Value root() const override {
        return value(m_root.internal_object());
    }

    [[nodiscard]] std::optional<PropertyList::Value> at(const void* place,
                                                        std::string_view key) const override {
        const pugi::xml_node dictionary = nodeAt(place);
        if (kindOf(dictionary) != Kind::dictionary) {
            return std::nullopt;
        }
        std::optional<PropertyList::Value> found;
        bool isKey = true;
        bool isMatch = false;
        for (auto child = dictionary.first_child(); child; child = child.next_sibling()) {
            if (child.type() != pugi::node_element) {
                continue;
            }
            if (isKey) {
                isMatch = isText(child, key, m_mayHaveReferences);
            } else if (isMatch) {
                found = value(child.internal_object());
            }
            isKey = !isKey;
        }
        return found;
    }

    [[nodiscard]] std::optional<std::vector<PropertyList::Value>>
    elements(const void* place) const override {
        const pugi::xml_node array = nodeAt(place);
        if (kindOf(array) != Kind::array) {
            return std::nullopt;
        }
        std::vector<PropertyList::Value> values;
        for (auto child = array.first_child(); child; child = child.next_sibling()) {
            if (child.type() == pugi::node_element) {
                values.push_back(value(child.internal_object()));
            }
        }
        return values;
    }

    [[nodiscard]] std::optional<std::string> string(const void* place) const override {
        const pugi::xml_node element = nodeAt(place);
        if (kindOf(element) != Kind::string) {
            return std::nullopt;
        }
        if (isPlainText(element, m_mayHaveReferences)) {
            return element.value();
        }
        std::string text;
        return readText(text, element) ? std::optional(std::move(text)) : std::nullopt;
    }

private:
    /// The parser drops what it cannot convert, so it gets nothing but sound UTF-8 without NUL.
    [[nodiscard]] bool convertToUtf8() {
        using namespace std::string_view_literals;
        std::optional<std::endian> order;
        if (m_bytes.starts_with("\xFE\xFF"sv) || m_bytes.starts_with("\0<"sv)) {
            order = std::endian::big;
        } else if (m_bytes.starts_with("\xFF\xFE"sv) || m_bytes.starts_with("<\0"sv)) {
            order = std::endian::little;
        }
        if (order) {
            auto text = utf8FromUtf16(m_bytes, *order);
            if (!text) {
                return false;
            }
            m_bytes = *std::move(text);
        }
        return !m_bytes.contains('\0') && isValidUtf8(m_bytes);
    }

    [[nodiscard]] static pugi::xml_node nodeAt(const void* place) {
        // The parser's handle is not const, but nothing is changed through it.
        return pugi::xml_node(
            static_cast<pugi::xml_node_struct*>(const_cast<void*>(place))); // NOLINT(*-const-cast)
    }

    std::string m_bytes; ///< Parsed in place: the document's texts are here.
    bool m_mayHaveReferences = true;
    pugi::xml_document m_document;
    pugi::xml_node m_root;
};

} // namespace

std::shared_ptr<const PropertyList::Form> parseXmlPropertyList(std::string bytes) {
    auto form = std::make_shared<XmlForm>(std::move(bytes));
    return form->load() ? form : nullptr;
}

} // namespace peekmend
