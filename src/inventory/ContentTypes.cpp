#include "inventory/ContentTypes.h"

#include "platform/BundleInfo.h"

namespace peekmend {

std::vector<std::string> supportedContentTypes(const FileURL& bundleURL) {
    const auto info = readBundleInfo(bundleURL);
    if (!info) {
        return {};
    }
    const auto entryOf = [](std::string_view key) {
        return [key](const PropertyList::Value& dictionary) { return dictionary.at(key); };
    };
    return info->root()
        .at("NSExtension")
        .and_then(entryOf("NSExtensionAttributes"))
        .and_then(entryOf("QLSupportedContentTypes"))
        .and_then([](const PropertyList::Value& types) { return types.strings(); })
        .value_or(std::vector<std::string>());
}

ContentTypeMap contentTypesByBundleID(const std::vector<QLExtensionRecord>& records) {
    ContentTypeMap map;
    for (const QLExtensionRecord& record : records) {
        if (!record.path) {
            continue;
        }
        if (auto types = supportedContentTypes(FileURL(*record.path)); !types.empty()) {
            map.insert_or_assign(record.bundleID, std::move(types));
        }
    }
    return map;
}

} // namespace peekmend
