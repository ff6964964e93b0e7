#include "diagnosis/TypeTree.h"

#include <utility>

namespace peekmend {

std::vector<std::string> resolveTypeTree(const FileURL& fileURL, const TypeDatabase& types) {
    if (auto type = types.contentType(fileURL); type && *type) {
        std::vector<std::string> tree = std::move((*type)->supertypes);
        tree.insert(tree.begin(), std::move((*type)->identifier));
        return tree;
    }
    if (auto identifier = types.typeIdentifier(fileURL); identifier && *identifier) {
        return {**std::move(identifier)};
    }
    return {};
}

} // namespace peekmend
