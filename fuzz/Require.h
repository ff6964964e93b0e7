#pragma once

#include <cstdio>
#include <cstdlib>
#include <source_location>

/// Ends the fuzzer with a finding when what must always hold does not.
inline void require(bool holds, std::source_location where = std::source_location::current()) {
    if (!holds) {
        std::fprintf(stderr, "%s:%u does not hold\n", where.file_name(), unsigned{where.line()});
        std::abort();
    }
}
