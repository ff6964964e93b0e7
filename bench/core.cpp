// The parts of a diagnosis, each within one process. Small programs are run in a process of their
// own, since what some contestants take depends on how large theirs is: with the argument "small",
// and with "held" after it has taken 2 GiB of memory, as a large program would.

#include "Benches.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdio>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::string_view subject = argc > 1 ? argv[1] : "";
    const std::vector<char> held(subject == "held" ? std::size_t{2} * 1024 * 1024 * 1024 : 0, 'x');
    benchmark::DoNotOptimize(held.data());
    if (subject == "peak") {
        std::printf("%f\n", peekmend::bench::peakOfLargeOutput());
        return 0;
    }
    if (subject == "small") {
        peekmend::bench::addSmallPrograms("small program");
    } else if (subject == "held") {
        peekmend::bench::addSmallPrograms("2 GiB held");
    } else {
        peekmend::bench::addLargeOutput();
        peekmend::bench::addListings();
        peekmend::bench::addPropertyLists();
    }
    benchmark::RunSpecifiedBenchmarks();
}
