#include "platform/ChildProcess.h"

#include "platform/BackgroundPool.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern "C" {
#include <sys/pidfd.h>
}

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <memory>

namespace peekmend {

namespace {

/// Waits for the child behind `pidfd`. 1 when it was reaped, 0 when it still runs, -1 on errors.
int waitForChild(int pidfd, int options, siginfo_t& info) {
    info = {};
    const int result = retryInterrupted(
        [&] { return ::waitid(P_PIDFD, static_cast<id_t>(pidfd), &info, WEXITED | options); });
    return result == 0 ? static_cast<int>(info.si_pid != 0) : -1;
}

/// The spawn call's two parameter blocks, freed together.
class SpawnSetup {
public:
    SpawnSetup() {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_attributes, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }

    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    ~SpawnSetup() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }

    /// Connects one stream of the child. Returns an errno.
    [[nodiscard]] int connect(int stream, std::optional<int> target) {
        return target ? ::posix_spawn_file_actions_adddup2(&m_actions, *target, stream)
                      : ::posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null",
                                                           O_WRONLY, 0);
    }

    [[nodiscard]] int spawn(pid_t& pid, const char* path, char* const* arguments) {
        return ::posix_spawn(&pid, path, &m_actions, &m_attributes, arguments, environ);
    }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

Error launchError(const std::string& path, int number) {
    // A script whose interpreter is missing is reported as if the script itself were.
    if (number == ENOENT && ::access(path.c_str(), F_OK) == 0) {
        return {"posix", number,
                "Couldn't start \"" + path + "\": the program that should run it is missing."};
    }
    return posixError(number, "Couldn't start \"" + path + "\"");
}

} // namespace

std::expected<Pipe, Error> makePipe() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return std::unexpected(posixError(errno, "Couldn't open a pipe"));
    }
    Pipe pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    // In a process without standard streams an end could take the number of one and be
    // overwritten while the other is being connected in the child.
    for (FileDescriptor* const end : {&pipe.readEnd, &pipe.writeEnd}) {
        if (end->get() <= STDERR_FILENO) {
            FileDescriptor moved(::fcntl(end->get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
            if (!moved) {
                return std::unexpected(posixError(errno, "Couldn't open a pipe"));
            }
            end->swap(moved);
        }
    }
    return pipe;
}

std::string readToEnd(int descriptor) {
    // Between two powers of two: output of a round size would fill it to the last byte, and be
    // moved once more to see that it ends there.
    constexpr std::size_t firstStep = std::size_t{24} * 1024;
    // Large steps, as moving the bytes costs more than address space that is never touched.
    constexpr std::size_t growth = 4;
    std::string bytes;
    ssize_t count = 0;
    do {
        const std::size_t used = bytes.size();
        const std::size_t capacity = bytes.capacity();
        bytes.resize_and_overwrite(
            used == capacity ? capacity * growth : std::max(capacity, firstStep),
            [&](char* data, std::size_t size) {
                count =
                    retryInterrupted([&] { return ::read(descriptor, data + used, size - used); });
                return used + static_cast<std::size_t>(std::max<ssize_t>(count, 0));
            });
    } while (count > 0);
    return bytes;
}

std::expected<ChildProcess, Error> ChildProcess::launch(const ChildDescription& description) {
    const std::string& path = description.executablePath;
    std::vector<char*> arguments{const_cast<char*>(path.c_str())};
    bool holdsNul = path.contains('\0');
    for (const std::string& argument : description.arguments) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
        holdsNul = holdsNul || argument.contains('\0');
    }
    arguments.push_back(nullptr);
    if (holdsNul) {
        // The child would get a shorter text than the caller meant.
        return std::unexpected(launchError(path, EINVAL));
    }

    SpawnSetup setup;
    pid_t pid = -1;
    int number = setup.connect(STDOUT_FILENO, description.standardOutput);
    if (number == 0) {
        number = setup.connect(STDERR_FILENO, description.standardError);
    }
    if (number == 0) {
        number = setup.spawn(pid, path.c_str(), arguments.data());
    }
    if (number != 0) {
        return std::unexpected(launchError(path, number));
    }

    // Nobody else reaps the child, so its identifier is still its own here.
    FileDescriptor pidfd(::pidfd_open(pid, 0));
    if (!pidfd) {
        number = errno;
        ::kill(pid, SIGKILL);
        retryInterrupted([&] { return ::waitpid(pid, nullptr, 0); });
        return std::unexpected(launchError(path, number));
    }
    return ChildProcess(std::move(pidfd));
}

ChildProcess::~ChildProcess() {
    if (!m_pidfd || !isRunning()) {
        return;
    }
    send(SIGKILL);
    // Usually over at once; but a child that hangs in the kernel must not hold up the caller.
    const auto pidfd = std::make_shared<FileDescriptor>(std::move(m_pidfd));
    const auto reap = [pidfd] {
        siginfo_t info;
        waitForChild(pidfd->get(), 0, info);
    };
    if (!BackgroundPool::shared().submit(reap)) {
        reap();
    }
}

bool ChildProcess::isRunning() {
    return !m_status && !reap(WNOHANG);
}

int ChildProcess::waitUntilExit() {
    if (!m_status) {
        reap(0);
    }
    return m_status.value_or(-1);
}

bool ChildProcess::send(int signal) {
    return !m_status && ::pidfd_send_signal(m_pidfd.get(), signal, nullptr, 0) == 0;
}

bool ChildProcess::reap(int options) {
    siginfo_t info;
    const int result = waitForChild(m_pidfd.get(), options, info);
    if (result == 0) {
        return false;
    }
    // Somebody who waits for any child has taken the status away: gone, and unknown how.
    m_status = result == 1 ? info.si_status : -1;
    return true;
}

} // namespace peekmend
