#pragma once

#include "platform/Error.h"
#include "platform/linux/FileDescriptor.h"

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace peekmend {

/// The home folder of the current user, without slashes at its end: what HOME says, else what the
/// user database says. None when neither names an absolute path. Reads the environment.
[[nodiscard]] std::optional<std::string> homeFolder();

/// The folder for what the program keeps for the current user. It need not exist yet. None when
/// the user has no home folder. Reads the environment.
[[nodiscard]] std::optional<std::string> userDataFolder();

/// The bytes of a regular file of at most `maximumSize` bytes. Fails with a "posix" error that
/// names the file; anything else than such a file is refused (EINVAL, EFBIG) and not waited for.
[[nodiscard]] std::expected<std::string, Error> readRegularFile(const std::string& path,
                                                                std::size_t maximumSize);

/// Writes all of `bytes`. False, with errno set, when that fails.
[[nodiscard]] bool writeAll(int descriptor, std::string_view bytes);

/// Creates the folder and those above it, for the current user alone.
[[nodiscard]] std::expected<void, Error> createFolders(const std::string& folder);

/// Takes the lock that guards a file's changes: the one at `path`, which is created. Waits for
/// others a bounded time. The lock is released with the descriptor, and by the system when the
/// program dies.
[[nodiscard]] std::expected<FileDescriptor, Error> lockFile(const std::string& path);

/// Puts `bytes` in place of the file at `path`. At every moment, and after a crash, the old or the
/// new file stands there whole; it is on disk when the call returns. Callers hold a lock.
[[nodiscard]] std::expected<void, Error> replaceFile(const std::string& path,
                                                     std::string_view bytes);

/// Removes the file at `path`, on disk as well when the call returns.
[[nodiscard]] std::expected<void, Error> removeFile(const std::string& path);

} // namespace peekmend
