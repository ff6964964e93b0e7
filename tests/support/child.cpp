// One program that plays every child process the tests need. The first argument names the role.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

namespace {

void writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count <= 0) {
            std::_Exit(99);
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Tells the test that the child has got this far.
void touch(const char* path) {
    ::close(::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

[[noreturn]] void sleepForever() {
    while (true) {
        ::pause();
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    const std::string_view role = argumentCount > 1 ? arguments[1] : "";
    if (role == "exit") { // STATUS [OUTPUT [ERRORS]]
        writeAll(STDOUT_FILENO, argumentCount > 3 ? arguments[3] : "");
        writeAll(STDERR_FILENO, argumentCount > 4 ? arguments[4] : "");
        return std::atoi(arguments[2]);
    }
    if (role == "flood") { // SIZE: on both streams at once
        const std::string bytes(static_cast<std::size_t>(std::atol(arguments[2])), 'x');
        std::thread other([&] { writeAll(STDERR_FILENO, bytes); });
        writeAll(STDOUT_FILENO, bytes);
        other.join();
        return 0;
    }
    if (role == "arguments") { // prints them, each ended by NUL
        for (int index = 2; index < argumentCount; ++index) {
            writeAll(STDOUT_FILENO, std::string(arguments[index]) + '\0');
        }
        return 0;
    }
    if (role == "signals") { // how many signals are blocked or ignored
        sigset_t blocked;
        ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
        int count = 0;
        for (int number = 1; number < 32; ++number) {
            struct sigaction action{};
            ::sigaction(number, nullptr, &action);
            count += ::sigismember(&blocked, number) + (action.sa_handler == SIG_IGN ? 1 : 0);
        }
        return count;
    }
    if (role == "die") { // SIGNAL
        ::raise(std::atoi(arguments[2]));
    }
    if (role == "stubborn") { // READY-FILE: only SIGKILL ends it
        std::signal(SIGTERM, SIG_IGN);
        std::signal(SIGINT, SIG_IGN);
        touch(arguments[2]);
        sleepForever();
    }
    if (role == "witness") { // FILE: written when it is asked to end
        static const char* const file = arguments[2];
        const auto tell = [](int) { touch(file); };
        std::signal(SIGTERM, tell);
        std::signal(SIGINT, tell);
        sleepForever();
    }
    if (role == "sleep") {
        sleepForever();
    }
    if (role == "hold-pipe") { // FOLDER: the streams stay open until "release" stands there
        const std::string folder = arguments[2];
        const pid_t self = ::getpid();
        if (::fork() == 0) {
            while (::getppid() == self) {
                ::usleep(1000);
            }
            touch((folder + "/orphaned").c_str());
            while (::access((folder + "/release").c_str(), F_OK) != 0 &&
                   ::access(folder.c_str(), F_OK) == 0) {
                ::usleep(1000);
            }
            writeAll(STDOUT_FILENO, "late");
        }
        return 0;
    }
    return 98;
}
