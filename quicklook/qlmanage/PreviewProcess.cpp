#include "PreviewProcess.h"

#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>
extern "C" {
#include <sys/pidfd.h>
}

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace peekmend {

namespace {

constexpr std::array endingSignals{SIGTERM, SIGINT, SIGHUP};

sigset_t endingSignalSet() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : endingSignals) {
        ::sigaddset(&set, signal);
    }
    return set;
}

/// In the child: becomes `program`, the first of a process group of its own, or leaves the reason
/// in `failurePipe` and exits.
[[noreturn]] void becomeProgram(const std::string& program, const std::string& file, pid_t parent,
                                int failurePipe) {
    // The parent may have died before the kernel was asked; then nobody waits for this child.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != parent || ::setpgid(0, 0) != 0) {
        ::_exit(EXIT_FAILURE);
    }
    for (int signal = 1; signal < NSIG; ++signal) {
        static_cast<void>(std::signal(signal, SIG_DFL));
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);

    // The arguments are not changed by the call, whatever its type says.
    const std::array<char*, 3> arguments{const_cast<char*>(program.c_str()),
                                         const_cast<char*>(file.c_str()), nullptr};
    ::execv(program.c_str(), arguments.data());
    const int reason = errno;
    [[maybe_unused]] const ssize_t written = ::write(failurePipe, &reason, sizeof reason);
    ::_exit(EXIT_FAILURE);
}

int waitFor(pid_t child) {
    int status = 0;
    retryInterrupted([&] { return ::waitpid(child, &status, 0); });
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

/// Ends this process as the signal would have.
[[noreturn]] void dieOf(int signal) {
    static_cast<void>(std::signal(signal, SIG_DFL));
    const sigset_t set = endingSignalSet();
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
    static_cast<void>(::raise(signal));
    ::_exit(EXIT_FAILURE);
}

} // namespace

FileDescriptor parentProcess() {
    // Process 1 outlives everything, and 0 is a parent that cannot be seen from here.
    const pid_t parent = ::getppid();
    return parent > 1 ? FileDescriptor(::pidfd_open(parent, 0)) : FileDescriptor();
}

std::expected<int, Error> runPreview(const std::string& program, const std::string& file,
                                     const FileDescriptor& parent) {
    const auto failed = [&](int reason) {
        return std::unexpected(posixError(reason, "Couldn't start \"" + program + "\""));
    };
    auto failurePipe = makePipe();
    if (!failurePipe) {
        return std::unexpected(std::move(failurePipe.error()));
    }
    // From here on a request to end must not leave the child behind.
    const sigset_t set = endingSignalSet();
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    const FileDescriptor signals(::signalfd(-1, &set, SFD_CLOEXEC));
    if (!signals) {
        return failed(errno);
    }
    const pid_t self = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) {
        becomeProgram(program, file, self, failurePipe->writeEnd.get());
    }
    if (child < 0) {
        return failed(errno);
    }
    failurePipe->writeEnd.reset();
    int reason = 0;
    if (retryInterrupted(
            [&] { return ::read(failurePipe->readEnd.get(), &reason, sizeof reason); }) > 0) {
        waitFor(child);
        return failed(reason);
    }

    const FileDescriptor childHandle(::pidfd_open(child, 0));
    const int cause = errno;
    std::array<pollfd, 3> watched{
        {{childHandle.get(), POLLIN, 0}, {signals.get(), POLLIN, 0}, {parent.get(), POLLIN, 0}}};
    if (childHandle) {
        retryInterrupted([&] { return ::poll(watched.data(), watched.size(), -1); });
        if (watched[0].revents != 0) {
            return waitFor(child);
        }
    }
    ::kill(-child, SIGKILL);
    waitFor(child);
    if (!childHandle) {
        return failed(cause);
    }
    signalfd_siginfo received{};
    if (watched[1].revents != 0 &&
        ::read(signals.get(), &received, sizeof received) == ssize_t{sizeof received}) {
        dieOf(static_cast<int>(received.ssi_signo));
    }
    ::_exit(EXIT_FAILURE);
}

} // namespace peekmend
