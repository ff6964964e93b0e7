#include "platform/BundleInfo.h"

#include <unistd.h>

namespace peekmend {

std::optional<PropertyList> readBundleInfo(const FileURL& bundle) {
    const FileURL standard = bundle.appending("Contents/Info.plist");
    std::optional<PropertyList> list = PropertyList::read(standard.path());
    if (!list && ::access(standard.path().c_str(), F_OK) != 0) {
        list = PropertyList::read(bundle.appending("Info.plist").path());
    }
    return list;
}

} // namespace peekmend
