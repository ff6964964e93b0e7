// A whole diagnosis on a machine with 300 extensions and 300 other processes.

#include "Benches.h"
#include "Fixture.h"
#include "Machine.h"
#include "diagnosis/DiagnosisEngine.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace peekmend::bench {

namespace {

constexpr long extensionCount = 300;
constexpr long processCount = 300;

/// What the probe waits by contract when all goes well: for the preview, and then once for its end.
constexpr std::chrono::duration<double> probeWaits = std::chrono::milliseconds(800 + 25);

const std::vector<std::string> listingTool{
    PEEKMEND_PLUGINKIT, "-m", "-D", "-p", "com.apple.quicklook.preview", "-A", "-v"};
const std::vector<std::string> processTool{"/bin/ps", "auxww"};

const Machine& machine() {
    static const Machine only(extensionCount, processCount);
    return only;
}

void diagnose(benchmark::State& state) {
    const FileURL file(machine().file());
    for (auto _ : state) {
        const auto before = std::chrono::steady_clock::now();
        const QLDiagnosisReport report = DiagnosisEngine().diagnose(file);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - before;
        if (report.records.size() != extensionCount || report.claimants.size() != 1 ||
            report.activeHandler->bundleIDs.size() != extensionCount) {
            fail("the diagnosis is not what it should be");
        }
        state.SetIterationTime((time - probeWaits).count());
    }
}

void runTool(benchmark::State& state, const std::vector<std::string>& command, long leastLines) {
    if (std::ranges::count(finishBare(spawnBare(command)), '\n') < leastLines) {
        fail("the tool did not list everything");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(finishBare(spawnBare(command)));
    }
}

void listFolders(benchmark::State& state) {
    const Bundles& bundles = machine().bundles();
    for (auto _ : state) {
        benchmark::DoNotOptimize(listBare(bundles.folders));
    }
}

void readLists(benchmark::State& state, bool withApplications) {
    const Bundles& bundles = machine().bundles();
    for (auto _ : state) {
        benchmark::DoNotOptimize(readBare(bundles.extensionLists));
        if (withApplications) {
            benchmark::DoNotOptimize(readBare(bundles.applicationLists));
        }
    }
}

} // namespace

void addDiagnoses() {
    // Before anything is measured, so that the windows too have these surroundings from the start.
    machine();
    const auto add = [](const char* name, auto run, auto... arguments) {
        return benchmark::RegisterBenchmark(name, run, arguments...)->UseRealTime();
    };
    benchmark::RegisterBenchmark("diagnosis/peekmend", diagnose)->UseManualTime()->Iterations(1);
    add("diagnosis/listing tool", runTool, listingTool, extensionCount);
    add("diagnosis/ps", runTool, processTool, processCount);
    add("diagnosis/bare read", readLists, true);
    add("pluginkit/peekmend", runTool, listingTool, extensionCount);
    add("pluginkit/true", runTool, std::vector<std::string>{"/bin/true"}, 0L);
    add("pluginkit/bare walk", listFolders);
    add("pluginkit/bare read", readLists, false);
}

} // namespace peekmend::bench
