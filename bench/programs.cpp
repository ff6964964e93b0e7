// Whole processes, seen from outside.

#include "Benches.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    peekmend::bench::addDiagnoses();
    peekmend::bench::addStarts();
    benchmark::RunSpecifiedBenchmarks();
}
