// Running a program and keeping what it writes.

#include "Benches.h"
#include "Fixture.h"
#include "inventory/ProcessRunner.h"

#include <QProcess>

#include <benchmark/benchmark.h>
#include <boost/asio/io_context.hpp>
#include <boost/process.hpp>
#include <glib.h>

#include <semaphore.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace peekmend::bench {

namespace {

using Command = std::vector<std::string>;

const Command smallProgram{"/bin/echo", "a few words"};

constexpr std::size_t largeSize = std::size_t{64} * 1024 * 1024;
const Command largeOutput{"/bin/dd", "if=/dev/zero", "bs=64K", "count=1024", "status=none"};

Command argumentsOf(const Command& command) {
    return {command.begin() + 1, command.end()};
}

void checkSize(std::size_t size, const Command& command) {
    if (size != (command == largeOutput ? largeSize : smallProgram.back().size() + 1)) {
        fail("the output is not whole");
    }
}

/// What this process takes of the machine's memory, by the name of a line in its status; in bytes.
double memory(std::string_view name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return std::stod(line.substr(name.size() + 1)) * 1024;
        }
    }
    fail("no memory figures");
}

void peekmendRun(benchmark::State& state, const Command& command) {
    const Command arguments = argumentsOf(command);
    for (auto _ : state) {
        const auto result = ProcessRunner::run(command[0], arguments, false);
        checkSize(result ? result->stdoutBytes.size() : 0, command);
    }
    if (command == largeOutput) {
        // In a process of its own: this one keeps memory of earlier captures at hand.
        state.counters["peak"] = std::stod(finishBare(spawnBare({"/proc/self/exe", "peak"})));
    }
}

void bareRun(benchmark::State& state, const Command& command) {
    for (auto _ : state) {
        checkSize(finishBare(spawnBare(command)).size(), command);
    }
}

/// A thread that waits for a descriptor, reads it to its end and waits again, and nothing besides:
/// what a stream read on another thread costs. (The standard library's semaphore would spin before
/// it sleeps.)
class Reader {
public:
    Reader() {
        ::sem_init(&m_given, 0, 0);
        ::sem_init(&m_read, 0, 0);
        std::thread([this] {
            while (true) {
                wait(m_given);
                m_bytes.clear();
                for (ssize_t count = 0;
                     (count = ::read(m_descriptor, m_buffer.data(), m_buffer.size())) > 0;) {
                    m_bytes.append(m_buffer.data(), static_cast<std::size_t>(count));
                }
                ::close(m_descriptor);
                ::sem_post(&m_read);
            }
        }).detach();
    }

    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void give(int descriptor) {
        m_descriptor = descriptor;
        ::sem_post(&m_given);
    }

    const std::string& take() {
        wait(m_read);
        return m_bytes;
    }

private:
    static void wait(sem_t& semaphore) {
        while (::sem_wait(&semaphore) != 0) {
        }
    }

    sem_t m_given{};
    sem_t m_read{};
    int m_descriptor = -1;
    std::array<char, 65536> m_buffer{};
    std::string m_bytes;
};

void bareRunWithReaders(benchmark::State& state, const Command& command) {
    static auto* const readers = new std::array<Reader, 2>;
    auto& [output, errors] = *readers;
    for (auto _ : state) {
        const BareChild child = spawnBare(command);
        output.give(child.output);
        errors.give(child.errors);
        ::waitpid(child.pid, nullptr, 0);
        checkSize(output.take().size(), command);
        errors.take();
    }
}

/// The same reads, and the bytes thrown away.
void discard(benchmark::State& state, const Command& command) {
    std::array<char, 65536> buffer;
    for (auto _ : state) {
        const BareChild child = spawnBare(command);
        std::size_t size = 0;
        ssize_t count = 0;
        while ((count = ::read(child.output, buffer.data(), buffer.size())) > 0) {
            size += static_cast<std::size_t>(count);
        }
        finishBare(child);
        checkSize(size, command);
    }
}

