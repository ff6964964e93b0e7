// From the start of a process to its window's first frame.

#include "Benches.h"
#include "Fixture.h"

#include <benchmark/benchmark.h>

#include <poll.h>

#include <chrono>
#include <cstdlib>
#include <string>

namespace peekmend::bench {

namespace {

/// The programs say on their standard output, once the frame is there, what memory they take.
void start(benchmark::State& state, const char* program, const char* platform) {
    ::setenv("QT_QPA_PLATFORM", platform, 1);
    double memory = 0;
    for (auto _ : state) {
        const auto before = std::chrono::steady_clock::now();
        const BareChild child = spawnBare({program});
        pollfd answer{.fd = child.output, .events = POLLIN, .revents = 0};
        ::poll(&answer, 1, -1);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - before;
        const std::string text = finishBare(child);
        if (text.empty()) {
            fail("no frame was painted");
        }
        memory = std::stod(text);
        state.SetIterationTime(time.count());
    }
    state.counters["memory"] = memory;
}

} // namespace

void addStarts() {
    for (const char* const platform : {"offscreen", "xcb"}) {
        const auto add = [&](const std::string& contestant, const char* program) {
            const std::string name = std::string("start ") + platform + "/" + contestant;
            benchmark::RegisterBenchmark(name.c_str(), start, program, platform)->UseManualTime();
        };
        add("peekmend", PEEKMEND_BENCH_START);
        add("empty window", PEEKMEND_BENCH_EMPTY);
        add("plain window", PEEKMEND_BENCH_PLAIN);
    }
}

} // namespace peekmend::bench
