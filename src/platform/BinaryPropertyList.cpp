#include "platform/BinaryPropertyList.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace peekmend {

namespace {

constexpr std::string_view magic = "bplist0";
constexpr std::size_t headerSize = magic.size() + 1;
constexpr std::size_t trailerSize = 32;

/// A kind's number is the upper half of the marker byte that an object begins with.
enum class Kind : std::uint8_t {
    simple = 0x0,
    integer = 0x1,
    real = 0x2,
    date = 0x3,
    data = 0x4,
    asciiString = 0x5,
    utf16String = 0x6,
    identifier = 0x8,
    array = 0xA,
    set = 0xC,
    dictionary = 0xD,
};

bool isString(Kind kind) {
    return kind == Kind::asciiString || kind == Kind::utf16String;
}

bool isContainer(Kind kind) {
    return kind == Kind::array || kind == Kind::set || kind == Kind::dictionary;
}

/// An object whose payload lies inside the file.
struct Object {
    Kind kind = Kind::simple;
    std::size_t count = 0; ///< Characters, references, pairs of references or bytes.
    std::string_view payload;
};

bool isAscii(std::string_view text) {
    std::uint8_t all = 0;
    // Without a way out, so that many bytes are looked at together.
    for (const char byte : text) {
        all |= static_cast<std::uint8_t>(byte);
    }
    return all < 0x80;
}

/// Whether no surrogate stands alone in big-endian UTF-16.
bool isUtf16(std::string_view text) {
    const auto kindAt = [&](std::size_t index) {
        return index < text.size() ? static_cast<std::uint8_t>(text[index]) & 0xFCU : 0;
    };
    for (std::size_t index = 0; index < text.size(); index += 2) {
        if (kindAt(index) == 0xD8) {
            index += 2;
            if (kindAt(index) != 0xDC) {
                return false;
            }
        } else if (kindAt(index) == 0xDC) {
            return false;
        }
    }
    return true;
}

/// A big-endian number of 1 to 8 bytes.
std::uint64_t numberFrom(const char* bytes, std::size_t size) {
    std::uint64_t number = 0;
    for (const char byte : std::span(bytes, size)) {
        number = (number << 8U) | static_cast<std::uint8_t>(byte);
    }
    return number;
}

class BinaryForm final : public PropertyList::Form {
public:
    explicit BinaryForm(std::string bytes) : m_bytes(std::move(bytes)) {}

    /// To be called once, before anything else. False when the list is damaged.
    [[nodiscard]] bool load() { return readTrailer() && areObjectsIntact(); }

    [[nodiscard]] PropertyList::Value root() const override { return value(placeOf(m_topObject)); }

