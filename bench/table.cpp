// Prints what the benchmarks have measured, beside what they were measured against, and fails when
// a target is missed. Takes the files that they wrote.

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Row {
    const char* what;
    /// Where the benchmarks are, as "GROUP/CONTESTANT".
    const char* group;
    /// The contestants whose sum ours is divided by. None: the figure is a ratio already.
    std::vector<const char*> base;
    /// What the ratio may be at most.
    double target;
    const char* figure = "real_time";
};

const std::vector<Row> rows{
    {"run a small program, capture both streams", "small program", {"bare"}, 1.15},
    {"the same in a process of 2 GiB", "2 GiB held", {"bare"}, 1.15},
    {"capture 64 MiB of output", "64 MiB", {"discard"}, 4},
    {"… memory at its height, in units of the output", "64 MiB", {}, 2.2, "peak"},
    {"parse a listing of 20 MB", "20 MB listing", {"plain splitter"}, 1 / 1.4},
    {"… a line of 1,000,000, beside one of 100,000", "lines", {"a tenth"}, 1.2, "line"},
    {"declared types of 300 bundles, XML", "XML lists", {"bare read"}, 4},
    {"… beside libplist", "XML lists", {"libplist"}, 0.6},
    {"declared types of 300 bundles, binary", "binary lists", {"bare read"}, 2.4},
    {"a diagnosis, less the probe's waits", "diagnosis", {"listing tool", "ps", "bare read"}, 1.25},
    {"pluginkit lists 300 bundles", "pluginkit", {"true", "bare walk", "bare read"}, 3.5},
    {"window to its first frame, offscreen", "start offscreen", {"plain window"}, 1.3},
    {"… memory", "start offscreen", {"empty window"}, 1.2, "memory"},
    {"window to its first frame, X11", "start xcb", {"plain window"}, 1.3},
    {"… memory", "start xcb", {"empty window"}, 1.2, "memory"},
    {"2,000 extensions to a painted list", "show 2,000", {"QListView"}, 2},
    {"a page further in that list", "scroll a page", {"QListView"}, 2},
    {"… the longest frame, in units of 16 ms", "scroll a page", {}, 1, "longest frame"},
    {"memory after 1,000 diagnoses, beside after 10", "1,000 diagnoses", {}, 1.02, "growth"},
};

/// By benchmark and figure, what each round gave.
using Figures = std::map<std::string, std::map<std::string, std::vector<double>>>;

/// Times in seconds, whatever unit they are given in.
double seconds(double value, const std::string& unit) {
    return value * (unit == "ns" ? 1e-9 : unit == "us" ? 1e-6 : unit == "ms" ? 1e-3 : 1);
}

void read(const char* path, Figures& figures) {
    std::ifstream file(path);
    const auto written = nlohmann::json::parse(file);
    for (const auto& run : written.at("benchmarks")) {
        if (run.at("run_type") != "iteration") {
            continue;
        }
        const std::string name = run.at("run_name");
        // What follows the contestant says how it was timed.
        auto& into = figures[name.substr(0, name.find('/', name.find('/') + 1))];
        for (const auto& [figure, value] : run.items()) {
            if (figure == "real_time") {
                into[figure].push_back(seconds(value, run.at("time_unit")));
            } else if (value.is_number()) {
                into[figure].push_back(value);
            }
        }
    }
}

double median(const Figures& figures, const std::string& benchmark, const char* figure) {
    std::vector<double> values = figures.at(benchmark).at(figure);
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::string others(const Figures& figures, const Row& row, double base) {
    std::string text;
    const std::string prefix = std::string(row.group) + "/";
    for (auto entry = figures.lower_bound(prefix);
         entry != figures.end() && entry->first.starts_with(prefix); ++entry) {
        const std::string contestant = entry->first.substr(prefix.size());
        const bool isBase = std::ranges::find(row.base, contestant) != row.base.end();
        if (contestant == "peekmend" || (isBase && row.base.size() == 1) || row.base.empty()) {
            continue;
        }
        char ratio[32];
        std::snprintf(ratio, sizeof ratio, " %.2f",
                      median(figures, entry->first, row.figure) / base);
        text += (text.empty() ? "" : ", ") + contestant + ratio;
    }
    return text;
}

/// Returns whether the target is met.
bool print(const Figures& figures, const Row& row) {
    const std::string group = std::string(row.group) + "/";
    const double ours = median(figures, group + "peekmend", row.figure);
    double base = row.base.empty() ? 1 : 0;
    std::string beside;
    for (const char* const contestant : row.base) {
        base += median(figures, group + contestant, row.figure);
        beside += (beside.empty() ? "" : " + ") + std::string(contestant);
    }
    const double ratio = ours / base;
    // Below zero or at it, nothing was measured.
    const bool holds = ratio > 0 && ratio <= row.target;
    std::string absolute;
    if (std::string_view(row.figure) == "real_time") {
        char text[32];
        std::snprintf(text, sizeof text, "%.3g ms", ours * 1000);
        absolute = text;
    }
    std::printf("| %s | %.3f | %.2f | %s | %s | %s | %s |\n", row.what, ratio, row.target,
                holds ? "yes" : "NO", beside.c_str(), others(figures, row, base).c_str(),
                absolute.c_str());
    return holds;
}

} // namespace

int main(int argc, char** argv) {
    try {
        Figures figures;
        for (int index = 1; index < argc; ++index) {
            read(argv[index], figures);
        }
        std::printf(
            "| what | ratio | at most | holds | beside | others, in the same unit | ours |\n"
            "|---|---|---|---|---|---|---|\n");
        bool allHold = true;
        for (const Row& row : rows) {
            allHold = print(figures, row) && allHold;
        }
        return allHold ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "A figure is missing: %s\n", error.what());
        return 2;
    }
}
