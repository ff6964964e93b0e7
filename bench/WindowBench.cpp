// The window while it is used, on a platform that needs no display.

#include "Machine.h"
#include "app/ExtensionsView.h"
#include "app/QtMainQueue.h"
#include "app/RepairView.h"
#include "diagnosis/DiagnosisEngine.h"

#include <QApplication>
#include <QListView>
#include <QScrollBar>
#include <QStringListModel>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace peekmend::bench {

namespace {

constexpr std::size_t recordCount = 2000;
constexpr QSize windowSize(760, 560);

std::vector<QLExtensionRecord> records(const std::string& version) {
    std::vector<QLExtensionRecord> list;
    for (std::size_t index = 0; index < recordCount; ++index) {
        const std::string number = std::to_string(index);
        list.push_back({.bundleID = "com.maker" + number + ".application.preview",
                        .state = static_cast<QLRegistrationState>(index % 3),
                        .version = version,
                        .path = "/Applications/Application " + number +
                                ".app/Contents/PlugIns/Preview.appex"});
    }
    return list;
}

QStringList lines(const std::vector<QLExtensionRecord>& list) {
    QStringList texts;
    for (const QLExtensionRecord& record : list) {
        texts.append(QString::fromStdString(record.bundleID + " " + *record.version));
    }
    return texts;
}

class NoDefaults final : public UserDefaults {
    [[nodiscard]] std::optional<std::string> dataForKey(const std::string&) const override {
        return std::nullopt;
    }

    void setDataForKey(const std::string&, const std::string&) override {}

    void removeObjectForKey(const std::string&) override {}
};

/// What the views need. Diagnoses run at once, on the interface thread.
Services servicesWith(const DiagnosisRunner::Diagnose& diagnose) {
    const auto queue = std::make_shared<QtMainQueue>();
    const StartInBackground start = [](BackgroundPool::Job job) {
        job();
        return std::expected<void, Error>();
    };
    return {.mainQueue = queue,
            .diagnoses = std::make_shared<DiagnosisRunner>(queue, start, diagnose),
            .repairs = std::make_shared<RepairQueue>(queue, start),
            .applicator = RepairApplicator(),
            .defaults = std::make_shared<NoDefaults>(),
            .copyText = {},
            .openURL = {},
            .launchApplication = {},
            .tellWithoutWindow = {}};
}

/// Waits until a widget has been painted, and the window with it.
class Painted : public QObject {
public:
    explicit Painted(QWidget& window) : m_window(window) {
        QApplication::instance()->installEventFilter(this);
    }

    void wait() {
        m_isPainted = false;
        while (!m_isPainted) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        QApplication::processEvents();
    }

private:
    bool eventFilter(QObject* object, QEvent* event) override {
        const auto* const widget = qobject_cast<QWidget*>(object);
        m_isPainted = m_isPainted || (event->type() == QEvent::Paint && widget != nullptr &&
                                      widget->window() == &m_window);
        return false;
    }

    QWidget& m_window;
    bool m_isPainted = false;
};

/// A window with 2,000 lines, whichever way it shows them.
struct Window {
    std::unique_ptr<QWidget> widget;
    QScrollBar* scrollBar = nullptr;
    /// Shows one of two sets of data.
    std::function<void(int set)> show;
};

Window ourWindow() {
    struct Data {
        std::vector<QLExtensionRecord> sets[2] = {records("1.0"), records("2.0")};
        QLDiagnosisReport report;
    };

    const auto data = std::make_shared<Data>();
    auto view = std::make_unique<ExtensionsView>(servicesWith(
        [data](const std::optional<FileURL>&, const std::stop_token&) { return data->report; }));
    auto* const shown = view.get();
    Window window{std::move(view), nullptr, [data, shown](int set) {
                      data->report.records = data->sets[set];
                      shown->model().reload();
                  }};
    window.scrollBar = shown->findChild<QAbstractScrollArea*>()->verticalScrollBar();
    return window;
}

Window listWindow() {
    auto view = std::make_unique<QListView>();
    auto* const model = new QStringListModel(view.get());
    view->setUniformItemSizes(true);
    view->setModel(model);
    Window window{nullptr, view->verticalScrollBar(),
                  [model, sets = std::vector{lines(records("1.0")), lines(records("2.0"))}](
                      int set) { model->setStringList(sets[static_cast<std::size_t>(set)]); }};
    window.widget = std::move(view);
    return window;
}

void open(Window& window, Painted& painted) {
    window.widget->resize(windowSize);
    window.widget->show();
    painted.wait();
    window.show(0);
    painted.wait();
}

void showData(benchmark::State& state, Window (*make)()) {
    Window window = make();
    Painted painted(*window.widget);
    open(window, painted);
    int set = 0;
    for (auto _ : state) {
        set = 1 - set;
        window.show(set);
        painted.wait();
    }
}

/// Goes through all of it, page by page, and up again.
void scroll(benchmark::State& state, Window (*make)()) {
    Window window = make();
    Painted painted(*window.widget);
    open(window, painted);
    QScrollBar& bar = *window.scrollBar;
    std::chrono::duration<double> longest{0};
    for (auto _ : state) {
        const auto before = std::chrono::steady_clock::now();
        bar.setValue(bar.value() == bar.maximum() ? 0 : bar.value() + bar.pageStep());
        painted.wait();
        longest = std::max<std::chrono::duration<double>>(
            longest, std::chrono::steady_clock::now() - before);
    }
    state.counters["longest frame"] = longest.count() / 0.016;
}

double residentMemory() {
    std::ifstream statm("/proc/self/statm");
    double size = 0;
    double resident = 0;
    statm >> size >> resident;
    return resident;
}

/// Diagnoses a file a thousand times, and shows each result.
void diagnoseOften(benchmark::State& state) {
    const Machine machine(30, 1);
    std::stop_source withoutWaits;
    withoutWaits.request_stop();
    std::size_t claimants = 0;
    RepairView view(servicesWith([&](const std::optional<FileURL>& file, const std::stop_token&) {
        QLDiagnosisReport report = DiagnosisEngine().diagnose(file, withoutWaits.get_token());
        claimants += report.claimants.size();
        return report;
    }));
    Painted painted(view);
    view.resize(windowSize);
    view.show();
    double afterTen = 0;
    constexpr std::size_t count = 1000;
    for (auto _ : state) {
        for (std::size_t done = 1; done <= count; ++done) {
            view.model().chooseFile(FileURL(machine.file()));
            painted.wait();
            if (done == 10) {
                afterTen = residentMemory();
            }
        }
    }
    if (claimants != count) {
        fail("a diagnosis is not what it should be");
    }
    state.counters["growth"] = residentMemory() / afterTen;
}

} // namespace

} // namespace peekmend::bench

int main(int argc, char** argv) {
    using namespace peekmend::bench;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("show 2,000/peekmend", showData, ourWindow);
    benchmark::RegisterBenchmark("show 2,000/QListView", showData, listWindow);
    benchmark::RegisterBenchmark("scroll a page/peekmend", scroll, ourWindow);
    benchmark::RegisterBenchmark("scroll a page/QListView", scroll, listWindow);
    benchmark::RegisterBenchmark("1,000 diagnoses/peekmend", diagnoseOften)
        ->Iterations(1)
        ->Repetitions(1);
    benchmark::RunSpecifiedBenchmarks();
}