    [[nodiscard]] std::optional<PropertyList::Value> at(const void* place,
                                                        std::string_view key) const override {
        const auto dictionary = objectAt(place);
        if (!dictionary || dictionary->kind != Kind::dictionary) {
            return std::nullopt;
        }
        for (std::size_t index = dictionary->count; index-- > 0;) {
            if (isText(placeOf(reference(*dictionary, index)), key)) {
                return value(placeOf(reference(*dictionary, dictionary->count + index)));
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<std::vector<PropertyList::Value>>
    elements(const void* place) const override {
        const auto array = objectAt(place);
        if (!array || array->kind != Kind::array) {
            return std::nullopt;
        }
        std::vector<PropertyList::Value> values;
        values.reserve(array->count);
        for (std::size_t index = 0; index < array->count; ++index) {
            values.push_back(value(placeOf(reference(*array, index))));
        }
        return values;
    }

    [[nodiscard]] std::optional<std::string> string(const void* place) const override {
        const auto object = objectAt(place);
        if (object && object->kind == Kind::asciiString) {
            return std::string(object->payload);
        }
        if (object && object->kind == Kind::utf16String) {
            return utf8FromUtf16(object->payload, std::endian::big);
        }
        return std::nullopt;
    }

private:
    /// What the containers that were looked at hold.
    struct Holdings {
        std::vector<bool> isHeld; ///< By object: whether one of them holds this container.
        std::size_t size = 0;     ///< Of all that they hold, read out at once, in bytes.
    };

    [[nodiscard]] bool readTrailer() {
        if (m_bytes.size() < headerSize + trailerSize) {
            return false;
        }
        // Six bytes that mean nothing here, then two sizes and three numbers of eight bytes.
        const char* const trailer = m_bytes.data() + m_bytes.size() - trailerSize;
        m_offsetSize = numberFrom(trailer + 6, 1);
        m_referenceSize = numberFrom(trailer + 7, 1);
        m_objectCount = numberFrom(trailer + 8, 8);
        m_topObject = numberFrom(trailer + 16, 8);
        m_tableOffset = numberFrom(trailer + 24, 8);
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8 ||
            m_topObject >= m_objectCount || m_tableOffset <= headerSize ||
            m_tableOffset > m_bytes.size() - trailerSize) {
            return false;
        }
        // The table fills the file up to the trailer.
        const std::size_t tableSize = m_bytes.size() - trailerSize - m_tableOffset;
        return tableSize % m_offsetSize == 0 && tableSize / m_offsetSize == m_objectCount;
    }

    /// Looks at each object once and follows no reference. Writers give each object its own bytes;
    /// objects that share them could make this as long as the file's size squared, so together
    /// they may not exceed the file. Nor do writers hold one container in two places: that, one
    /// that holds itself, or a long text held everywhere could make a small list an endless one to
    /// whoever walks it.
    [[nodiscard]] bool areObjectsIntact() const {
        std::size_t unclaimed = m_tableOffset - headerSize;
        std::vector<Object> objects;
        objects.reserve(m_objectCount);
        for (std::uint64_t index = 0; index < m_objectCount; ++index) {
            const std::uint64_t offset = offsetOf(index);
            if (offset < headerSize || offset >= m_tableOffset) {
                return false;
            }
            const char* const place = m_bytes.data() + offset;
            const auto object = objectAt(place);
            if (!object) {
                return false;
            }
            const char* const end = object->payload.data() + object->payload.size();
            const auto size = static_cast<std::size_t>(end - place);
            if (size > unclaimed || !isTextIntact(*object)) {
                return false;
            }
            unclaimed -= size;
            objects.push_back(*object);
        }
        Holdings holdings{std::vector<bool>(m_objectCount), 0};
        holdings.isHeld[m_topObject] = true;
        return objects[m_topObject].kind == Kind::dictionary &&
               std::ranges::all_of(objects, [&](const Object& object) {
                   return !isContainer(object.kind) ||
                          areReferencesIntact(object, objects, holdings);
               });
    }

    [[nodiscard]] static bool isTextIntact(const Object& object) {
        switch (object.kind) {
        case Kind::asciiString:
            return isAscii(object.payload);
        case Kind::utf16String:
            return isUtf16(object.payload);
        default:
            return true;
        }
    }

    [[nodiscard]] bool areReferencesIntact(const Object& container,
                                           const std::vector<Object>& objects,
                                           Holdings& holdings) const {
        const std::size_t keyCount = container.kind == Kind::dictionary ? container.count : 0;
        const std::size_t referenceCount = container.count + keyCount;
        for (std::size_t index = 0; index < referenceCount; ++index) {
            const std::uint64_t target = reference(container, index);
            if (target >= m_objectCount) {
                return false;
            }
            const Object& held = objects[target];
            if (index < keyCount && !isString(held.kind)) {
                return false;
            }
            if (isContainer(held.kind)) {
                if (holdings.isHeld[target]) {
                    return false;
                }
                holdings.isHeld[target] = true;
            }
            holdings.size += sizeof(std::string) + held.payload.size();
            if (holdings.size > PropertyList::maximumTotalSize) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] std::uint64_t offsetOf(std::uint64_t index) const {
        return numberFrom(m_bytes.data() + m_tableOffset + index * m_offsetSize, m_offsetSize);
    }

    /// Where the object of a list that is known to be intact begins.
    [[nodiscard]] const char* placeOf(std::uint64_t index) const {
        return m_bytes.data() + offsetOf(index);
    }

    [[nodiscard]] std::uint64_t reference(const Object& object, std::size_t index) const {
        return numberFrom(object.payload.data() + index * m_referenceSize, m_referenceSize);
    }

    [[nodiscard]] static Kind kindAt(const char* place) {
        return static_cast<Kind>(static_cast<std::uint8_t>(*place) >> 4U);
    }

    /// The object at a place inside the object area. None when its marker is unknown or it does
    /// not end inside this area.
    [[nodiscard]] std::optional<Object> objectAt(const void* place) const {
        const char* next = static_cast<const char*>(place);
        const char* const end = m_bytes.data() + m_tableOffset;
        const Kind kind = kindAt(next);
        std::uint64_t count = static_cast<std::uint8_t>(*next) & 0xFU;
        std::size_t width = 1;
        ++next;
        switch (kind) {
        case Kind::simple:
            // Nothing, false, true and filler.
            if (count != 0x0 && count != 0x8 && count != 0x9 && count != 0xF) {
                return std::nullopt;
            }
            return Object{.kind = kind, .count = 0, .payload = {next, next}};
        case Kind::integer:
            if (count > 4) {
                return std::nullopt;
            }
            count = std::uint64_t{1} << count;
            break;
        case Kind::real:
            if (count != 2 && count != 3) {
                return std::nullopt;
            }
            count = std::uint64_t{1} << count;
            break;
        case Kind::date:
            if (count != 3) {
                return std::nullopt;
            }
            count = 8;
            break;
        case Kind::identifier:
            ++count;
            break;
        case Kind::data:
        case Kind::asciiString:
            width = 1;
            break;
        case Kind::utf16String:
            width = 2;
            break;
        case Kind::array:
        case Kind::set:
            width = m_referenceSize;
            break;
        case Kind::dictionary:
            width = 2 * m_referenceSize;
            break;
        default:
            return std::nullopt;
        }
        const bool isCounted = kind >= Kind::data && kind != Kind::identifier;
        if (isCounted && count == 0xF) {
            // The count follows, as an integer object.
            if (next == end || kindAt(next) != Kind::integer) {
                return std::nullopt;
            }
            const unsigned exponent = static_cast<std::uint8_t>(*next) & 0xFU;
            ++next;
            const std::size_t size = std::size_t{1} << exponent;
            if (size > sizeof count || size > static_cast<std::size_t>(end - next)) {
                return std::nullopt;
            }
            count = numberFrom(next, size);
            next += size;
        }
        // Without a division, and without an overflow: what is left of the file is no more than its
        // greatest size.
        const auto left = static_cast<std::size_t>(end - next);
        if (count > left || count * width > left) {
            return std::nullopt;
        }
        return Object{.kind = kind, .count = count, .payload = {next, count * width}};
    }

    /// Whether the object is a string of this text. Takes time by the length of `text` only, as
    /// many keys may be one long string.
    [[nodiscard]] bool isText(const char* place, std::string_view text) const {
        const auto object = objectAt(place);
        if (!object) {
            return false;
        }
        if (object->kind == Kind::utf16String) {
            // A unit takes one to three bytes in UTF-8.
            return object->count <= text.size() && text.size() / 3 <= object->count &&
                   utf8FromUtf16(object->payload, std::endian::big) == text;
        }
        return object->kind == Kind::asciiString && object->payload == text;
    }

    std::string m_bytes;
    std::size_t m_offsetSize = 0;
    std::size_t m_referenceSize = 0;
    std::uint64_t m_objectCount = 0;
    std::uint64_t m_topObject = 0;
    std::size_t m_tableOffset = 0; ///< Objects lie between the header and this.
};

} // namespace

bool isBinaryPropertyList(std::string_view bytes) {
    return bytes.starts_with(magic);
}

std::shared_ptr<const PropertyList::Form> parseBinaryPropertyList(std::string bytes) {
    auto form = std::make_shared<BinaryForm>(std::move(bytes));
    return form->load() ? form : nullptr;
}

} // namespace peekmend