/// The same reads, into memory that is of the right size at once and has not been touched before.
void keepOnce(benchmark::State& state, const Command& command) {
    for (auto _ : state) {
        const BareChild child = spawnBare(command);
        std::string kept;
        kept.resize_and_overwrite(largeSize, [&](char* bytes, std::size_t size) {
            std::size_t filled = 0;
            ssize_t count = 1;
            while (filled < size && count > 0) {
                count = ::read(child.output, bytes + filled, size - filled);
                filled += count > 0 ? static_cast<std::size_t>(count) : 0;
            }
            return filled;
        });
        finishBare(child);
        checkSize(kept.size(), command);
    }
}

void qtRun(benchmark::State& state, const Command& command) {
    QStringList arguments;
    for (const std::string& argument : argumentsOf(command)) {
        arguments.append(QString::fromStdString(argument));
    }
    for (auto _ : state) {
        QProcess process;
        process.start(QString::fromStdString(command[0]), arguments);
        process.waitForFinished(-1);
        checkSize(static_cast<std::size_t>(process.readAllStandardOutput().size()), command);
    }
}

void glibRun(benchmark::State& state, const Command& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    for (auto _ : state) {
        // The text ends at its first NUL, so the size cannot be checked.
        char* output = nullptr;
        char* errors = nullptr;
        if (g_spawn_sync(nullptr, arguments.data(), nullptr, G_SPAWN_DEFAULT, nullptr, nullptr,
                         &output, &errors, nullptr, nullptr) == FALSE) {
            fail("g_spawn_sync failed");
        }
        g_free(output);
        g_free(errors);
    }
}

void boostRun(benchmark::State& state, const Command& command) {
    namespace process = boost::process;
    const Command arguments = argumentsOf(command);
    for (auto _ : state) {
        boost::asio::io_context context;
        std::future<std::string> output;
        std::future<std::string> errors;
        process::child child(command[0], process::args(arguments), process::std_out > output,
                             process::std_err > errors, context);
        context.run();
        child.wait();
        checkSize(output.get().size(), command);
    }
}

/// One stream only, through a shell.
void popenRun(benchmark::State& state, const Command& command) {
    std::string line = command[0];
    for (const std::string& argument : argumentsOf(command)) {
        line += " '" + argument + "'";
    }
    for (auto _ : state) {
        std::FILE* const stream = ::popen(line.c_str(), "r");
        std::string text;
        std::array<char, 65536> buffer;
        for (std::size_t count = 0;
             (count = std::fread(buffer.data(), 1, buffer.size(), stream)) > 0;) {
            text.append(buffer.data(), count);
        }
        ::pclose(stream);
        checkSize(text.size(), command);
    }
}

void add(const std::string& name, void (*run)(benchmark::State&, const Command&),
         const Command& command) {
    benchmark::RegisterBenchmark(name.c_str(), [run, &command](benchmark::State& state) {
        run(state, command);
    })->UseRealTime();
}

} // namespace

void addSmallPrograms(const std::string& group) {
    add(group + "/peekmend", peekmendRun, smallProgram);
    add(group + "/bare", bareRun, smallProgram);
    add(group + "/bare with two reading threads", bareRunWithReaders, smallProgram);
    add(group + "/QProcess", qtRun, smallProgram);
    add(group + "/GLib", glibRun, smallProgram);
    add(group + "/Boost", boostRun, smallProgram);
    add(group + "/popen", popenRun, smallProgram);
}

double peakOfLargeOutput() {
    const double before = memory("VmRSS");
    const auto result = ProcessRunner::run(largeOutput[0], argumentsOf(largeOutput), false);
    checkSize(result ? result->stdoutBytes.size() : 0, largeOutput);
    return (memory("VmHWM") - before) / static_cast<double>(largeSize);
}

void addLargeOutput() {
    add("64 MiB/peekmend", peekmendRun, largeOutput);
    add("64 MiB/kept once", keepOnce, largeOutput);
    add("64 MiB/discard", discard, largeOutput);
    add("64 MiB/QProcess", qtRun, largeOutput);
    add("64 MiB/GLib", glibRun, largeOutput);
    add("64 MiB/Boost", boostRun, largeOutput);
}

} // namespace peekmend::bench
