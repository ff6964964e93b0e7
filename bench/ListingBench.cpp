// Turning the registration tool's listing into records.

#include "Benches.h"
#include "Fixture.h"
#include "inventory/PlugInKitInventory.h"

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend::bench {

namespace {

std::string listing(std::size_t lines) {
    constexpr std::string_view marks[] = {"+    ", "-    ", "     "};
    std::string text;
    for (std::size_t index = 0; index < lines; ++index) {
        const std::string number = std::to_string(index);
        text.append(marks[index % 3])
            .append("com.example.application" + number + ".preview-extension(1.")
            .append(number + ")\t0F0B9C24-51B6-4B5A-9A35-4D7B1F1F" + number)
            .append("\t2026-11-20 10:11:12 +0000\t/Applications/Application " + number)
            .append(".app/Contents/PlugIns/Preview Extension.appex\n");
    }
    return text;
}

/// About 20 MB.
constexpr std::size_t usualLines = 100'000;

const std::string& usualListing() {
    static const std::string text = listing(usualLines);
    return text;
}

void check(std::size_t records, std::size_t expected) {
    if (records != expected) {
        fail("a line is missing");
    }
}

void peekmendParse(benchmark::State& state) {
    for (auto _ : state) {
        check(parseListing(usualListing()).size(), usualLines);
    }
}

/// The time of one line in a listing of many.
void parseLines(benchmark::State& state, std::size_t lines) {
    const std::string text = listing(lines);
    for (auto _ : state) {
        state.PauseTiming();
        // A small listing would find all its memory where the last one left it.
        ::malloc_trim(0);
        state.ResumeTiming();
        check(parseListing(text).size(), lines);
    }
    state.counters["line"] = benchmark::Counter(static_cast<double>(lines),
                                                benchmark::Counter::kIsIterationInvariantRate |
                                                    benchmark::Counter::kInvert);
}

/// Splits at line feeds and tabs, and understands nothing.
void plainSplit(benchmark::State& state, bool makesRoom) {
    for (auto _ : state) {
        std::vector<std::vector<std::string>> records;
        records.reserve(makesRoom ? usualLines : 0);
        std::string_view text = usualListing();
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            std::string_view line = text.substr(0, end);
            text.remove_prefix(std::min(end + 1, text.size()));
            std::vector<std::string>& fields = records.emplace_back();
            fields.reserve(makesRoom ? 4 : 0);
            while (true) {
                const std::size_t tab = line.find('\t');
                fields.emplace_back(line.substr(0, tab));
                if (tab == std::string_view::npos) {
                    break;
                }
                line.remove_prefix(tab + 1);
            }
        }
        check(records.size(), usualLines);
    }
}

void qtSplit(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<QStringList> records;
        for (const QString& line :
             QString::fromStdString(usualListing()).split('\n', Qt::SkipEmptyParts)) {
            records.push_back(line.split('\t'));
        }
        check(records.size(), usualLines);
    }
}

constexpr auto pattern = R"(^\s*([+-]?)\s*([^\s(]+)\(([^\t]*)\)\t.*\t(/.*)$)";

void qtExpression(benchmark::State& state) {
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    for (auto _ : state) {
        std::vector<QStringList> records;
        const QString text = QString::fromStdString(usualListing());
        for (auto match = expression.globalMatch(text); match.hasNext();) {
            records.push_back(match.next().capturedTexts());
        }
        check(records.size(), usualLines);
    }
}

void standardExpression(benchmark::State& state) {
    const std::regex expression(pattern, std::regex::optimize);
    for (auto _ : state) {
        std::vector<std::vector<std::string>> records;
        const std::string& text = usualListing();
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = text.find('\n', begin);
            std::cmatch match;
            if (std::regex_match(text.data() + begin, text.data() + end, match, expression)) {
                std::vector<std::string>& fields = records.emplace_back();
                for (std::size_t group = 1; group < match.size(); ++group) {
                    fields.push_back(match[group]);
                }
            }
            begin = end + 1;
        }
        check(records.size(), usualLines);
    }
}

} // namespace

void addListings() {
    benchmark::RegisterBenchmark("20 MB listing/peekmend", peekmendParse);
    benchmark::RegisterBenchmark("20 MB listing/plain splitter", plainSplit, false);
    benchmark::RegisterBenchmark("20 MB listing/splitter that knows the counts", plainSplit, true);
    benchmark::RegisterBenchmark("20 MB listing/Qt split", qtSplit);
    benchmark::RegisterBenchmark("20 MB listing/QRegularExpression", qtExpression);
    benchmark::RegisterBenchmark("20 MB listing/std::regex", standardExpression);
    benchmark::RegisterBenchmark("lines/peekmend", parseLines, std::size_t{1'000'000})
        ->UseRealTime();
    benchmark::RegisterBenchmark("lines/a tenth", parseLines, std::size_t{100'000})->UseRealTime();
}

} // namespace peekmend::bench
