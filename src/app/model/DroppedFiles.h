#pragma once

#include "platform/FileURL.h"

#include <optional>
#include <string_view>
#include <vector>

namespace peekmend {

/// The items of the file-URL type in a list of addresses as a drag carries it (text/uri-list), in
/// order. An item is the file that it names, byte for byte, or nothing when it names none on this
/// machine.
[[nodiscard]] std::vector<std::optional<FileURL>> droppedFiles(std::string_view uriList);

} // namespace peekmend
