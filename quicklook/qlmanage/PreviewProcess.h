#pragma once

#include "platform/Error.h"
#include "platform/linux/FileDescriptor.h"

#include <expected>
#include <string>

namespace peekmend {

/// A handle of the process that started this one, for `runPreview`. Taken as early as possible.
/// Empty where nobody is there to be watched.
[[nodiscard]] FileDescriptor parentProcess();

/// Starts `program` with `file` as its one argument and waits until it has ended. Returns its exit
/// status, or the number of the signal that ended it. Fails with a "posix" error when the program
/// could not be started.
///
/// The program never outlives this process: the kernel ends it when this process dies of whatever
/// cause. A request to end (SIGTERM, SIGINT, SIGHUP), or the end of `parent`, ends the program and
/// what it has started, and then this process, so that the call does not return.
[[nodiscard]] std::expected<int, Error>
runPreview(const std::string& program, const std::string& file, const FileDescriptor& parent);

} // namespace peekmend
