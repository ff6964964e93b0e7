#pragma once

#include "inventory/PlugInKitInventory.h"

#include <string>
#include <vector>

namespace peekmend::bench {

/// Applications that each hold one preview extension, as they are found on disk.
struct Bundles {
    /// What the listing would say of the extensions.
    std::vector<QLExtensionRecord> records;
    /// The folders whose entries have to be read to find the extensions.
    std::vector<std::string> folders;
    /// The Info.plist files of the extensions.
    std::vector<std::string> extensionLists;
    /// Those of the applications around them. The last one declares the type `bundleFileExtension`.
    std::vector<std::string> applicationLists;
};

/// No built-in type has this file extension.
inline constexpr const char* bundleFileExtension = "benchdoc";

enum class Form { xml, binary };

/// How many types the extension of this index declares.
[[nodiscard]] std::size_t typeCount(std::size_t index);

/// Writes applications with property lists of ordinary size into a folder.
[[nodiscard]] Bundles writeBundles(const std::string& folder, std::size_t count, Form form);

} // namespace peekmend::bench
