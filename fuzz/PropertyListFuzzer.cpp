// Property lists of either form on any bytes: whatever can be read can be walked, and texts are
// UTF-8.

#include "Require.h"
#include "platform/PropertyList.h"
#include "platform/Text.h"

#include <cstddef>
#include <cstdint>

namespace {

using peekmend::PropertyList;

/// Walks some of what the value holds; objects may hold themselves, so `budget` bounds the steps.
void walk(const PropertyList::Value& value, int& budget) {
    std::vector<PropertyList::Value> pending{value};
    while (!pending.empty() && budget-- > 0) {
        const PropertyList::Value next = pending.back();
        pending.pop_back();
        const auto text = next.string();
        require(!text || peekmend::isValidUtf8(*text));
        const auto elements = next.elements();
        require(!text || !elements);
        if (elements && elements->size() < 1000) {
            pending.insert(pending.end(), elements->begin(), elements->end());
        }
        for (const char* const key : {"k", "NSExtension", ""}) {
            if (const auto entry = next.at(key)) {
                pending.push_back(*entry);
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto list = PropertyList::parse(std::string(data, data + size));
    if (!list) {
        return 0;
    }
    const auto root = list->root();
    require(!root.string() && !root.elements());
    int budget = 200;
    walk(root, budget);
    auto value = std::optional(root);
    for (const char* const key :
         {"NSExtension", "NSExtensionAttributes", "QLSupportedContentTypes"}) {
        value = value ? value->at(key) : std::nullopt;
    }
    if (const auto texts = value ? value->strings() : std::nullopt) {
        require(texts->size() == value->elements()->size());
    }
    return 0;
}
