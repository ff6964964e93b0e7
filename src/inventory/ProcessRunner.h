#pragma once

#include "platform/Error.h"

#include <cstdint>
#include <expected>
#include <string>
#include <vector>

/// Runs external programs to their end.
namespace peekmend::ProcessRunner {

/// The outcome of one completed run.
struct Result {
    /// The program's exit status, or the number of the signal that ended it.
    std::int32_t exitStatus = 0;
    /// Everything that the program wrote, as bytes, in order. Output that was discarded is empty.
    std::string stdoutBytes;
    std::string stderrBytes;
};

/// Runs the program at `executablePath`, an absolute path, and returns when it has exited and both
/// streams have been read to their end. There is no time limit and no way to stop it. A non-zero
/// status is a result; only a program that cannot be started is an error. Blocks the calling
/// thread; runs on several threads share nothing.
[[nodiscard]] std::expected<Result, Error> run(const std::string& executablePath,
                                               const std::vector<std::string>& arguments,
                                               bool discardStandardOutput);

} // namespace peekmend::ProcessRunner
