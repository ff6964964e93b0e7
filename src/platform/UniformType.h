#pragma once

#include "platform/Error.h"
#include "platform/FileURL.h"

#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace peekmend {

/// A uniform type and what it conforms to.
struct UniformType {
    std::string identifier;
    /// Every type that this one conforms to, directly or indirectly, without itself and without
    /// duplicates; the nearest first.
    std::vector<std::string> supertypes;

    bool operator==(const UniformType&) const = default;
};

/// What the system knows about the types of files. May be asked from any thread.
class TypeDatabase {
public:
    TypeDatabase() = default;
    TypeDatabase(const TypeDatabase&) = delete;
    TypeDatabase& operator=(const TypeDatabase&) = delete;
    virtual ~TypeDatabase() = default;

    /// The file's content type, or nothing when it has none. Fails when the file cannot be
    /// examined.
    [[nodiscard]] virtual std::expected<std::optional<UniformType>, Error>
    contentType(const FileURL& file) const = 0;

    /// The identifier of the file's type, for a file that has no content type. Fails like
    /// `contentType`.
    [[nodiscard]] virtual std::expected<std::optional<std::string>, Error>
    typeIdentifier(const FileURL& file) const = 0;
};

/// The type database of this system: the built-in types and those that the applications around
/// the registered preview extensions declare. Lives as long as the program.
[[nodiscard]] const TypeDatabase& systemTypeDatabase();

} // namespace peekmend
