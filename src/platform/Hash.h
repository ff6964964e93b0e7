#pragma once

#include <cstddef>
#include <functional>

namespace peekmend {

/// Folds one more value into a hash.
template <typename Value>
void combineHash(std::size_t& hash, const Value& value) {
    hash ^= std::hash<Value>()(value) + 0x9E3779B97F4A7C15U + (hash << 6U) + (hash >> 2U);
}

} // namespace peekmend
