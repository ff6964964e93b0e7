#pragma once

#include "platform/PropertyList.h"

#include <memory>
#include <string>
#include <string_view>

namespace peekmend {

/// Whether the bytes begin as the binary form does.
[[nodiscard]] bool isBinaryPropertyList(std::string_view bytes);

/// Reads the binary form. Null when the list is damaged; a list whose objects overlap is.
[[nodiscard]] std::shared_ptr<const PropertyList::Form> parseBinaryPropertyList(std::string bytes);

} // namespace peekmend
