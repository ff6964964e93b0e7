// The parts of a diagnosis, each within one process. With the argument "held" it first takes 2 GiB
// of memory, as a large program would, and then runs small programs only.

#include "Benches.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc > 1 && std::string_view(argv[1]) == "held") {
        const std::vector<char> held(std::size_t{2} * 1024 * 1024 * 1024, 'x');
        benchmark::DoNotOptimize(held.data());
        peekmend::bench::addSmallPrograms("2 GiB held");
        benchmark::RunSpecifiedBenchmarks();
        return 0;
    }
    peekmend::bench::addSmallPrograms("small program");
    peekmend::bench::addLargeOutput();
    peekmend::bench::addListings();
    peekmend::bench::addPropertyLists();
    benchmark::RunSpecifiedBenchmarks();
}
