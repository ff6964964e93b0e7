#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace peekmend::bench {

/// A folder of its own, removed at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

/// A child whose two streams can be read.
struct BareChild {
    pid_t pid = -1;
    int output = -1;
    int errors = -1;
};

/// Starts a program with the least that captures both streams: two pipes and `posix_spawn`. Ends
/// the run when that fails.
[[nodiscard]] BareChild spawnBare(const std::vector<std::string>& command);

/// Reads both streams, one after the other, and reaps the child. Returns what it wrote to its
/// standard output.
std::string finishBare(const BareChild& child);

/// Ends the run with a message.
[[noreturn]] void fail(std::string_view message);

/// What it costs to read the entries of these folders. Returns how many bytes they take.
std::size_t listBare(const std::vector<std::string>& folders);

/// Reads a file with open, fstat, read and close, and nothing more.
void readBare(const std::string& path, std::string& bytes);

/// Reads these files, one after the other. Returns their sizes together.
std::size_t readBare(const std::vector<std::string>& paths);

} // namespace peekmend::bench
