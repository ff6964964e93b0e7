#include "inventory/ContentTypes.h"

#include "platform/BundleInfo.h"

namespace peekmend {

std::vector<std::string> supportedContentTypes(const FileURL& bundleURL) {
    const auto info = readBundleInfo(bundleURL);
    return info ? declaredContentTypes(*info) : std::vector<std::string>();
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
