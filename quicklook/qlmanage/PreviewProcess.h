#pragma once

#include "platform/Error.h"
#include "platform/linux/FileDescriptor.h"

#include <expected>
#include <string>

namespace peekmend {

/// Blocks the signals that ask this program to end, and watches the program that started it.
/// Called before anything slow, so that a request in the meantime is not lost.
class PreviewGuard {
public:
    PreviewGuard();
    PreviewGuard(const PreviewGuard&) = delete;
    PreviewGuard& operator=(const PreviewGuard&) = delete;
    ~PreviewGuard() = default;

    /// Starts `program` with `file` as its one argument and waits until it has ended. Returns its
    /// exit status, or the number of the signal that ended it. Fails with a "posix" error when the
    /// program could not be started.
    ///
    /// The child never outlives this process: the kernel ends it when this process dies of
    /// whatever cause, and a request to end, or the end of the program that started this one, ends
    /// the child and then this process, so that the call does not return.
    [[nodiscard]] std::expected<int, Error> run(const std::string& program,
                                                const std::string& file);

private:
    FileDescriptor m_signals;
    FileDescriptor m_parent;
};

} // namespace peekmend
