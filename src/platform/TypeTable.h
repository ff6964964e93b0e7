#pragma once

#include "platform/UniformType.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace peekmend {

/// What somebody says about one type.
struct TypeDeclaration {
    std::string identifier;
    /// The types that it conforms to directly.
    std::vector<std::string> conformsTo;
    /// File name extensions, without the dot.
    std::vector<std::string> extensions;
};

/// What a file name extension stands on: some extensions mean one type for files and another for
/// packages, which are folders.
enum class FileKind : std::uint8_t { file, directory };

/// A set of declared types. Identifiers and extensions are compared without regard to the case of
/// ASCII letters; of two declarations of one identifier the first counts.
class TypeTable {
public:
    /// A table of its own, or one that adds to `base`, whose declarations come first. `base` must
    /// live as long as this table.
    explicit TypeTable(const TypeTable* base = nullptr) : m_base(base) {}

    void add(TypeDeclaration declaration);

    /// The identifier of the type that a file or directory with this extension has, by what this
    /// table itself declares.
    [[nodiscard]] std::optional<std::string> identifierForExtension(std::string_view extension,
                                                                    FileKind kind) const;

    /// The type with this identifier and all that it conforms to. One that is not declared
    /// conforms to nothing.
    [[nodiscard]] UniformType type(const std::string& identifier) const;

private:
    [[nodiscard]] const TypeDeclaration* find(std::string_view identifier) const;
    [[nodiscard]] bool conforms(const std::string& identifier, std::string_view ancestor) const;

    const TypeTable* m_base;
    std::unordered_map<std::string, TypeDeclaration> m_declarations;
    std::unordered_map<std::string, std::vector<std::string>> m_identifiersByExtension;
};

/// The types of a clean system.
[[nodiscard]] const TypeTable& builtInTypes();

/// The identifier of files whose extension nobody declares. It encodes the extension.
[[nodiscard]] std::string dynamicTypeIdentifier(std::string_view extension);

} // namespace peekmend
