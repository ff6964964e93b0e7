#include "platform/linux/SystemTypeDatabase.h"

#include "platform/BundleInfo.h"
#include "platform/Text.h"
#include "platform/linux/ExtensionRegistry.h"
#include "platform/linux/PreviewExtensions.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <memory>
#include <ranges>
#include <unordered_set>

namespace peekmend {

namespace {

/// What follows the last dot of a file's name. Empty where the name has no extension; a name that
/// only begins with a dot has none, and neither slashes nor spaces occur in one.
std::string_view extensionOf(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) {
        return {};
    }
    const std::string_view extension = name.substr(dot + 1);
    return extension.contains(' ') ? std::string_view() : extension;
}

/// What no list of a real application exceeds.
constexpr std::size_t maximumDeclarationCount = 1000;
constexpr std::size_t maximumIdentifierSize = 255;

/// Identifiers come from other people's bundles and end up in lists and reports.
bool isPlausibleIdentifier(const std::string& identifier) {
    return !identifier.empty() && identifier.size() <= maximumIdentifierSize &&
           isValidUtf8(identifier) && std::ranges::none_of(identifier, [](char character) {
               const auto byte = static_cast<unsigned char>(character);
               return byte <= ' ' || byte == 0x7F;
           });
}

/// Property lists give a single string where an array would have one element.
std::vector<std::string> oneOrMore(const std::optional<PropertyList::Value>& value) {
    if (!value) {
        return {};
    }
    if (auto text = value->string()) {
        return {*std::move(text)};
    }
    return value->strings().value_or(std::vector<std::string>());
}

void appendDeclarations(std::vector<TypeDeclaration>& declarations, const PropertyList& info,
                        std::string_view key) {
    const auto declared = info.root().at(key);
    const auto entries = declared ? declared->elements() : std::nullopt;
    if (!entries) {
        return;
    }
    for (const PropertyList::Value& entry : *entries | std::views::take(maximumDeclarationCount)) {
        const auto identifier = entry.at("UTTypeIdentifier");
        TypeDeclaration declaration;
        declaration.identifier = identifier ? identifier->string().value_or("") : "";
        declaration.conformsTo = oneOrMore(entry.at("UTTypeConformsTo"));
        if (const auto tags = entry.at("UTTypeTagSpecification")) {
            declaration.extensions = oneOrMore(tags->at("public.filename-extension"));
        }
        std::erase_if(declaration.conformsTo, std::not_fn(isPlausibleIdentifier));
        std::erase_if(declaration.extensions, std::not_fn(isPlausibleIdentifier));
        if (isPlausibleIdentifier(declaration.identifier)) {
            declarations.push_back(std::move(declaration));
        }
    }
}

/// The application that contains an extension bundle; empty where none does.
std::string applicationAround(const std::string& bundlePath) {
    const std::size_t end = bundlePath.rfind(".app/");
    return end == std::string::npos ? "" : bundlePath.substr(0, end + 4);
}

TypeTable declaredTypes(const std::vector<std::string>& bundlePaths) {
    std::vector<TypeDeclaration> exported;
    std::vector<TypeDeclaration> imported;
    std::unordered_set<std::string> seen;
    for (const std::string& bundle : bundlePaths) {
        for (const std::string& declaring : {applicationAround(bundle), bundle}) {
            if (declaring.empty() || !seen.insert(declaring).second) {
                continue;
            }
            if (const auto info = readBundleInfo(FileURL(declaring))) {
                appendDeclarations(exported, info->list, "UTExportedTypeDeclarations");
                appendDeclarations(imported, info->list, "UTImportedTypeDeclarations");
            }
        }
    }
    TypeTable table(&builtInTypes());
    for (auto* const declarations : {&exported, &imported}) {
        for (TypeDeclaration& declaration : *declarations) {
            table.add(std::move(declaration));
        }
    }
    return table;
}

/// The type of something that is neither a regular file nor a folder.
std::string specialType(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFLNK:
        return "public.symlink";
    case S_IFIFO:
        return "public.named-pipe";
    case S_IFSOCK:
        return "public.socket";
    case S_IFCHR:
        return "public.character-special";
    case S_IFBLK:
        return "public.block-special";
    default:
        return "public.item";
    }
}

} // namespace

std::expected<std::optional<UniformType>, Error>
SystemTypeDatabase::contentType(const FileURL& file) const {
    struct stat status{};
    if (file.path().contains('\0') || ::lstat(file.path().c_str(), &status) != 0) {
        return std::unexpected(posixError(file.path().contains('\0') ? EINVAL : errno,
                                          "Couldn't examine \"" + file.path() + "\""));
    }
    // A preview of a link shows what it leads to, so the type is that of the target, by the
    // target's own name. Only a link that leads nowhere is a link.
    std::string path = file.path();
    if (S_ISLNK(status.st_mode)) {
        const std::unique_ptr<char, decltype(&std::free)> target(::realpath(path.c_str(), nullptr),
                                                                 &std::free);
        struct stat targetStatus{};
        if (target && ::stat(target.get(), &targetStatus) == 0) {
            path = target.get();
            status = targetStatus;
        }
    }

    const bool isDirectory = S_ISDIR(status.st_mode);
    if (!isDirectory && !S_ISREG(status.st_mode)) {
        return builtInTypes().type(specialType(status.st_mode));
    }
    const std::string_view extension = extensionOf(path);
    if (!extension.empty()) {
        const FileKind kind = isDirectory ? FileKind::directory : FileKind::file;
        if (const auto builtIn = builtInTypes().identifierForExtension(extension, kind)) {
            return builtInTypes().type(*builtIn);
        }
        const TypeTable table = declaredTypes(m_bundles());
        if (const auto declared = table.identifierForExtension(extension, kind)) {
            return table.type(*declared);
        }
    }
    if (isDirectory) {
        return builtInTypes().type("public.folder");
    }
    if (!extension.empty()) {
        UniformType type = builtInTypes().type("public.data");
        type.supertypes.insert(type.supertypes.begin(), std::move(type.identifier));
        type.identifier = dynamicTypeIdentifier(extension);
        return type;
    }
    constexpr mode_t anyExecute = S_IXUSR | S_IXGRP | S_IXOTH;
    return builtInTypes().type((status.st_mode & anyExecute) != 0 ? "public.unix-executable"
                                                                  : "public.data");
}

std::expected<std::optional<std::string>, Error>
SystemTypeDatabase::typeIdentifier(const FileURL& file) const {
    auto type = contentType(file);
    if (!type) {
        return std::unexpected(std::move(type.error()));
    }
    return type->transform([](const UniformType& known) { return known.identifier; });
}

const TypeDatabase& systemTypeDatabase() {
    // Never destroyed: a diagnosis may still run when the program ends.
    static const auto& database = *new SystemTypeDatabase([] {
        // Without the registry only the places that somebody added are missed.
        const ExtensionRegistry registry = readExtensionRegistry().value_or(ExtensionRegistry());
        return discoverExtensionBundles(extensionPlaces(registry.addedPaths));
    });
    return database;
}

} // namespace peekmend
