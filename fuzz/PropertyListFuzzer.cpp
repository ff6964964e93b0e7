// Property lists of either form on any bytes: whatever can be read can be walked, and texts are
// UTF-8.

#include "Require.h"
#include "platform/PropertyList.h"
#include "platform/Text.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto list = peekmend::PropertyList::parse(std::string(data, data + size));
    if (!list) {
        return 0;
    }
    require(!list->root().string() && !list->root().elements());
    std::vector<peekmend::PropertyList::Value> pending{list->root()};
    // Objects may hold themselves, so the steps are bounded.
    for (int step = 0; step < 200 && !pending.empty(); ++step) {
        const auto next = pending.back();
        pending.pop_back();
        const auto text = next.string();
        const auto elements = next.elements();
        require(!text || (peekmend::isValidUtf8(*text) && !elements));
        if (elements && elements->size() < 1000) {
            const auto texts = next.strings();
            require(!texts || texts->size() == elements->size());
            pending.insert(pending.end(), elements->begin(), elements->end());
        }
        for (const char* const key :
             {"k", "NSExtension", "NSExtensionAttributes", "QLSupportedContentTypes", ""}) {
            if (const auto entry = next.at(key)) {
                pending.push_back(*entry);
            }
        }
    }
    return 0;
}
