#pragma once

#include "inventory/PlugInKitInventory.h"
#include "platform/FileURL.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace peekmend {

/// The declared content types of extensions, by bundle identifier. Holds no empty lists.
using ContentTypeMap = std::unordered_map<std::string, std::vector<std::string>>;

/// The types that an extension's bundle declares, in declared order; empty when it declares none or
/// cannot be read. Reads a file.
[[nodiscard]] std::vector<std::string> supportedContentTypes(const FileURL& bundleURL);

/// The declared types of all extensions with a path. Of several records with one identifier the
/// last that declares anything counts. Reads files.
[[nodiscard]] ContentTypeMap contentTypesByBundleID(const std::vector<QLExtensionRecord>& records);

} // namespace peekmend
