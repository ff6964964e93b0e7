// The listing's grammar on any bytes: what is read has the form that everybody relies on, and line
// by line the same as all at once.

#include "Require.h"
#include "inventory/PlugInKitInventory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace peekmend;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::vector<QLExtensionRecord> records = parseListing(text);
    for (const QLExtensionRecord& record : records) {
        require(record.bundleID.contains('.') && !record.bundleID.contains('\n') &&
                !record.bundleID.contains('\t'));
        require(!record.path || record.path->starts_with('/'));
        require(!record.version || !record.bundleID.contains('('));
    }
    std::vector<QLExtensionRecord> lineByLine;
    for (std::size_t begin = 0; begin <= size;) {
        const std::size_t end = std::min(text.find('\n', begin), size);
        if (auto record = parseListingLine(text.substr(begin, end - begin))) {
            lineByLine.push_back(*std::move(record));
        }
        begin = end + 1;
    }
    require(lineByLine == records);
    return 0;
}
