#include "Fixture.h"

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace peekmend::bench {

TemporaryFolder::TemporaryFolder()
    : m_path((std::filesystem::temp_directory_path() / "peekmend-bench-XXXXXX").string()) {
    if (::mkdtemp(m_path.data()) == nullptr) {
        fail("no temporary folder");
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

BareChild spawnBare(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    int output[2];
    int errors[2];
    if (::pipe2(output, O_CLOEXEC) != 0 || ::pipe2(errors, O_CLOEXEC) != 0) {
        fail("no pipe");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);
    BareChild child{-1, output[0], errors[0]};
    if (::posix_spawn(&child.pid, arguments[0], &actions, nullptr, arguments.data(), environ) !=
        0) {
        fail("cannot start " + command.front());
    }
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    ::close(errors[1]);
    return child;
}

std::string finishBare(const BareChild& child) {
    std::string text;
    // Not made anew: the hardened build would clear it each time.
    static std::array<char, 65536> buffer;
    ssize_t count = 0;
    while ((count = ::read(child.output, buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    while (::read(child.errors, buffer.data(), buffer.size()) > 0) {
    }
    ::close(child.output);
    ::close(child.errors);
    ::waitpid(child.pid, nullptr, 0);
    return text;
}

void fail(std::string_view message) {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
    std::exit(EXIT_FAILURE);
}

std::size_t listBare(const std::vector<std::string>& folders) {
    std::size_t total = 0;
    std::array<char, 16384> buffer;
    for (const std::string& path : folders) {
        const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder < 0) {
            fail("cannot list " + path);
        }
        ssize_t count = 0;
        while ((count = ::getdents64(folder, buffer.data(), buffer.size())) > 0) {
            total += static_cast<std::size_t>(count);
        }
        ::close(folder);
    }
    return total;
}

void readBare(const std::string& path, std::string& bytes) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status{};
    if (file < 0 || ::fstat(file, &status) != 0) {
        fail("cannot read " + path);
    }
    bytes.resize(static_cast<std::size_t>(status.st_size));
    if (::read(file, bytes.data(), bytes.size()) != status.st_size) {
        fail("cannot read all of " + path);
    }
    ::close(file);
}

std::size_t readBare(const std::vector<std::string>& paths) {
    std::size_t total = 0;
    std::string bytes;
    for (const std::string& path : paths) {
        readBare(path, bytes);
        total += bytes.size();
    }
    return total;
}

} // namespace peekmend::bench
