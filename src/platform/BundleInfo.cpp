#include "platform/BundleInfo.h"

#include <unistd.h>

#include <utility>

namespace peekmend {

std::optional<BundleInfo> readBundleInfo(const FileURL& bundle) {
    const FileURL standard = bundle.appending("Contents/Info.plist");
    if (auto list = PropertyList::read(standard.path())) {
        return BundleInfo{*std::move(list), false};
    }
    if (::access(standard.path().c_str(), F_OK) == 0) {
        return std::nullopt;
    }
    return PropertyList::read(bundle.appending("Info.plist").path())
        .transform([](PropertyList&& list) { return BundleInfo{std::move(list), true}; });
}

std::vector<std::string> declaredContentTypes(const BundleInfo& info) {
    const auto entryOf = [](std::string_view key) {
        return [key](const PropertyList::Value& dictionary) { return dictionary.at(key); };
    };
    return info.list.root()
        .at("NSExtension")
        .and_then(entryOf("NSExtensionAttributes"))
        .and_then(entryOf("QLSupportedContentTypes"))
        .and_then([](const PropertyList::Value& types) { return types.strings(); })
        .value_or(std::vector<std::string>());
}

} // namespace peekmend
