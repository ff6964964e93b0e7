#include "PreviewProcess.h"

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

/// In the child: becomes `program`, or leaves the reason in `failurePipe` and exits.
[[noreturn]] void becomeProgram(const std::string& program, const std::string& file, pid_t parent,
                                int failurePipe) {
    // The parent may have died before the kernel was asked; then nobody waits for this child.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != parent) {
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
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
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

PreviewGuard::PreviewGuard() {
    const sigset_t set = endingSignalSet();
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    m_signals = FileDescriptor(::signalfd(-1, &set, SFD_CLOEXEC));
    // Process 1 outlives everything, and 0 is a parent that cannot be seen from here.
    const pid_t parent = ::getppid();
    if (parent > 1) {
        m_parent = FileDescriptor(::pidfd_open(parent, 0));
    }
}

std::expected<int, Error> PreviewGuard::run(const std::string& program, const std::string& file) {
    const auto failed = [&](int reason) {
        return std::unexpected(posixError(reason, "Cannot start \"" + program + "\""));
    };
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return failed(errno);
    }
    const FileDescriptor failureReader(ends[0]);
    FileDescriptor failureWriter(ends[1]);
    const pid_t self = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) {
        becomeProgram(program, file, self, failureWriter.get());
    }
    if (child < 0) {
        return failed(errno);
    }
    failureWriter.reset();
    int reason = 0;
    if (::read(failureReader.get(), &reason, sizeof reason) > 0) {
        waitFor(child);
        return failed(reason);
    }

    const FileDescriptor childHandle(::pidfd_open(child, 0));
    if (!childHandle) {
        const int cause = errno;
        ::kill(child, SIGKILL);
        waitFor(child);
        return failed(cause);
    }
    std::array<pollfd, 3> watched{{{childHandle.get(), POLLIN, 0},
                                   {m_signals.get(), POLLIN, 0},
                                   {m_parent.get(), POLLIN, 0}}};
    while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) {
    }
    if (watched[0].revents != 0) {
        return waitFor(child);
    }
    ::kill(child, SIGKILL);
    waitFor(child);
    signalfd_siginfo received{};
    if (watched[1].revents != 0 &&
        ::read(m_signals.get(), &received, sizeof received) == ssize_t{sizeof received}) {
        dieOf(static_cast<int>(received.ssi_signo));
    }
    ::_exit(EXIT_FAILURE);
}

} // namespace peekmend
