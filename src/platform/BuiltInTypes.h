#pragma once

#include <string_view>

namespace peekmend {

/// The contents of `data/uniform-types.tsv`, built into the program.
extern const std::string_view builtInTypesText;

} // namespace peekmend
