#pragma once

#include "platform/UniformType.h"

#include <string>
#include <vector>

namespace peekmend {

/// The file's own uniform type identifier, then that of each of its supertypes once. Empty when
/// the file's type cannot be found. Reads the file system.
[[nodiscard]] std::vector<std::string>
resolveTypeTree(const FileURL& fileURL, const TypeDatabase& types = systemTypeDatabase());

} // namespace peekmend
