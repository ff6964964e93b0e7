#include "platform/TypeTable.h"

#include "platform/BuiltInTypes.h"

#include <algorithm>
#include <cstddef>
#include <ranges>
#include <unordered_set>
#include <utility>

namespace peekmend {

namespace {

/// Beyond a file type and a package type, applications that declare the same one again.
constexpr std::size_t maximumTypesPerExtension = 16;

std::string lowerCased(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return result;
}

std::vector<std::string> splitAt(char separator, std::string_view text) {
    std::vector<std::string> pieces;
    for (const auto piece : std::views::split(text, separator)) {
        if (!piece.empty()) {
            pieces.emplace_back(piece.begin(), piece.end());
        }
    }
    return pieces;
}

TypeTable makeBuiltInTypes() {
    TypeTable table;
    // One line a type: identifier, supertypes, extensions, MIME types, separated by tabs.
    for (const std::string& line : splitAt('\n', builtInTypesText) | std::views::drop(1)) {
        std::vector<std::string_view> fields;
        for (const auto field : std::views::split(line, '\t')) {
            fields.emplace_back(field.begin(), field.end());
        }
        table.add({.identifier = std::string(fields.at(0)),
                   .conformsTo = splitAt(',', fields.at(1)),
                   .extensions = splitAt(',', fields.at(2))});
    }
    return table;
}

} // namespace

void TypeTable::add(TypeDeclaration declaration) {
    std::string key = lowerCased(declaration.identifier);
    if (find(key) != nullptr) {
        return;
    }
    for (const std::string& extension : declaration.extensions) {
        auto& identifiers = m_identifiersByExtension[lowerCased(extension)];
        if (identifiers.size() < maximumTypesPerExtension) {
            identifiers.push_back(declaration.identifier);
        }
    }
    m_declarations.emplace(std::move(key), std::move(declaration));
}

std::optional<std::string> TypeTable::identifierForExtension(std::string_view extension,
                                                             FileKind kind) const {
    const auto entry = m_identifiersByExtension.find(lowerCased(extension));
    if (entry == m_identifiersByExtension.end()) {
        return std::nullopt;
    }
    const std::string_view wanted =
        kind == FileKind::directory ? "public.directory" : "public.data";
    const auto found = std::ranges::find_if(
        entry->second, [&](const std::string& identifier) { return conforms(identifier, wanted); });
    if (found == entry->second.end()) {
        return std::nullopt;
    }
    return *found;
}

UniformType TypeTable::type(const std::string& identifier) const {
    const TypeDeclaration* const declaration = find(identifier);
    UniformType result{declaration != nullptr ? declaration->identifier : identifier, {}};

    // Level by level, so that the nearest come first; each once, since types form no tree and
    // foreign declarations may even form a cycle.
    std::unordered_set<std::string> seen{lowerCased(identifier)};
    const auto appendParents = [&](const TypeDeclaration* child) {
        if (child == nullptr) {
            return;
        }
        for (const std::string& parent : child->conformsTo) {
            if (seen.insert(lowerCased(parent)).second) {
                const TypeDeclaration* const known = find(parent);
                result.supertypes.push_back(known != nullptr ? known->identifier : parent);
            }
        }
    };
    appendParents(declaration);
    for (std::size_t next = 0; next < result.supertypes.size(); ++next) {
        appendParents(find(result.supertypes[next]));
    }
    return result;
}

const TypeDeclaration* TypeTable::find(std::string_view identifier) const {
    if (m_base != nullptr) {
        if (const TypeDeclaration* const declaration = m_base->find(identifier)) {
            return declaration;
        }
    }
    const auto entry = m_declarations.find(lowerCased(identifier));
    return entry == m_declarations.end() ? nullptr : &entry->second;
}

bool TypeTable::conforms(const std::string& identifier, std::string_view ancestor) const {
    const std::vector<std::string> supertypes = type(identifier).supertypes;
    return identifier == ancestor || std::ranges::find(supertypes, ancestor) != supertypes.end();
}

const TypeTable& builtInTypes() {
    // Never destroyed: a diagnosis may still run when the program ends.
    static const auto& table = *new TypeTable(makeBuiltInTypes());
    return table;
}

std::string dynamicTypeIdentifier(std::string_view extension) {
    // "Conforms to public.data; has this extension", in base 32 without the letters that are
    // easily confused. The extension's own separators are escaped.
    std::string text = "?0=6:1=";
    for (const char character : lowerCased(extension)) {
        if (character == ':') {
            text += '\\';
        }
        text += character;
    }

    constexpr std::string_view alphabet = "abcdefghkmnpqrstuvwxyz0123456789";
    constexpr unsigned bitsPerCharacter = 5;
    std::string identifier = "dyn.a";
    unsigned pending = 0;
    unsigned pendingBits = 0;
    for (const char character : text) {
        pending = (pending << 8U) | static_cast<unsigned char>(character);
        pendingBits += 8;
        while (pendingBits >= bitsPerCharacter) {
            pendingBits -= bitsPerCharacter;
            identifier += alphabet[(pending >> pendingBits) & 0x1FU];
        }
        pending &= (1U << pendingBits) - 1;
    }
    if (pendingBits > 0) {
        identifier += alphabet[(pending << (bitsPerCharacter - pendingBits)) & 0x1FU];
    }
    return identifier;
}

} // namespace peekmend
