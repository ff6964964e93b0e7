#pragma once

#include "platform/TypeTable.h"

#include <functional>

namespace peekmend {

/// The types of files, from the built-in table and from what the bundles of preview extensions and
/// the applications around them declare. Bundles are read afresh whenever the built-in table does
/// not know a file's extension.
class SystemTypeDatabase : public TypeDatabase {
public:
    /// The paths of the `.appex` bundles whose declarations count.
    using BundleSource = std::function<std::vector<std::string>()>;

    explicit SystemTypeDatabase(BundleSource bundles) : m_bundles(std::move(bundles)) {}

    [[nodiscard]] std::expected<std::optional<UniformType>, Error>
    contentType(const FileURL& file) const override;
    [[nodiscard]] std::expected<std::optional<std::string>, Error>
    typeIdentifier(const FileURL& file) const override;

private:
    BundleSource m_bundles;
};

} // namespace peekmend
