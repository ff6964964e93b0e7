#pragma once

#include "platform/FileURL.h"
#include "platform/PropertyList.h"

#include <optional>
#include <string>
#include <vector>

namespace peekmend {

/// What a bundle says about itself.
struct BundleInfo {
    PropertyList list;
    /// Whether the list stands at the bundle's top rather than in its `Contents` folder.
    bool isFlat = false;
};

/// The information property list of a bundle: `Contents/Info.plist` where something stands there,
/// otherwise the `Info.plist` of a flat bundle. None when it cannot be read.
[[nodiscard]] std::optional<BundleInfo> readBundleInfo(const FileURL& bundle);

/// The content types that a preview extension declares, in declared order; empty when it declares
/// none or anything but texts.
[[nodiscard]] std::vector<std::string> declaredContentTypes(const BundleInfo& info);

} // namespace peekmend
