#include "inventory/ProcessRunner.h"

#include "platform/BackgroundPool.h"
#include "platform/ChildProcess.h"

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace peekmend::ProcessRunner {

namespace {

/// The bytes of one stream, which a reader fills and the caller takes afterwards.
class LockedData {
public:
    void replace(std::string value) {
        const std::scoped_lock guard(lock);
        _value = std::move(value);
    }

    /// Moves the bytes out rather than copying them: nobody else asks for them.
    [[nodiscard]] std::string take() {
        const std::scoped_lock guard(lock);
        return std::move(_value);
    }

private:
    std::mutex lock;
    std::string _value;
};

/// One captured stream: the pipe's write end, until the child has it, and what its reader reads.
struct Capture {
    FileDescriptor writeEnd;
    std::shared_ptr<LockedData> data = std::make_shared<LockedData>();
};

std::expected<Capture, Error> startReader(const std::shared_ptr<TaskGroup>& readers) {
    auto pipe = makePipe();
    if (!pipe) {
        return std::unexpected(std::move(pipe.error()));
    }
    Capture capture;
    capture.writeEnd = std::move(pipe->writeEnd);
    readers->enter();
    auto started = BackgroundPool::shared().submit(
        [readers, data = capture.data, readEnd = std::move(pipe->readEnd)]() mutable {
            data->replace(readToEnd(readEnd.get()));
            readEnd.reset();
            readers->leave();
        });
    if (!started) {
        readers->leave();
        return std::unexpected(std::move(started.error()));
    }
    return capture;
}

} // namespace

std::expected<Result, Error> run(const std::string& executablePath,
                                 const std::vector<std::string>& arguments,
                                 bool discardStandardOutput) {
    const auto readers = std::make_shared<TaskGroup>();

    std::optional<Capture> output;
    std::optional<Capture> errors;
    // On every way out the pipes' write ends close first, so that readers come to their end.
    const auto fail = [&](Error& error) {
        output.reset();
        errors.reset();
        readers->wait();
        return std::unexpected(std::move(error));
    };

    if (!discardStandardOutput) {
        auto capture = startReader(readers);
        if (!capture) {
            return fail(capture.error());
        }
        output = *std::move(capture);
    }
    auto capture = startReader(readers);
    if (!capture) {
        return fail(capture.error());
    }
    errors = *std::move(capture);

    auto child = ChildProcess::launch({
        .executablePath = executablePath,
        .arguments = arguments,
        .standardOutput = output ? std::optional(output->writeEnd.get()) : std::nullopt,
        .standardError = errors->writeEnd.get(),
    });
    if (!child) {
        return fail(child.error());
    }
    if (output) {
        output->writeEnd.reset();
    }
    errors->writeEnd.reset();

    Result result;
    result.exitStatus = child->waitUntilExit();
    readers->wait();
    if (output) {
        result.stdoutBytes = output->data->take();
    }
    result.stderrBytes = errors->data->take();
    return result;
}

} // namespace peekmend::ProcessRunner
