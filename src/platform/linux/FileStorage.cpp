#include "platform/linux/FileStorage.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>

namespace peekmend {

namespace {

/// A program that was stopped in the middle of a change must not stop all others for good.
constexpr std::chrono::seconds lockPatience{20};
constexpr std::chrono::milliseconds lockInterval{5};

std::unexpected<Error> failure(int number, std::string_view what, const std::string& path) {
    return std::unexpected(posixError(number, std::string(what) + " \"" + path + "\""));
}

/// Reads until `size` bytes are there or the file ends. How many there are; -1 on errors.
ssize_t readInto(int descriptor, char* bytes, std::size_t size) {
    std::size_t filled = 0;
    ssize_t count = 1;
    while (filled < size && count > 0) {
        count = retryInterrupted([&] { return ::read(descriptor, bytes + filled, size - filled); });
        filled += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return count < 0 ? -1 : static_cast<ssize_t>(filled);
}

/// Puts the entries of the folder that holds `path` on disk. The change has been made by then, and
/// not every file system can do it: there is nothing to be told.
void syncFolderOf(const std::string& path) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const FileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory) {
        ::fsync(directory.get());
    }
}

} // namespace

std::optional<std::string> homeFolder() {
    const auto accept = [](const char* path) -> std::optional<std::string> {
        if (path == nullptr || path[0] != '/') {
            return std::nullopt;
        }
        std::string folder(path);
        while (folder.ends_with('/')) {
            folder.pop_back();
        }
        return folder;
    };
    if (auto folder = accept(std::getenv("HOME"))) {
        return folder;
    }
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> buffer{};
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr) {
        return std::nullopt;
    }
    return accept(found->pw_dir);
}

std::optional<std::string> userDataFolder() {
    if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && data[0] == '/') {
        return std::string(data) + "/peekmend";
    }
    return homeFolder().transform(
        [](const std::string& home) { return home + "/.local/share/peekmend"; });
}

std::expected<std::string, Error> readRegularFile(const std::string& path,
                                                  std::size_t maximumSize) {
    constexpr std::string_view what = "Couldn't read";
    if (path.contains('\0')) {
        return failure(EINVAL, what, path);
    }
    // Not blocking: a FIFO must not hold up everybody.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status{};
    if (!file || ::fstat(file.get(), &status) != 0) {
        return failure(errno, what, path);
    }
    if (!S_ISREG(status.st_mode)) {
        return failure(EINVAL, what, path);
    }
    if (static_cast<std::uintmax_t>(status.st_size) > maximumSize) {
        return failure(EFBIG, what, path);
    }
    std::string bytes;
    ssize_t count = 0;
    bytes.resize_and_overwrite(static_cast<std::size_t>(status.st_size),
                               [&](char* data, std::size_t size) {
                                   count = readInto(file.get(), data, size);
                                   return count < 0 ? 0 : static_cast<std::size_t>(count);
                               });
    if (count < 0) {
        return failure(errno, what, path);
    }
    return bytes;
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            retryInterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::expected<void, Error> createFolders(const std::string& folder) {
    for (std::size_t end = folder.find('/', 1);; end = folder.find('/', end + 1)) {
        const std::string parent = folder.substr(0, end);
        if (::mkdir(parent.c_str(), 0700) != 0 && errno != EEXIST) {
            // A folder that stands on a read-only disk says so, and not that it exists.
            const int number = errno;
            if (::access(parent.c_str(), F_OK) != 0) {
                return failure(number, "Couldn't create the folder", parent);
            }
        }
        if (end == std::string::npos) {
            return {};
        }
    }
}

std::expected<FileDescriptor, Error> lockFile(const std::string& path) {
    constexpr std::string_view what = "Couldn't lock";
    FileDescriptor lock(::open(
        path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600));
    if (!lock) {
        return failure(errno, what, path);
    }
    const auto deadline = std::chrono::steady_clock::now() + lockPatience;
    while (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) ||
            std::chrono::steady_clock::now() >= deadline) {
            return failure(errno, what, path);
        }
        std::this_thread::sleep_for(lockInterval);
    }
    return lock;
}

std::expected<void, Error> replaceFile(const std::string& path, std::string_view bytes) {
    constexpr std::string_view what = "Couldn't write";
    // One name is enough under the lock; what stands there was left by a program that was killed.
    const std::string aside = path + ".new";
    ::unlink(aside.c_str());
    const FileDescriptor file(
        ::open(aside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOCTTY | O_CLOEXEC, 0600));
    if (!file || !writeAll(file.get(), bytes) || ::fsync(file.get()) != 0 ||
        ::rename(aside.c_str(), path.c_str()) != 0) {
        const int number = errno;
        ::unlink(aside.c_str());
        return failure(number, what, path);
    }
    syncFolderOf(path);
    return {};
}

std::expected<void, Error> removeFile(const std::string& path) {
    if (::unlink(path.c_str()) != 0) {
        return failure(errno, "Couldn't remove", path);
    }
    syncFolderOf(path);
    return {};
}

} // namespace peekmend
