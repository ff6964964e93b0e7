#pragma once

#include "platform/Error.h"
#include "platform/linux/FileDescriptor.h"

#include <sys/types.h>

#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace peekmend {

/// A pipe that no child inherits unless it is handed to it.
struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// Makes a pipe. Fails when the process may open no more descriptors.
[[nodiscard]] std::expected<Pipe, Error> makePipe();

/// Everything that can still be read from `descriptor` until its end or an error, in order.
[[nodiscard]] std::string readToEnd(int descriptor);

/// What a child is started with. Environment, working directory and standard input are the
/// caller's; signal mask and dispositions are the defaults.
struct ChildDescription {
    /// The absolute path of the program. Nothing is searched, and no shell is involved.
    std::string executablePath;
    /// One element per argument, after the program's name.
    std::vector<std::string> arguments;
    /// Where the streams go; the null device where absent.
    std::optional<int> standardOutput;
    std::optional<int> standardError;
};

/// One running child. It is reaped by this object alone, and signals go to it alone, however the
/// system reuses process identifiers. Used from one thread at a time.
class ChildProcess {
public:
    /// Starts the child. Fails with a "posix" error that names the path and the reason.
    [[nodiscard]] static std::expected<ChildProcess, Error>
    launch(const ChildDescription& description);

    ChildProcess(ChildProcess&&) noexcept = default;
    ChildProcess& operator=(ChildProcess&&) = delete;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// A child that still runs is killed, and reaped in the background.
    ~ChildProcess();

    /// True from the launch until the child's exit has been noticed; this call notices it.
    [[nodiscard]] bool isRunning();

    /// Blocks until the child has exited. Returns its exit status, or the number of the signal
    /// that ended it.
    int waitUntilExit();

    /// Sends a signal, or with 0 only asks. Returns whether the child still exists; once it has
    /// been reaped it does not, and nothing is sent.
    bool send(int signal);

private:
    explicit ChildProcess(FileDescriptor pidfd) : m_pidfd(std::move(pidfd)) {}

    bool reap(int options);

    FileDescriptor m_pidfd;
    std::optional<int> m_status;
};

} // namespace peekmend
