#pragma once

#include "platform/FileURL.h"
#include "platform/PropertyList.h"

#include <optional>

namespace peekmend {

/// The information property list of a bundle: `Contents/Info.plist` where something stands there,
/// otherwise the `Info.plist` of a flat bundle. None when it cannot be read.
[[nodiscard]] std::optional<PropertyList> readBundleInfo(const FileURL& bundle);

} // namespace peekmend
