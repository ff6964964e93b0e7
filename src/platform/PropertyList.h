#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace peekmend {

/// A property list, XML or binary, whose root is a dictionary. Read-only; values are looked up
/// when asked for. It comes from other people's bundles: whatever is damaged anywhere in the list
/// makes the whole list unreadable, and no content costs more than time and memory linear in the
/// file's size. Immutable once made; may be read from several threads.
class PropertyList {
public:
    /// Files larger than this count as unreadable, in bytes.
    static constexpr std::size_t maximumFileSize = std::size_t{1024} * 1024;

    /// What all values of a list may take together when each is read out once, in bytes: in a small
    /// binary list one long text may stand in a million places.
    static constexpr std::size_t maximumTotalSize = 4 * maximumFileSize;

    class Form;

    /// One value inside a list. Valid as long as the list that it came from, or a copy of it.
    class Value {
    public:
        /// The entry of a dictionary under `key`. None when this is not a dictionary or has no
        /// such key; of two entries with one key, the last.
        [[nodiscard]] std::optional<Value> at(std::string_view key) const;
        /// The elements of an array, in order. None when this is not an array.
        [[nodiscard]] std::optional<std::vector<Value>> elements() const;
        /// The text of a string, as UTF-8. None when this is not a string.
        [[nodiscard]] std::optional<std::string> string() const;
        /// The texts of an array that holds nothing but strings, in order. None otherwise.
        [[nodiscard]] std::optional<std::vector<std::string>> strings() const;

    private:
        friend class PropertyList;

        Value(const Form& form, const void* place) : m_form(&form), m_place(place) {}

        const Form* m_form;
        const void* m_place;
    };

    /// What the XML and the binary form have in common. A place is where a value stands: only the
    /// form that handed it out can read it.
    class Form {
    public:
        Form() = default;
        Form(const Form&) = delete;
        Form& operator=(const Form&) = delete;
        virtual ~Form() = default;

        [[nodiscard]] virtual Value root() const = 0;
        [[nodiscard]] virtual std::optional<Value> at(const void* place,
                                                      std::string_view key) const = 0;
        [[nodiscard]] virtual std::optional<std::vector<Value>>
        elements(const void* place) const = 0;
        [[nodiscard]] virtual std::optional<std::string> string(const void* place) const = 0;

    protected:
        [[nodiscard]] Value value(const void* place) const { return {*this, place}; }
    };

    /// Reads the file at `path`. None when it is missing, unreadable, too large, not a regular
    /// file (it is not waited for), or not such a property list.
    [[nodiscard]] static std::optional<PropertyList> read(const std::string& path);

    /// Parses the bytes of a file.
    [[nodiscard]] static std::optional<PropertyList> parse(std::string bytes);

    /// The root, a dictionary.
    [[nodiscard]] Value root() const { return m_form->root(); }

private:
    explicit PropertyList(std::shared_ptr<const Form> form) : m_form(std::move(form)) {}

    std::shared_ptr<const Form> m_form;
};

/// Adds a Unicode scalar value to UTF-8 text. False, and nothing added, when it is none: a
/// surrogate or above U+10FFFF.
[[nodiscard]] bool appendUtf8(std::string& text, std::uint32_t character);

/// UTF-16 text as UTF-8. None when a surrogate is unpaired or the last unit is cut.
[[nodiscard]] std::optional<std::string> utf8FromUtf16(std::string_view bytes, std::endian order);

} // namespace peekmend
